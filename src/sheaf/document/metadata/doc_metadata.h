// A document's information and metadata, kept in step, and the frame of PDF/A-1 that saves add on request.
#pragma once

#include <cstdint>

#include "sheaf/document/doc.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

/// A part of CPDFDoc, whose members of the same meaning are the contracts.
class DocMetadata {
public:
  /// For the document of the table, which is borrowed.
  explicit DocMetadata(CPDFXRefTable& table) : table_(table) {}

  bool set_info(const char* key, const char* utf8);
  void set_frame(PDF_FRAME frame) { frame_ = frame; }
  void read_frame(PDF_FRAME_FOUND& found);
  bool packet_left_behind() const { return packet_left_; }
  /// Before a save: stores what the frame needs. False when it cannot be stored.
  bool store_frame();
  /// Before a save: brings the packet in step with what `set_info` changed. False without memory.
  bool store_packet();
  /// For a document that is closed.
  void forget();

private:
  CPDFXRefTable& table_;
  PDF_FRAME frame_ = PDF_FRAME::kNone;
  std::uint32_t changed_info_ = 0;  // since the last save, by index of the XMP property
  bool packet_left_ = false;        // there is one that cannot be read
};

}  // namespace sheaf
