// Object streams, decoded when one of their objects is asked for. What is kept is the objects of the first streams, and
// the text of others, which a request parses one object of; and a list of where each object begins and what it refers
// to. All are kept until the document is closed, as far as the table's budget goes: beyond it objects and texts that
// were not asked for of late are released first, then lists, and each is made again when it is needed.
#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include "sheaf/base/chars.h"
#include "sheaf/base/heap.h"
#include "sheaf/base/heap_watch.h"
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
constexpr std::int64_t kShareOfValues = 4;  // of the budget, for objects as values: one part in so many

// How much of an object stream is read: the count of its objects and how its data end, which are kept; the lists of
// references; the text with these lists; or all objects as values.
enum class Wanted { kOutline, kReferences, kText, kObjects };

// Halves the words before the numbers. A reference takes four bytes at least, so that few bytes have few of them.
void shorten_places(ReferenceList& list, std::size_t places) {
  auto* const halves = reinterpret_cast<char*>(list.begin());
  for (std::size_t i = 0; i < places; ++i) {
    const auto half = static_cast<std::uint16_t>(list[i]);
    std::memcpy(halves + i * sizeof(half), &half, sizeof(half));
  }
  const std::size_t words = (places + 1) / 2;
  std::copy(list.begin() + places, list.end(), list.begin() + words);
  list.resize(list.size() - places + words);
}

// Where each object begins and what it refers to. Objects are read one after the other from byte `first` on, and stray
// keywords between them passed over. Objects that the data lack begin at their end.
bool read_lists(PDF_OBJSTM& entry, std::int32_t first) {
  CPDFBufMem buf;
  if (first >= 0 && first < entry.decoded)
    buf.buf_init_mem(entry.text + first, static_cast<std::uint32_t>(entry.decoded - first));
  const auto count = static_cast<std::size_t>(entry.count);
  const std::size_t places = 2 * count + 1;
  ReferenceList list;
  if (!list.resize(places))
    return false;
  for (std::size_t i = 0; i < count; ++i) {
    std::int32_t start = entry.decoded;
    list[i] = static_cast<std::int32_t>(list.size() - places);
    do {
      if (buf.buf_len != 0)
        start = first + static_cast<std::int32_t>(buf.position());
    } while (buf.buf_len != 0 && read_references(buf, list) == kTagNoValue);
    list[count + 1 + i] = start;
  }
  list[count] = static_cast<std::int32_t>(list.size() - places);
  if (entry.has_short_places())
    shorten_places(list, places);
  entry.refs_weight = static_cast<std::int64_t>(list.size() * sizeof(std::int32_t));
  entry.refs = list.release();
  return true;
}

// Object `index` of a stream whose text is held.
void read_member(const PDF_OBJSTM& entry, std::int32_t index, CPDFObj& out) {
  const auto start = static_cast<std::int32_t>(
      entry.place(static_cast<std::size_t>(entry.count) + 1 + static_cast<std::size_t>(index)));
  CPDFBufMem buf;
  buf.buf_init_mem(entry.text + start, static_cast<std::uint32_t>(entry.decoded - start));
  out.read(&buf, nullptr);
}

std::int64_t weight_of_objects(const PDF_OBJSTM& entry) {
  return entry.decoded * kParsedPerByte + entry.count * static_cast<std::int64_t>(sizeof(CPDFObj));
}

// All or none: a value of which a part is missing would be given out as it is from then on.
bool read_objects(PDF_OBJSTM& entry) {
  const HeapWatch watch;
  entry.objs = static_cast<CPDFObj*>(QVAlloc(static_cast<std::size_t>(entry.count) * sizeof(CPDFObj)));
  if (entry.objs == nullptr)
    return false;
  std::fill(entry.objs, entry.objs + entry.count, CPDFObj{});
  for (std::int32_t i = 0; i < entry.count; ++i)
    read_member(entry, i, entry.objs[i]);
  if (!watch.all_granted()) {
    for (std::int32_t i = 0; i < entry.count; ++i)
      entry.objs[i].free();
    QVFree(entry.objs);
    entry.objs = nullptr;
    return false;
  }
  entry.objs_weight = weight_of_objects(entry);
  return true;
}

