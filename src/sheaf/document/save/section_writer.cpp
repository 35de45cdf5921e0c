// One update section: the form it takes, and the objects that join the changes in it.
#include "sheaf/document/save/section_writer_internal.h"

#include <cstring>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/number_text.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/save/identifier_internal.h"
#include "sheaf/neighbours/page/trailer_values.h"
#include "sheaf/neighbours/security/encrypter.h"
#include "sheaf/object/parse_buf.h"
#include "sheaf/xref/object_finder.h"

namespace sheaf {

bool begins_at_its_place(const CPDFXRefTable& table, std::uint32_t num) {
  table.stream->SetPos(CQVStream::STR_SEEK_SET, table.xref_items[num].offset);
  CPDFBufBase buf;
  buf.buf_init(table.stream);
  return ansi_to_i32(buf.buf_data) == object_num(num);
}

bool SectionWriter::write(PDF_SAVE_FORM form, PDF_SIGN_DATA* sign) {
  const HeapWatch watch;
  if (!give_trailer_values_numbers(table_))
    return false;
  if (!has_sound_sections())
    detach_from_old_sections();
  CPDFStandardEncrypt encrypter;
  CPDFEncrypt* enc = nullptr;
  if (doc_.is_encrypted()) {
    Freed<CPDFObj> settings;
    table_.get_encryption(settings);
    // Without the key nothing may go into the file: what is written in clear can never be read as it.
    if (table_.sec_filter[0] == 0 || table_.sec_hand == nullptr || settings.as_dict() == nullptr)
      return false;
    if (!encrypter.continue_with(doc_.handler(), *settings.as_dict()))
      return false;
    enc = &encrypter;
    keep_identifier(table_, table_.id);
  }
  const bool classic =
      form == PDF_SAVE_FORM::kClassic || (form == PDF_SAVE_FORM::kAsFile && table_.first_xref_kind == 1);
  if (classic && !reach_last_number())
    return false;
  table_.write_failed = 0;
  table_.drain_pending();
  table_.next_obj_num = table_.unnamed_from(table_.next_obj_num);
  const std::uint32_t section_num = table_.next_obj_num;  // the number that a cross-reference stream takes
  const int done = classic ? table_.save_14(enc, sign) : table_.save(enc, sign);
  if (done == 0 || !watch.all_granted() || table_.entries_lost != 0)
    table_.write_failed = 1;
  const bool good = table_.write_failed == 0;
  if (classic || table_.next_obj_num != section_num + 1)
    return good;
  if (good && sign != nullptr)
    table_.xref_items[section_num] = PDF_XREF::in_file(table_.last_xref_offset, 0);
  else
    table_.next_obj_num = section_num;  // the next save, or the next object, takes it again
  return good;
}

bool SectionWriter::has_sound_sections() {
  doc_.read_all_sections();
  if (doc_.status() != PDF_OPEN::kClean)
    return false;
  for (const PDF_DOC_REPAIR& repair : doc_.repairs()) {
    // Where one entry is false, others that nobody has followed yet may be too.
    for (const char* code : {"startxref", "section", "entry"}) {
      if (std::strcmp(repair.code, code) == 0)
        return false;
    }
  }
  return table_.sections_lost == 0;
}

// Where the chain of old sections cannot be trusted, other readers must not have to follow it: the
// update then lists every object itself. Those that stay where they are become entries of the
// update at their true places. Those in object streams, which an update section cannot list, and
// those whose end other readers would not find become objects of the update.
void SectionWriter::detach_from_old_sections() {
  doc_.read_all_sections();
  if (table_.sections_lost != 0 && table_.finder != nullptr)
    table_.finder->enter_missing();  // the next reader will look for nothing after this section
  Freed<CPDFObj> obj;
  for (std::uint32_t num = 1; num < table_.xref_count; ++num) {
    const PDF_XREF before = table_.xref_items[num];
    if (!before.is_in_file() && !before.is_compressed())
      continue;
    table_.get_stored(obj, PDF_REF::at(num));
    PDF_XREF& entry = table_.xref_items[num];
    if (entry.is_listed())
      entry = PDF_XREF::found_at(entry.offset);
    if (!obj.is_null() && (before.is_compressed() || !ends_well(num, obj)))
      table_.store_object(doc_.reference_to(object_num(num)), obj);
  }
  table_.last_xref_offset = 0;
}

// Whether the keyword follows that ends the object. In a damaged file it may not, and what is after
// the object, the update in the end, would be taken for a part of it.
bool SectionWriter::ends_well(std::uint32_t num, const CPDFObj& stored) {
  constexpr char kEnd[] = "endobj";
  constexpr unsigned kEndSize = sizeof(kEnd) - 1;
  if (const CPDFStreamRec* const rec = stored.as_stream())
    return rec->length == 0 || rec->source != table_.stream;  // else "Length" is not what was found
  table_.stream->SetPos(CQVStream::STR_SEEK_SET, table_.xref_items[num].offset);
  CPDFBufBase buf;
  buf.buf_init(table_.stream);
  Freed<CPDFObj> obj;
  obj.read(&buf, nullptr);
  buf.buf_need(kEndSize);
  return obj.tag == kTagNoValue ||
         (buf.buf_pos + kEndSize <= buf.buf_len && std::memcmp(buf.buf_data + buf.buf_pos, kEnd, kEndSize) == 0);
}

// Readers may ignore every object at or above "Size", which follows from the last run of an update: that
// run has to reach the highest number. An object that stays where it is joins it by its entry alone.
bool SectionWriter::reach_last_number() {
  table_.drain_pending();
  std::uint32_t last = table_.xref_count;
  while (last > 1 && !table_.xref_items[last - 1].is_known())
    --last;
  if (last-- < 2)
    return true;
  PDF_XREF& entry = table_.xref_items[last];
  if (entry.is_changed())
    return true;
  if (entry.type == PDF_XREF::kInFile && entry.gen == 0 && begins_at_its_place(table_, last)) {
    entry = PDF_XREF::found_at(entry.offset);
    return true;
  }
  CPDFObj nothing{};
  return table_.store_object({table_.alloc_obj_num(), 0}, nothing);
}

}  // namespace sheaf
