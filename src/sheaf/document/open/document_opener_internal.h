// One opening of a document: the ways into its file, tried from the fastest to the most patient one. It
// lives as long as the opening; what the document keeps of it are its own fields.
#pragma once

#include <cstdint>

#include "sheaf/document/doc.h"
#include "sheaf/document/open/section_mark_internal.h"

namespace sheaf {

class ObjectScan;

/// What the record of a repair says where nobody can know what is gone.
constexpr char kBytesMissing[] = "bytes are missing in front of the last section or behind it; something was cut out";

class DocumentOpener {
public:
  explicit DocumentOpener(CPDFDoc& doc) : doc_(doc), table_(doc.table_), stream_(*doc.stream_) {}

  /// Opens what is in the document's stream, and sets the document's status.
  bool run();

  CPDFDoc& doc() { return doc_; }
  CPDFXRefTable& table() { return table_; }
  /// Null without memory.
  ObjectRescue* rescue() { return doc_.rescue_; }
  /// What a pass over the whole file finds. Null without memory.
  const ObjectScan* scan();
  /// A fresh table over the document's stream.
  void reset_table() { doc_.reset_table(); }
  /// Connects the document's handler. False when the document waits for a password.
  bool authorise();
  void add_repair(const char* code, std::int32_t num, std::uint32_t offset, const char* action) {
    doc_.add_repair(code, num, offset, action);
  }

private:
  struct Attempt {
    bool usable = false;   // a catalogue with a page tree
    bool trusted = false;  // and every object met on the way to the first page was at its entry's place
    bool has_pages = false;
    bool has_no_pages = false;  // the tree itself says so
  };

  // document_opener.cpp
  void begin_at(long long base);
  bool open_in_order();
  bool try_linearized();
  bool try_sections();
  bool try_section_before(const SectionMark& mark);
  bool try_section_after(const SectionMark& mark);
  bool read_chain(std::uint32_t offset);
  Attempt examine();
  Attempt look_at_tree();
  bool finish(PDF_OPEN status);
  std::uint32_t adjust_section_offset(std::uint32_t offset);

  // document_healing.cpp
  bool heal();
  bool try_rebuild();
  bool try_deep_recovery();

  // document_version.cpp
  void find_header();
  void read_catalog_version();

  // lost_bytes.cpp
  bool has_object_after(const SectionMark& mark, PDF_REF& ref, std::uint32_t& place);
  void report_missing_bytes();

  CPDFDoc& doc_;
  CPDFXRefTable& table_;
  CQVStream& stream_;
  std::uint32_t stated_section_ = 0;  // where the end of the file says that the newest section begins
  std::uint32_t stated_length_ = 0;   // "L" of the linearization
  std::uint32_t former_length_ = 0;   // the same, of a file that was updated since
};

}  // namespace sheaf
