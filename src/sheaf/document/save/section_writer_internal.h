// One update section: what it has to hold besides the changes, so that every reader finds its way
// through it to the whole document.
#pragma once

#include <cstdint>

#include "sheaf/document/doc.h"

namespace sheaf {

class SectionWriter {
public:
  /// For the document, which is borrowed.
  explicit SectionWriter(CPDFDoc& doc) : doc_(doc), table_(doc.table()) {}

  /// Writes all that waits to `append_offset` of the table's stream. False when it is not there.
  bool write(PDF_SAVE_FORM form, PDF_SIGN_DATA* sign);

private:
  bool has_sound_sections();
  void detach_from_old_sections();
  bool ends_well(std::uint32_t num, const CPDFObj& stored);
  bool reach_last_number();

  CPDFDoc& doc_;
  CPDFXRefTable& table_;
};

/// Whether the object's number is where its entry says.
bool begins_at_its_place(const CPDFXRefTable& table, std::uint32_t num);

}  // namespace sheaf
