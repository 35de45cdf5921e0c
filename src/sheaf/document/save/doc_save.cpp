// When and where an update section is written, and what is left of the file when that fails.
//
//   opened or sealed      plain save          plain save, kAppend
//   ├──────────────────┼──────────────────┼──────────────────┤
//                      append_offset      plain_start_       plain_end_
//
// Each plain section holds all changes since the last sealed one, so that only the last of them
// counts. A sealed section goes to `append_offset`, into the space of those that do not count, and what
// stands behind it is then cut off: at every moment the file ends in a section that is whole.
#include <new>
#include <utility>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/save/section_window_internal.h"
#include "sheaf/neighbours/security/aes.h"
#include "sheaf/neighbours/security/digests.h"
#include "sheaf/object/array.h"

using namespace sheaf;

bool CPDFDoc::save_update(PDF_SAVE_FORM form, PDF_SIGN_DATA* sign) {
  last_save_ = write_changes(form, sign);
  return last_save_ == PDF_SAVE::kDone || last_save_ == PDF_SAVE::kUnchanged;
}

PDF_SAVE CPDFDoc::write_changes(PDF_SAVE_FORM form, PDF_SIGN_DATA* sign) {
  const HeapWatch watch;
  if (stream_ == nullptr || !store_page_tree() || !store_frame())
    return PDF_SAVE::kRefused;
  table_.font_cache.embed_flush();
  if (!watch.all_granted() || table_.entries_lost != 0)
    return PDF_SAVE::kRefused;
  if (table_.new_obj_count == 0 || (sign == nullptr && is_saved()))
    return PDF_SAVE::kUnchanged;
  if (file_.file != nullptr && !file_.is_untouched())
    return PDF_SAVE::kFileChanged;
  if (!store_metadata() || !renew_identifier(table_.id))
    return PDF_SAVE::kRefused;
  last_form_ = form;
  table_.write_failed = 0;
  bool good = false;
  if (appends() && sign != nullptr && plain_end_ != 0)
    good = seal_over_plain_sections(form, sign);
  else if (appends() && sign == nullptr)
    good = write_behind(plain_end_ != 0 ? plain_end_ : table_.append_offset, form);
  else
    good = write_section(form, sign);
  if (!watch.all_granted() || table_.entries_lost != 0)
    good = false;
  saved_changes_ = good ? table_.change_count : 0;
  if (good)
    return PDF_SAVE::kDone;
  return table_.write_failed != 0 ? PDF_SAVE::kShort : PDF_SAVE::kRefused;
}

// A plain section behind `start`, the end of the last one. What is left of a failure is cut off.
bool CPDFDoc::write_behind(long long start, PDF_SAVE_FORM form) {
  const std::uint32_t sealed_end = std::exchange(table_.append_offset, static_cast<std::uint32_t>(start));
  const bool good = write_section(form, nullptr) && file_.sync();
  table_.append_offset = sealed_end;
  if (good) {
    plain_start_ = start;
    plain_end_ = stream_->GetLen();
  } else {
    file_.cut_to(start + file_.base_offset);
  }
  return good;
}

// A section at `append_offset` that ends in front of `limit`, where one stands that is valid until this
// one is whole.
bool CPDFDoc::write_within(long long limit, PDF_SAVE_FORM form, PDF_SIGN_DATA* sign) {
  SectionWindow window(file_, table_.append_offset, limit);
  table_.stream = &window;
  table_.write_failed = 0;
  const bool good = write_section(form, sign) && file_.sync();
  table_.stream = stream_;
  return good && file_.cut_to(window.GetLen() + file_.base_offset);
}

bool CPDFDoc::seal_over_plain_sections(PDF_SAVE_FORM form, PDF_SIGN_DATA* sign) {
  // The space in front of the last plain section may be too small. A plain section of the same changes
  // is as long as the sealed one, but for some bytes of compressed entries; the second one makes sure.
  constexpr int kMostCopies = 2;
  for (int copies = 0;; ++copies) {
    const bool good = plain_start_ > table_.append_offset && write_within(plain_start_, form, sign);
    if (good || table_.new_obj_count == 0) {  // the section is sealed, even where the rest could not be cut off
      forget_plain_sections();
      return good;
    }
    if (copies == kMostCopies || !write_behind(plain_end_, form))
      return false;
  }
}

// At the end of a document whose changes are all saved, one section of them is enough.
void CPDFDoc::fold_plain_sections() {
  if (!appends() || plain_start_ <= table_.append_offset || !is_saved() || !file_.is_untouched())
    return;
  write_within(plain_start_, last_form_, nullptr);
}

void CPDFDoc::forget_plain_sections() {
  plain_start_ = plain_end_ = 0;
}

long long CPDFDoc::file_size() const {
  if (file_.file != nullptr)
    return file_.length();
  return stream_ != nullptr ? stream_->GetLen() + stream_->base_offset : file_size_;
}

long long CPDFDoc::sound_end() const {
  const long long base = stream_ != nullptr ? stream_->base_offset : 0;
  return base + (plain_end_ != 0 ? plain_end_ : static_cast<long long>(table_.append_offset));
}

bool CPDFDoc::undo_failed_save() {
  table_.write_failed = 0;
  if (last_save_ != PDF_SAVE::kShort)
    return true;
  if (file_size() != sound_end() && !truncate_to(sound_end()))
    return false;
  saved_changes_ = 0;
  last_save_ = PDF_SAVE::kUnchanged;
  return true;
}

bool CPDFDoc::truncate_to(long long size) {
  if (file_.file == nullptr || size < file_.base_offset + table_.append_offset || size > file_size() ||
      !file_.cut_to(size))
    return false;
  if (size < plain_end_ + file_.base_offset)
    forget_plain_sections();
  saved_changes_ = 0;
  return true;
}

// The first half of an identifier stays with a document, the second tells its versions apart (ISO
// 32000-1, 14.4). Without one that is of use the save makes one of the file's bytes; the keys of an
// encrypted document hang on what there is.
bool CPDFDoc::renew_identifier(CPDFObj& id) {
  unsigned char fresh[CQVSecMD5::kSize];
  const HeapWatch watch;
  const Freed<CPDFObj> present = table_.value(&table_.id);
  const CPDFObj* const first = present.as_array() != nullptr ? present.as_array()->get(0) : nullptr;
  if (first == nullptr || first->tag != kTagString) {
    if (!is_encrypted())
      id.free();
    return true;
  }
  if (!secure_random(fresh, sizeof(fresh)))
    return true;
  Freed<CPDFObj> pair;
  pair.take_array(new (std::nothrow) CPDFArray);
  if (pair.as_array() == nullptr)
    return false;
  pair.as_array()->append(first);
  pair.as_array()->append_str(reinterpret_cast<const char*>(fresh), sizeof(fresh));
  if (!watch.all_granted())
    return false;  // half an identifier would change the keys of an encrypted document
  id.move_from(pair);
  return true;
}