bool has(const PDF_OBJSTM& entry, Wanted wanted) {
  if (wanted == Wanted::kOutline)
    return true;
  if (wanted == Wanted::kReferences)
    return entry.refs != nullptr;
  return entry.objs != nullptr || (wanted == Wanted::kText && entry.text != nullptr);
}

void release_text(PDF_OBJSTM& entry) {
  for (std::int32_t i = 0; entry.objs != nullptr && i < entry.count; ++i)
    entry.objs[i].free();
  QVFree(entry.objs);
  entry.objs = nullptr;
  QVFree(entry.text);
  entry.text = nullptr;
}

void release_all(PDF_OBJSTM& entry) {
  release_text(entry);
  QVFree(entry.refs);
  entry.refs = nullptr;
}

// What an entry holds counts in the budget, and no longer does.
void account(ObjStmBudget& budget, const PDF_OBJSTM& entry) {
  budget.held += entry.held();
  budget.lists += entry.held_lists();
}
void discount(ObjStmBudget& budget, const PDF_OBJSTM& entry) {
  budget.held -= entry.held();
  budget.lists -= entry.held_lists();
}

// The pairs of numbers before the objects of an object stream: which object, and where it begins
// after "First".
class NumberTable {
public:
  NumberTable(const std::uint8_t* data, std::int32_t size) : data_(data), size_(size) {}

  // Reads pairs up to `stop`, and at most `most` of them. What counts is a pair that can be true: each
  // object begins after the one before it.
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
  // Also over comments, which may be before the first object.
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
  // The number after white space.
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
// differ, the one that gives more objects is believed. True when one was set right, or the pairs are broken: readers
// that go by them find nothing.
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
  const bool lacks_numbers = count > 0 && !has_all && count == stated_count;
  return count != stated_count || first != stated_first || lacks_numbers;
}

// The block without the room after its `size` bytes.
std::uint8_t* cut(HeapBlock<std::uint8_t>& data, std::int32_t size) {
  std::uint8_t* const block = data.release();
  void* const less = QVRealloc(block, static_cast<std::size_t>(size) + 1);
  return less != nullptr ? static_cast<std::uint8_t*>(less) : block;
}

// Decodes an object stream into `entry`, whose text and refs stay null when that fails; `before` is what was known of
// it, and its lists are taken over. The table of numbers and offsets before the first object is looked at only
// where the table has a finder: true when "N" or "First" had to be set right by it.
bool load_text(const CPDFXRefTable& table, CPDFStream& decoder, const CPDFStreamRec& rec, PDF_OBJSTM& before,
               PDF_OBJSTM& entry) {
  const std::int64_t ceiling = table.decoded_ceiling;
  int size = rec.decoded_hint;
  const int most = ceiling > 0 ? static_cast<int>(std::min<std::int64_t>(ceiling, kMostObjStmBytes)) : kMostObjStmBytes;
  HeapBlock<std::uint8_t> data(decoder.buffer_load(decoder.most_text(most), size));
  entry.flaw = find_flaw(decoder);
  entry.decoded = data ? size : 0;
  if (!data || entry.count < 0)
    return false;
  std::int32_t first = entry.first;
  const bool is_healed = table.finder != nullptr && agree_with_numbers(data.get(), size, first, entry.count);
  // Every object takes a byte at least: those beyond are null, and need no place.
  entry.count = std::min(entry.count, size);
  entry.text = cut(data, size);
  if (before.refs != nullptr && before.count == entry.count && before.decoded == size) {
    entry.refs = std::exchange(before.refs, nullptr);
    entry.refs_weight = before.refs_weight;
  } else if (!read_lists(entry, first)) {
    release_all(entry);
  }
  return is_healed;
}

