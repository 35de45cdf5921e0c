// When and where an update section is written, and what is left of the file when that fails.
#include "sheaf/document/save/doc_saver.h"

#include <utility>

#include "sheaf/base/heap_watch.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/metadata/doc_metadata.h"
#include "sheaf/document/save/identifier_internal.h"
#include "sheaf/document/save/new_file_internal.h"
#include "sheaf/document/save/section_window_internal.h"
#include "sheaf/document/save/section_writer_internal.h"
#include "sheaf/neighbours/page/trailer_values.h"
#include "sheaf/xref/object_finder.h"

namespace sheaf {

namespace {

// Gives numbers that no section lists, though it lists higher ones, their objects: lines of it can be gone.
void enter_unlisted(CPDFXRefTable& table) {
  std::uint32_t num = 1;
  while (num < table.xref_count && (table.xref_items[num].is_known() || !table.listed.leave_out(num)))
    ++num;
  if (num < table.xref_count && table.finder != nullptr)
    table.finder->enter_missing();
}

}  // namespace

bool DocSaver::save_update(PDF_SAVE_FORM form, PDF_SIGN_DATA* sign) {
  last_save_ = write_changes(form, sign);
  return last_save_ == PDF_SAVE::kDone || last_save_ == PDF_SAVE::kUnchanged;
}

PDF_SAVE DocSaver::write_changes(PDF_SAVE_FORM form, PDF_SIGN_DATA* sign) {
  const HeapWatch watch;
  CPDFXRefTable& table = doc_.table();
  if (table.stream == nullptr || !doc_.store_page_tree() || !metadata_.store_frame())
    return PDF_SAVE::kRefused;
  table.font_cache.embed_flush();
  if (!watch.all_granted() || table.entries_lost != 0)
    return PDF_SAVE::kRefused;
  if (table.new_obj_count == 0 || (sign == nullptr && is_saved()))
    return PDF_SAVE::kUnchanged;
  if (file_.file != nullptr && !file_.is_untouched())
    return PDF_SAVE::kFileChanged;
  if (!metadata_.store_packet() || !renew_identifier(table, table.id))
    return PDF_SAVE::kRefused;
  last_form_ = form;
  table.write_failed = 0;
  bool good = false;
  if (appends() && sign != nullptr && plain_end_ != 0)
    good = seal_over_plain_sections(form, sign);
  else if (appends() && sign == nullptr)
    good = write_section_at(plain_end_ != 0 ? plain_end_ : table.append_offset, form);
  else
    good = SectionWriter(doc_).write(form, sign);
  if (!watch.all_granted() || table.entries_lost != 0)
    good = false;
  saved_changes_ = good ? table.change_count : 0;
  if (good)
    return PDF_SAVE::kDone;
  return table.write_failed != 0 ? PDF_SAVE::kShort : PDF_SAVE::kRefused;
}

// A plain section behind `start`, the end of the last one. What is left of a failure is cut off.
bool DocSaver::write_section_at(long long start, PDF_SAVE_FORM form) {
  std::uint32_t& append_offset = doc_.table().append_offset;
  const std::uint32_t sealed_end = std::exchange(append_offset, static_cast<std::uint32_t>(start));
  const bool good = SectionWriter(doc_).write(form, nullptr) && file_.sync();
  append_offset = sealed_end;
  if (good) {
    plain_start_ = start;
    plain_end_ = file_.GetLen();
  } else {
    file_.cut_to(start + file_.base_offset);
  }
  return good;
}

// A section at `append_offset` that ends before `limit`, where the section begins that is valid until this
// one is whole.
bool DocSaver::write_within(long long limit, PDF_SAVE_FORM form, PDF_SIGN_DATA* sign) {
  CPDFXRefTable& table = doc_.table();
  SectionWindow window(file_, table.append_offset, limit);
  table.stream = &window;
  table.write_failed = 0;
  const bool good = SectionWriter(doc_).write(form, sign) && file_.sync();
  table.stream = &file_;
  return good && file_.cut_to(window.GetLen() + file_.base_offset);
}

bool DocSaver::seal_over_plain_sections(PDF_SAVE_FORM form, PDF_SIGN_DATA* sign) {
  // The space before the last plain section may be too small: then a copy of that section goes behind it. The copy is
  // about as long as the sealed section, which differs in some bytes of compressed entries; a second copy is enough.
  constexpr int kMostCopies = 2;
  const CPDFXRefTable& table = doc_.table();
  for (int copies = 0;; ++copies) {
    const bool good = plain_start_ > table.append_offset && write_within(plain_start_, form, sign);
    if (good || table.new_obj_count == 0) {  // the section is sealed, even where the rest could not be cut off
      forget_plain_sections();
      return good;
    }
    if (copies == kMostCopies || !write_section_at(plain_end_, form))
      return false;
  }
}

void DocSaver::finish() {
  fold_plain_sections();
  forget_plain_sections();
  saved_changes_ = 0;
  last_save_ = PDF_SAVE::kUnchanged;
}

bool DocSaver::is_saved() const {
  return saved_changes_ == doc_.table().change_count;
}

// At the end of a document whose changes are all saved, one section of them is enough.
void DocSaver::fold_plain_sections() {
  if (!appends() || plain_start_ <= doc_.table().append_offset || !is_saved() || !file_.is_untouched())
    return;
  write_within(plain_start_, last_form_, nullptr);
}

long long DocSaver::sound_end() const {
  const CPDFXRefTable& table = doc_.table();
  const long long base = table.stream != nullptr ? table.stream->base_offset : 0;
  return base + (plain_end_ != 0 ? plain_end_ : static_cast<long long>(table.append_offset));
}

bool DocSaver::undo_failed_save() {
  doc_.table().write_failed = 0;
  if (last_save_ != PDF_SAVE::kShort)
    return true;
  if (doc_.file_size() != sound_end() && !truncate_to(sound_end()))
    return false;
  saved_changes_ = 0;
  last_save_ = PDF_SAVE::kUnchanged;
  return true;
}

bool DocSaver::truncate_to(long long size) {
  if (file_.file == nullptr || size < file_.base_offset + doc_.table().append_offset || size > doc_.file_size() ||
      !file_.cut_to(size))
    return false;
  if (size < plain_end_ + file_.base_offset)
    forget_plain_sections();
  saved_changes_ = 0;
  return true;
}

bool DocSaver::prepare_complete(CPDFObj& id, const CPDFEncrypt* enc) {
  const HeapWatch watch;
  CPDFXRefTable& table = doc_.table();
  doc_.read_all_sections();
  enter_unlisted(table);
  if (!give_trailer_values_numbers(table))
    table.entries_lost = 1;
  doc_.store_page_tree();
  table.font_cache.embed_flush();
  metadata_.store_frame();
  metadata_.store_packet();
  if (enc != nullptr || doc_.is_encrypted())
    fit_crypt_filters(doc_, enc);
  if (id.is_null())
    renew_identifier(table, id);
  return watch.all_granted() && table.entries_lost == 0;
}

void DocSaver::save_complete(CPDFXRefTable& target, CPDFEncrypt* enc) {
  const HeapWatch watch;
  CPDFXRefTable& table = doc_.table();
  const bool prepared = prepare_complete(target.id, enc);
  free_members_of_lost_streams(table);
  table.next_obj_num = table.unnamed_from(table.next_obj_num);  // what the cross-reference stream takes
  table.save_as(target, enc);
  if (!prepared || !watch.all_granted() || table.entries_lost != 0)
    target.write_failed = 1;
}

}  // namespace sheaf
