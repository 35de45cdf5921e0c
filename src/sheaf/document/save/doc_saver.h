// The saves of one document: when and where a section is written, and what is left of the file when
// that fails.
//
//   opened or sealed      plain save          plain save, kAppend
//   ├──────────────────┼──────────────────┼──────────────────┤
//                      append_offset      plain_start_       plain_end_
//
// Each plain section holds all changes since the last sealed one, so that only the last of them
// counts. A sealed section goes to `append_offset`, into the space of those that do not count, and what
// is after it is then cut off: at every moment the file ends in a section that is whole.
#pragma once

#include <cstdint>

#include "sheaf/base/stream_update.h"
#include "sheaf/document/doc.h"
#include "sheaf/xref/xref_table.h"

class CPDFDoc;

namespace sheaf {

class DocMetadata;

/// A part of CPDFDoc, whose members of the same meaning are the contracts.
class DocSaver {
public:
  /// All three are borrowed; `file` is open when the document was opened for update.
  DocSaver(CPDFDoc& doc, CQVStreamUpdate& file, DocMetadata& metadata) : doc_(doc), file_(file), metadata_(metadata) {}

  void set_safety(PDF_SAVE_SAFETY safety) { safety_ = safety; }
  bool save_update(PDF_SAVE_FORM form, PDF_SIGN_DATA* sign);
  PDF_SAVE last_save() const { return last_save_; }
  long long sound_end() const;
  bool undo_failed_save();
  bool truncate_to(long long size);
  bool prepare_complete(CPDFObj& id, const CPDFEncrypt* enc);
  void save_complete(CPDFXRefTable& target, CPDFEncrypt* enc);
  /// The document is about to be closed: plain sections become one, and what is known of saves goes.
  void finish();

private:
  PDF_SAVE write_changes(PDF_SAVE_FORM form, PDF_SIGN_DATA* sign);
  bool write_section_at(long long start, PDF_SAVE_FORM form);
  bool write_within(long long limit, PDF_SAVE_FORM form, PDF_SIGN_DATA* sign);
  bool seal_over_plain_sections(PDF_SAVE_FORM form, PDF_SIGN_DATA* sign);
  void fold_plain_sections();
  void forget_plain_sections() { plain_start_ = plain_end_ = 0; }
  bool appends() const { return safety_ == PDF_SAVE_SAFETY::kAppend && file_.file != nullptr; }
  bool is_saved() const;

  CPDFDoc& doc_;
  CQVStreamUpdate& file_;
  DocMetadata& metadata_;
  PDF_SAVE_SAFETY safety_ = PDF_SAVE_SAFETY::kWriteOver;
  PDF_SAVE last_save_ = PDF_SAVE::kUnchanged;
  PDF_SAVE_FORM last_form_ = PDF_SAVE_FORM::kAsFile;
  std::uint64_t saved_changes_ = 0;  // the table's count of changes that the file holds; 0 unknown
  long long plain_start_ = 0;        // the last of the plain sections that follow one another
  long long plain_end_ = 0;          // and where it ends, or 0
};

}  // namespace sheaf
