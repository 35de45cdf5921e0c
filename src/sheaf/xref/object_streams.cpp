// Object streams, decoded when one of their objects is asked for. The parsed objects are kept until
// the document is closed, as far as the table's budget goes: beyond it those that were not asked
// for of late are released, and decoded again when they are.
#include <algorithm>
#include <cstring>
#include <memory>

#include "sheaf/base/chars.h"
#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/stream_flaw.h"
#include "sheaf/object/parse_buf.h"
#include "sheaf/object/references.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr int kMostObjStmBytes = 0x8000000;  // 128 MiB of decoded data
constexpr std::uint32_t kObjStmStep = 32;
constexpr std::int64_t kParsedPerByte = 5;  // what the objects take in memory for a byte of their text

// What is read out of an object stream.
enum class Wanted { kObjects, kReferences };

// Objects one after the other from the position of `buf`; stray keywords between them are passed over.
// Objects that the data lack stay null.
bool read_objects(CPDFBuf& buf, PDF_OBJSTM& entry) {
  entry.objs = static_cast<CPDFObj*>(QVAlloc(static_cast<std::size_t>(entry.count) * sizeof(CPDFObj)));
  if (entry.objs == nullptr)
    return false;
  std::fill(entry.objs, entry.objs + entry.count, CPDFObj{});
  for (std::int32_t i = 0; i < entry.count && buf.buf_len != 0; ++i) {
    do {
      entry.objs[i].read(&buf, nullptr);
    } while (entry.objs[i].tag == kTagNoValue);
  }
  return true;
}

// The same objects, of which only what they refer to is kept.
void read_reference_lists(CPDFBuf& buf, PDF_OBJSTM& entry) {
  const auto starts = static_cast<std::size_t>(entry.count) + 1;
  ReferenceList list;
  if (!list.resize(starts))
    return;
  for (std::size_t i = 0; i < starts; ++i) {
    list[i] = static_cast<std::int32_t>(list.size());
    while (i + 1 < starts && buf.buf_len != 0 && read_references(buf, list) == kTagNoValue) {
    }
  }
  entry.weight = static_cast<std::int64_t>(list.size() * sizeof(std::int32_t));
  entry.refs = list.release();
}

bool holds_something(const PDF_OBJSTM& entry) {
  return entry.objs != nullptr || entry.refs != nullptr;
}

bool is_released(const PDF_OBJSTM& entry) {
  return !holds_something(entry) && entry.weight != 0;
}

void release_objects(PDF_OBJSTM& entry) {
  for (std::int32_t i = 0; entry.objs != nullptr && i < entry.count; ++i)
    entry.objs[i].free();
  QVFree(entry.objs);
  entry.objs = nullptr;
  QVFree(entry.refs);
  entry.refs = nullptr;
}

// The pairs of numbers in front of the objects of an object stream: which object, and where it begins
// behind "First".
class NumberTable {
public:
  NumberTable(const std::uint8_t* data, std::int32_t size) : data_(data), size_(size) {}

  // Reads pairs up to `stop`, and at most `most` of them. What counts is a pair that can be true: each
  // object begins behind the one before it.
  void read(std::int32_t stop, std::int32_t most) {
    count = end = 0;
    std::int64_t last = -1;
    for (std::int32_t at = 0; count < most;) {
      std::int64_t pair[2];
      if (!take(at, stop, pair[0]) || !take(at, stop, pair[1]) || pair[1] <= last || pair[1] >= size_)
        return;
      last = pair[1];
      end = at;
      ++count;
    }
  }
  std::int32_t past_space(std::int32_t at) const {
    while (at < size_ && is_wide_space(static_cast<char>(data_[at])))
      ++at;
    return at;
  }
  // Also over comments, which may be in front of the first object.
  std::int32_t past_comments(std::int32_t at) const {
    at = past_space(at);
    while (at < size_ && data_[at] == '%') {
      while (at < size_ && data_[at] != '\n' && data_[at] != '\r')
        ++at;
      at = past_space(at);
    }
    return at;
  }

  std::int32_t count = 0;
  std::int32_t end = 0;  // of the last pair

private:
  // The number behind white space.
  bool take(std::int32_t& at, std::int32_t stop, std::int64_t& number) const {
    std::int32_t digit = std::min(past_space(at), stop);
    const std::int32_t begin = digit;
    number = 0;
    for (; digit < stop && is_digit(static_cast<char>(data_[digit])) && number <= INT32_MAX; ++digit)
      number = number * 10 + (data_[digit] - '0');
    at = digit;
    return digit != begin;
  }

  const std::uint8_t* data_;
  std::int32_t size_;
};