// Releases texts that were not asked for of late until `weight` fits into the budget, by second chance (clock). Lists
// go with their texts once lists fill their share: walks pass over a document again and again in one order, and the
// lists that are kept then serve each of them, where those made last would always be gone before their turn comes.
void make_room(CPDFXRefTable& table, std::int64_t weight) {
  constexpr std::uint64_t kTurns = 2;  // to forget who asked, and for the texts
  ObjStmBudget& budget = table.objstm_budget;
  if (budget.is_useless())
    return;
  for (std::uint64_t step = 0; step < kTurns * table.objstm_count && !budget.fits(weight); ++step) {
    budget.hand = budget.hand + 1 < table.objstm_count ? budget.hand + 1 : 0;
    PDF_OBJSTM& entry = table.objstm_cache[budget.hand];
    const bool holds_text = entry.objs != nullptr || entry.text != nullptr;
    if (holds_text && entry.recent == 0) {
      discount(budget, entry);
      if (budget.has_many_lists())
        release_all(entry);
      else
        release_text(entry);
      account(budget, entry);
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
  std::uint32_t& last = table.objstm_last;
  const bool is_last = last < table.objstm_count && table.objstm_cache[last].offset == offset &&
                       (last == 0 || table.objstm_cache[last - 1].offset != offset);
  if (!is_last)
    last = static_cast<std::uint32_t>(find_objstm(table, offset, INT32_MIN) - table.objstm_cache);
  return last < table.objstm_count && table.objstm_cache[last].offset == offset ? table.objstm_cache + last : nullptr;
}

// Reads and decodes the object stream at the place of `entry`. False when it is no stream or has no decoder.
bool load_objstm(CPDFXRefTable& table, const PDF_REF& ref, PDF_OBJSTM& before, PDF_OBJSTM& entry) {
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
  const bool has_false_length = rec->length != 0;
  const bool has_false_numbers = load_text(table, *decoder, *rec, before, entry);
  entry.corrected = has_false_length || has_false_numbers ? 1 : 0;
  if (has_false_numbers)
    table.repairs.note(PDF_REPAIR::kLengthCorrected, ref.num, static_cast<std::uint32_t>(entry.offset));
  return true;
}

// Objects whose stream only their own entries name are read here and nowhere else.
void note_unlisted(CPDFXRefTable& table, std::int32_t num, std::uint32_t offset) {
  if (num > 0 && object_index(num) < table.xref_count && !table.xref_items[num].is_in_file())
    table.repairs.note(PDF_REPAIR::kContainerUnlisted, num, offset);
}

// The cache owns what `entry` holds from here on. Resolving on the way may have put other entries into it,
// so the place is found only now.
PDF_OBJSTM* store_objstm(CPDFXRefTable& table, PDF_OBJSTM& entry) {
  make_room(table, entry.held());
  PDF_OBJSTM* slot = find_objstm(table, entry.offset, entry.first);
  const bool is_there =
      slot != table.objstm_cache + table.objstm_count && slot->offset == entry.offset && slot->first == entry.first;
  if (is_there) {
    discount(table.objstm_budget, *slot);
    release_all(*slot);
    *slot = entry;
  } else {
    slot = insert_objstm(table, static_cast<std::size_t>(slot - table.objstm_cache), entry);
  }
  if (slot == nullptr) {
    release_all(entry);
    return nullptr;
  }
  account(table.objstm_budget, entry);
  table.objstm_budget.note_load(entry.held(), is_there);
  return slot;
}

// The values of a stream whose text is held, in place of the text.
PDF_OBJSTM* with_objects(CPDFXRefTable& table, PDF_OBJSTM* entry) {
  if (entry == nullptr || entry->objs != nullptr || entry->text == nullptr)
    return entry;
  discount(table.objstm_budget, *entry);
  if (read_objects(*entry)) {
    QVFree(entry->text);
    entry->text = nullptr;
  }
  account(table.objstm_budget, *entry);
  return entry;
}

PDF_OBJSTM* get(CPDFXRefTable& table, unsigned int offset, const PDF_REF& ref, Wanted wanted) {
  if (table.entity_calls.is_full())
    return nullptr;
  const Nesting::Call call(table.entity_calls);
  const auto place_in_file = static_cast<std::int32_t>(offset);
  PDF_OBJSTM* const known = find_known_place(table, place_in_file);
  if (known != nullptr && (!known->decodes() || has(*known, wanted) || has(*known, Wanted::kText))) {
    known->recent = 1;
    return known;
  }
  // Each load asks for several parameters, and one that fails is tried anew by the next: streams
  // that hold their own parameters would take time exponential in the depth.
  if (table.objstm_loads.is_full())
    return nullptr;
  const Nesting::Call load(table.objstm_loads);
  PDF_OBJSTM before{};
  if (known != nullptr) {
    discount(table.objstm_budget, *known);
    before = *known;
    known->refs = nullptr;
  }
  PDF_OBJSTM entry{};
  entry.offset = place_in_file;
  entry.recent = 1;
  const HeapWatch watch;
  bool is_loaded = load_objstm(table, ref, before, entry);
  if (is_loaded && !watch.all_granted()) {  // kept like this, it would be a stream without objects from now on
    release_all(entry);
    is_loaded = false;
  }
  PDF_OBJSTM* const stored = is_loaded ? store_objstm(table, entry) : nullptr;
  QVFree(before.refs);
  if (known == nullptr && stored != nullptr)
    note_unlisted(table, ref.num, offset);
  return stored;
}

}  // namespace

PDF_OBJSTM* CPDFXRefTable::get_objstm(unsigned int offset, int num, int gen) {
  return with_objects(*this, get(*this, offset, {num, gen}, Wanted::kObjects));
}

const PDF_OBJSTM* CPDFXRefTable::objstm_outline(unsigned int offset, int num) {
  return get(*this, offset, {num, 0}, Wanted::kOutline);
}

PDF_OBJSTM* CPDFXRefTable::get_objstm_references(unsigned int offset, int num) {
  return get(*this, offset, {num, 0}, Wanted::kReferences);
}

void CPDFXRefTable::read_compressed(CPDFObj& out, unsigned int offset, int num, int index) {
  PDF_OBJSTM* const objstm = get(*this, offset, {num, 0}, Wanted::kText);
  if (objstm == nullptr || index < 0 || index >= objstm->count)
    return;
  // The values of the first streams are kept: most documents have no others, and a copy costs less than a parse.
  const std::int64_t weight = weight_of_objects(*objstm);
  if (objstm->text != nullptr && objstm_budget.held + weight <= objstm_budget.limit / kShareOfValues)
    with_objects(*this, objstm);
  const HeapWatch watch;
  if (objstm->objs != nullptr)
    out.copy_from(objstm->objs + index);
  else if (objstm->text != nullptr)
    read_member(*objstm, index, out);
  if (!watch.all_granted())
    out.free();
}

bool CPDFXRefTable::serves_as_objstm(std::uint32_t offset) {
  const PDF_OBJSTM* const known = find_known_place(*this, static_cast<std::int32_t>(offset));
  return known != nullptr && known->decodes();
}

std::uint32_t CPDFXRefTable::objstm_place(std::uint32_t num) const {
  const PDF_NEWOBJ* const slot = slot_of(num);
  return slot != nullptr ? slot->place : xref_items[num].offset;
}

void CPDFXRefTable::release_objstms() {
  for (std::uint32_t i = 0; i < objstm_count; ++i)
    release_all(objstm_cache[i]);
  QVFree(objstm_cache);
  objstm_cache = nullptr;
  objstm_count = objstm_capacity = 0;
  objstm_budget.reset();
}
