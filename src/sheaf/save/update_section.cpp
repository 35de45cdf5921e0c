// What both forms of an update section do: confirm places, list runs, print objects, write the tail.
#include <algorithm>

#include "sheaf/base/chars.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/work_watch.h"
#include "sheaf/neighbours/security/encrypter.h"
#include "sheaf/save/stored_print.h"
#include "sheaf/save/update_internal.h"

namespace sheaf {

namespace {

constexpr std::int32_t kRunStep = 64;
constexpr std::uint32_t kTailRoom = 32;  // the tail lies within this distance of the file's end

// Offsets beyond 2 GiB do not fit an integer; as reals they keep their value.
void set_offset(CPDFDictionary& dict, const char* key, std::uint32_t offset) {
  if (offset <= INT32_MAX)
    dict.set_item_int(key, static_cast<int>(offset));
  else
    dict.set_item_real(key, fix_from_int(offset));
}

}  // namespace

UpdateSection::UpdateSection(CPDFXRefTable& table, CPDFEncrypt* enc, PDF_SIGN_DATA* sign)
    : runs(kRunStep), table_(table), enc_(enc), sign_(sign), out_(table.stream) {}

void UpdateSection::prepare() {
  table_.font_cache.embed_flush();
  if (table_.omits_frame == 0)
    table_.pdfa_gen();
  table_.gen_id();
}

void UpdateSection::confirm_positions() {
  if (!table_.has_many_repairs())
    return;
  table_.drain_pending();
  Freed<CPDFObj> scratch;
  // get_entity may grow the table and correct entries on the way, so both are read anew each turn.
  for (std::uint32_t num = 1; num < table_.xref_count; ++num) {
    const PDF_XREF entry = table_.xref_items[num];
    if (!entry.is_known() || entry.is_compressed())
      continue;
    scratch = table_.object({object_num(num), entry.gen == PDF_XREF::kNoGen ? 0 : entry.gen});
  }
  table_.repaired_count = 0;
}

void UpdateSection::separate_from_digit(const PDF_XREF& entry) {
  if (entry.offset == 0)
    return;
  CQVStream* stream = table_.stream;
  stream->SetPos(CQVStream::STR_SEEK_SET, static_cast<long long>(entry.offset) - 1);
  char before = 0;
  if (stream->Read(&before, 1) != 1 || !is_digit(before))
    return;
  stream->SetPos(CQVStream::STR_SEEK_CUR, -1);
  stream->Write(" ", 1);
}

bool UpdateSection::scan() {
  const PDF_XREF* items = table_.xref_items;
  const std::uint32_t count = table_.xref_count;
  std::uint32_t at = 0;
  while (at < count) {
    if (items[at].type == PDF_XREF::kInFileLate)
      separate_from_digit(items[at]);
    std::uint32_t behind = at + 1;
    while (behind < count && items[behind].is_changed())
      ++behind;
    const std::uint32_t length = behind - at - 1;
    if (length != 0 && !runs.append(static_cast<std::int32_t>(at + 1), static_cast<std::int32_t>(length)))
      return false;
    objects_ += length;
    at = behind;
  }
  return true;
}

void UpdateSection::begin() {
  // Without the tail, the last one that a reader finds is that of the content before the
  // section, until the new one is complete.
  const auto len = static_cast<std::uint32_t>(table_.stream->GetLen());
  if (len > table_.append_offset) {
    constexpr std::uint8_t kNoTail[kTailRoom]{};
    const std::uint32_t size = std::min(kTailRoom, len - table_.append_offset);
    out_.SetPos(CQVStream::STR_SEEK_SET, len - size);
    out_.Write(kNoTail, size);
    out_.Flush();
  }
  out_.SetPos(CQVStream::STR_SEEK_SET, table_.append_offset);
  out_.Write("\n", 1);
}

std::uint32_t UpdateSection::put_object(std::int32_t num, bool keeps_slot) {
  WorkWatch::at(++put_, objects_);
  WorkWatch::step();  // nothing else need ask: values that are in memory are printed without more of it
  PDF_XREF& entry = table_.xref_items[num];
  if (entry.gen == -1)
    return entry.offset;  // repaired: stays where it was found
  const auto pos = static_cast<std::uint32_t>(out_.GetPos());
  if (keeps_slot)
    return pos;
  // An entry that has no slot, or no longer has it, still gets an object to lead to.
  PDF_NEWOBJ* const slot = table_.slot_of(object_index(num));
  CPDFObj nothing{};
  CPDFObj& obj = slot != nullptr ? slot->obj : nothing;
  const std::int32_t gen = generation(num);  // as the section's entry says too
  PDF_ENC_PARA para{num, gen, 1, enc_};
  complete_ = print_stored(table_, obj, &out_, para) && complete_;
  if (sign_ == nullptr)
    return pos;
  sealed_.push({num, pos, gen});
  if (num == sign_->num)
    sign_->dict.copy_from(obj.as_dict());
  return pos;
}

std::int32_t UpdateSection::generation(std::int32_t num) const {
  const std::int32_t gen = table_.keeps_generations != 0 ? table_.known_generation(object_index(num)) : 0;
  return gen > 0 ? gen : 0;
}

bool UpdateSection::has_high_generations() const {
  if (table_.keeps_generations == 0)
    return false;
  for (const PDF_RUN& run : runs) {
    for (std::int32_t num = run.first; num < run.first + run.count; ++num) {
      // Those that stay where they are have theirs in the file, which is not read twice for it.
      if (table_.xref_items[num].is_found() || generation(num) > UINT8_MAX)
        return true;
    }
  }
  return false;
}

void UpdateSection::set_trailer_values(CPDFDictionary& dict) const {
  const auto set_present = [&dict](const char* key, const CPDFObj& value) {
    if (!value.is_null())
      dict.set_item(key, &value);
  };
  set_present("Root", table_.root);
  set_present("Info", table_.info);
  dict.set_item("ID", &table_.id);
  set_present("Encrypt", table_.encrypt);
  if (CPDFObj* const settings = dict.get_item("Encrypt"); settings != nullptr && settings->as_dict() != nullptr)
    CPDFStandardEncrypt::sign_permissions(*settings->as_dict());
  if (table_.last_xref_offset != 0)
    set_offset(dict, CPDFDictionary::sm_tag_prev, table_.last_xref_offset);
}

// A stream cannot be cut short: what is left of a longer section that was here becomes zeros.
void UpdateSection::fill(std::uint32_t end) {
  auto len = static_cast<std::uint32_t>(table_.stream->GetLen());
  constexpr std::uint32_t kZeros = 4;
  while (len > end) {
    out_.Write("\0\0\0\0", kZeros);
    len = len > kZeros ? len - kZeros : 0;
  }
  out_.write_out();
}

void UpdateSection::finish(std::uint32_t start) {
  const auto end = static_cast<std::uint32_t>(out_.GetPos());
  const bool reaches_too_far = out_.GetPos() > static_cast<long long>(UINT32_MAX - kTailRoom);
  out_.write_out();
  if (!reaches_too_far)
    fill(end);
  out_.Flush();
  if (reaches_too_far || !complete_ || out_.failed() || !watch_.all_granted()) {
    table_.write_failed = 1;
    return;
  }
  // The tail goes to where a reader looks for it, within the last 32 bytes of the file.
  const auto len = static_cast<std::uint32_t>(table_.stream->GetLen());
  const bool near_end = std::uint64_t{end} + kTailRoom > len;
  out_.SetPos(CQVStream::STR_SEEK_SET, near_end ? end : len - kTailRoom);
  out_.text("\nstartxref\n");
  out_.decimal(start);
  out_.text("\n%%EOF\n");
  out_.Flush();
  if (out_.failed())
    table_.write_failed = 1;
  else if (sign_ != nullptr)
    commit(start);
}

void UpdateSection::commit(std::uint32_t start) {
  for (const Place& place : sealed_)
    table_.xref_items[place.num] = PDF_XREF::in_file(place.pos, place.gen);
  for (std::uint32_t slot = 0; slot < table_.new_obj_count; ++slot)
    table_.new_objs[slot].obj.free();
  table_.new_obj_count = 0;
  table_.last_xref_offset = start;
  table_.append_offset = static_cast<std::uint32_t>(table_.stream->GetLen());
}

}  // namespace sheaf