// "N" and "First" say the same thing twice: how many pairs there are, and where they end. Where the two
// differ, the one that gives more objects is believed. True when one was set right.
bool agree_with_numbers(const std::uint8_t* data, std::int32_t size, std::int32_t& first, std::int32_t& count) {
  NumberTable table(data, size);
  table.read(size, count);
  const bool has_all = table.count == count && count > 0;
  const std::int32_t behind = table.past_comments(table.end);
  if (has_all && first >= table.end && first <= behind)
    return false;
  const std::int32_t stated_count = count;
  const std::int32_t stated_first = first;
  const bool may_be_first = first > 0 && first <= size && is_wide_space(static_cast<char>(data[first - 1]));
  table.read(may_be_first ? first : 0, INT32_MAX);
  const bool ends_there = table.count > 0 && table.past_comments(table.end) >= first;
  if (ends_there && (!has_all || table.count > count))
    count = table.count;
  else if (has_all)
    first = behind;
  return count != stated_count || first != stated_first;
}

// Decodes an object stream into `entry`, whose objs and refs stay null when that fails. The table of
// numbers and offsets in front of the first object is looked at only where the table has a finder: true
// when "N" or "First" had to be set right by it.
bool load_objects(CPDFStream& decoder, const CPDFStreamRec& rec, std::int64_t ceiling, Wanted wanted, bool heals,
                  PDF_OBJSTM& entry) {
  int size = rec.decoded_hint;
  const int most = ceiling > 0 ? static_cast<int>(std::min<std::int64_t>(ceiling, kMostObjStmBytes)) : kMostObjStmBytes;
  const HeapBlock<std::uint8_t> data(decoder.buffer_load(decoder.most_text(most), size));
  entry.decoded = data ? size : 0;
  entry.flaw = find_flaw(decoder);
  if (!data || entry.count < 0)
    return false;
  std::int32_t first = entry.first;
  const bool is_healed = heals && agree_with_numbers(data.get(), size, first, entry.count);
  // Every object takes a byte at least: those beyond are null, and need no place.
  entry.count = std::min(entry.count, size);
  CPDFBufMem buf;
  if (first >= 0 && first < size)
    buf.buf_init_mem(data.get() + first, static_cast<std::uint32_t>(size - first));
  if (wanted == Wanted::kReferences)
    read_reference_lists(buf, entry);
  else if (read_objects(buf, entry))
    entry.weight = size * kParsedPerByte + entry.count * static_cast<std::int64_t>(sizeof(CPDFObj));
  return is_healed;
}

// Releases objects until `weight` fits into the budget. Evicts by second chance (clock).
void make_room(CPDFXRefTable& table, std::int64_t weight) {
  ObjStmBudget& budget = table.objstm_budget;
  if (budget.is_useless())
    return;
  for (std::uint64_t step = 0; step < 2 * std::uint64_t{table.objstm_count} && !budget.fits(weight); ++step) {
    budget.hand = budget.hand + 1 < table.objstm_count ? budget.hand + 1 : 0;
    PDF_OBJSTM& entry = table.objstm_cache[budget.hand];
    if (holds_something(entry) && entry.recent == 0) {
      release_objects(entry);
      budget.give_back(entry.weight);
    }
    entry.recent = 0;
  }
}

bool lies_before(const PDF_OBJSTM& entry, std::int32_t offset, std::int32_t first) {
  return entry.offset != offset ? entry.offset < offset : entry.first < first;
}

PDF_OBJSTM* insert_objstm(CPDFXRefTable& table, std::size_t place, const PDF_OBJSTM& entry) {
  if (table.objstm_count >= table.objstm_capacity) {
    const std::uint32_t capacity = table.objstm_capacity + kObjStmStep;
    void* grown = QVRealloc(table.objstm_cache, capacity * sizeof(PDF_OBJSTM));
    if (grown == nullptr)
      return nullptr;
    table.objstm_cache = static_cast<PDF_OBJSTM*>(grown);
    table.objstm_capacity = capacity;
  }
  PDF_OBJSTM* const slot = table.objstm_cache + place;
  std::memmove(slot + 1, slot, (table.objstm_count - place) * sizeof(PDF_OBJSTM));
  *slot = entry;
  ++table.objstm_count;
  return slot;
}

PDF_OBJSTM* find_objstm(CPDFXRefTable& table, std::int32_t offset, std::int32_t first) {
  PDF_OBJSTM* const end = table.objstm_cache + table.objstm_count;
  return std::lower_bound(table.objstm_cache, end, first, [offset](const PDF_OBJSTM& entry, std::int32_t wanted) {
    return lies_before(entry, offset, wanted);
  });
}

// The stream object at a place is parsed anew for each request, since the cache's key needs its
// "First". The file does not change while it is read, so for a place that has been parsed once the
// value is in the cache already.
PDF_OBJSTM* find_known_place(CPDFXRefTable& table, std::int32_t offset) {
  PDF_OBJSTM* const end = table.objstm_cache + table.objstm_count;
  PDF_OBJSTM* const hit = find_objstm(table, offset, INT32_MIN);
  return hit != end && hit->offset == offset ? hit : nullptr;
}

// Reads and decodes the object stream at the place of `entry`. False when it is no stream or has no decoder.
bool load_objstm(CPDFXRefTable& table, PDF_OBJSTM& entry, const PDF_REF& ref, Wanted wanted) {
  table.stream->SetPos(CQVStream::STR_SEEK_SET, static_cast<std::uint32_t>(entry.offset));
  CPDFBufBase buf;
  buf.buf_init(table.stream);
  PDF_DEC_PARA para{};
  Freed<CPDFObj> obj;
  obj.read(&buf, table.decode_para(para, ref));
  CPDFStreamRec* const rec = obj.as_stream();
  if (rec == nullptr)
    return false;
  table.heal_length(*rec, ref.num);
  entry.first = table.value(&rec->dict, CPDFDictionary::sm_tag_first).to_int();
  entry.count = table.value(&rec->dict, "N").to_int();
  const std::unique_ptr<CPDFStream> decoder(table.make_stream(rec));
  if (decoder == nullptr)
    return false;
  if (load_objects(*decoder, *rec, table.decoded_ceiling, wanted, table.finder != nullptr, entry))
    table.repairs.note(PDF_REPAIR::kLengthCorrected, ref.num, static_cast<std::uint32_t>(entry.offset));
  return true;
}

// The cache owns the objects from here on. Resolving on the way may have put other entries into it,
// so the place is found only now.
PDF_OBJSTM* store_objstm(CPDFXRefTable& table, PDF_OBJSTM& entry) {
  make_room(table, entry.weight);
  PDF_OBJSTM* slot = find_objstm(table, entry.offset, entry.first);
  const bool reloaded = slot != table.objstm_cache + table.objstm_count && slot->offset == entry.offset &&
                        slot->first == entry.first && is_released(*slot);
  if (reloaded)
    *slot = entry;
  else
    slot = insert_objstm(table, static_cast<std::size_t>(slot - table.objstm_cache), entry);
  if (slot == nullptr) {
    release_objects(entry);
    return nullptr;
  }
  table.objstm_budget.take(entry.weight, reloaded);
  return slot;
}

PDF_OBJSTM* get(CPDFXRefTable& table, unsigned int offset, const PDF_REF& ref, Wanted wanted) {
  if (table.entity_calls.is_full())
    return nullptr;
  const Nesting::Call call(table.entity_calls);
  const auto place_in_file = static_cast<std::int32_t>(offset);
  PDF_OBJSTM* const known = find_known_place(table, place_in_file);
  if (known != nullptr && known->refs != nullptr && wanted == Wanted::kObjects) {
    release_objects(*known);
    table.objstm_budget.give_back(known->weight);
  }
  if (known != nullptr && !is_released(*known)) {
    known->recent = 1;
    return known;
  }
  // Each load asks for several parameters, and one that fails is tried anew by the next: streams
  // that hold their own parameters would take time exponential in the depth.
  if (table.objstm_loads.is_full())
    return nullptr;
  const Nesting::Call load(table.objstm_loads);
  PDF_OBJSTM entry{};
  entry.offset = place_in_file;
  entry.recent = 1;
  return load_objstm(table, entry, ref, wanted) ? store_objstm(table, entry) : nullptr;
}

}  // namespace

PDF_OBJSTM* CPDFXRefTable::get_objstm(unsigned int offset, int num, int gen) {
  return get(*this, offset, {num, gen}, Wanted::kObjects);
}

PDF_OBJSTM* CPDFXRefTable::get_objstm_references(unsigned int offset, int num) {
  return get(*this, offset, {num, 0}, Wanted::kReferences);
}

bool CPDFXRefTable::serves_as_objstm(std::uint32_t offset) {
  const PDF_OBJSTM* const known = find_known_place(*this, static_cast<std::int32_t>(offset));
  return known != nullptr && (holds_something(*known) || is_released(*known));
}

std::uint32_t CPDFXRefTable::objstm_place(std::uint32_t num) const {
  const PDF_NEWOBJ* const slot = slot_of(num);
  return slot != nullptr ? slot->place : xref_items[num].offset;
}

void CPDFXRefTable::release_objstms() {
  for (std::uint32_t i = 0; i < objstm_count; ++i)
    release_objects(objstm_cache[i]);
  QVFree(objstm_cache);
  objstm_cache = nullptr;
  objstm_count = objstm_capacity = 0;
  objstm_budget.reset();
}
