// The door to the document's objects. Each request parses its object anew. Here the table also heals itself: sections
// are read when it lacks an answer, and an object that is not where its entry says is searched for and the entry
// corrected.

#include "sheaf/base/chars.h"
#include "sheaf/base/heap.h"
#include "sheaf/base/heap_watch.h"
#include "sheaf/base/number_text.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/object/parse_buf.h"
#include "sheaf/object/references.h"
#include "sheaf/xref/object_finder.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr std::uint32_t kRewind = 16;        // how far an offset may be too high
constexpr std::uint32_t kStaleDistance = 8;  // found farther on: the table is stale
constexpr int kMostLinks = 32;               // references to references that are followed

void correct_entry(CPDFXRefTable& table, std::int32_t num, std::uint32_t found) {
  if (table.note_found(object_index(num), found))
    table.repairs.note(PDF_REPAIR::kEntryCorrected, num, found);
}

// Moves `buf` to `offset`, and over white space to the header of object `num`. False when that is not
// there; the end of a longer number does not count as it.
bool move_to_header(CPDFXRefTable& table, CPDFBufBase& buf, std::int32_t num, std::uint32_t offset) {
  const std::uint32_t before = offset != 0 ? 1 : 0;
  table.stream->SetPos(CQVStream::STR_SEEK_SET, offset - before);
  buf.buf_init(table.stream);
  std::uint32_t at = before;
  while (at < buf.buf_len && at < before + kRewind && is_wide_space(buf.buf_data[at]))
    ++at;
  if (at >= buf.buf_len || !is_digit(buf.buf_data[at]) || (at != 0 && is_digit(buf.buf_data[at - 1])))
    return false;
  buf.buf_pos = at;
  return ansi_to_i32(buf.buf_data + at) == num && is_object_header(buf.buf_data + at, buf.buf_len - at);
}

// Corrects the entry of an object stream that is not at its place. One that gave objects
// already is where it should be, whatever number its header bears.
void correct_container(CPDFXRefTable& table, std::int32_t num) {
  const PDF_XREF entry = table.xref_items[num];
  if (table.finder == nullptr || !entry.is_listed() || table.serves_as_objstm(entry.offset))
    return;
  CPDFBufBase buf;
  std::uint32_t place = entry.offset;
  if (!move_to_header(table, buf, num, place) && table.finder->find_header(num, place, place))
    correct_entry(table, num, place);
}

// A copy that is whole, or null where there is no memory for it: changed and stored, a part would take the place of the
// whole.
void copy_whole(CPDFObj& out, const CPDFObj& value) {
  const HeapWatch watch;
  out.copy_from(&value);
  if (!watch.all_granted())
    out.free();
}

// What becomes of an object that was found: its value is wanted.
struct ValueTaker {
  CPDFObj& out;

  void read(CPDFBuf& buf, PDF_DEC_PARA* para) {
    const HeapWatch watch;
    out.read(&buf, para);
    if (!watch.all_granted())
      out.free();
  }
  void copy(const CPDFObj& value) { copy_whole(out, value); }
  void copy_compressed(CPDFXRefTable& table, std::uint32_t offset, std::int32_t stm, std::int32_t index) {
    table.read_compressed(out, offset, stm, index);
  }
};

// No more is wanted than what it refers to.
struct ReferenceTaker {
  ReferenceList& found;
  const std::size_t before;

  void read(CPDFBuf& buf, PDF_DEC_PARA* /*para*/) {
    found.resize(before);  // of several objects the last one counts
    read_references(buf, found);
  }
  void copy(const CPDFObj& value) { collect_references(value, found); }
  void copy_compressed(CPDFXRefTable& table, std::uint32_t offset, std::int32_t stm, std::int32_t index) {
    const PDF_OBJSTM* const objstm = table.get_objstm_references(offset, stm);
    if (objstm == nullptr || objstm->refs == nullptr || index < 0 || index >= objstm->count)
      return;
    const auto member = static_cast<std::size_t>(index);
    for (std::uint32_t i = objstm->place(member); i < objstm->place(member + 1); ++i)
      found.push(objstm->numbers()[i]);
  }
};

// Nothing is wanted but that it was looked for.
struct NothingTaker {
  void read(CPDFBuf& /*buf*/, PDF_DEC_PARA* /*para*/) {}
  void copy(const CPDFObj& /*value*/) {}
  void copy_compressed(CPDFXRefTable& table, std::uint32_t offset, std::int32_t stm, std::int32_t /*index*/) {
    table.objstm_outline(offset, stm);
  }
};

// The object at the place that a section names or, failing that, after it.
template <class Taker>
void read_located(CPDFXRefTable& table, Taker& taker, const PDF_REF& ref, std::uint32_t offset) {
  CPDFBufBase buf;
  table.stream->SetPos(CQVStream::STR_SEEK_SET, offset);
  buf.buf_init(table.stream);
  if (buf.buf_len == 0)
    return;
  if (!is_digit(buf.buf_data[0])) {
    table.stream->SetPos(CQVStream::STR_SEEK_SET, offset <= kRewind ? 0 : offset - kRewind);
    buf.buf_init(table.stream);
  }
  // The mask of section kinds is the mode of the search: only a file of classic sections alone
  // gets the strict one.
  const int mode = static_cast<int>(table.xref_kinds);
  if (buf.buf_skip_to_obj(ref, mode) == nullptr)
    return;
  std::uint32_t found = buf.position();
  PDF_DEC_PARA para{};
  PDF_DEC_PARA* const dec = table.decode_para(para, ref);
  taker.read(buf, dec);
  if (found > std::uint64_t{offset} + kStaleDistance && mode == 1) {
    while (buf.buf_skip_to_obj(ref, 1) != nullptr) {
      found = buf.position();
      taker.read(buf, dec);
    }
  }
  if (found != 0 && found != offset && !table.serves_as_objstm(offset))
    correct_entry(table, ref.num, found);
}

// The same where somebody knows the whole file.
template <class Taker>
void read_checked(CPDFXRefTable& table, Taker& taker, const PDF_REF& ref, std::uint32_t offset) {
  CPDFBufBase buf;
  if (!move_to_header(table, buf, ref.num, offset)) {
    std::uint32_t place = 0;
    if (!table.finder->find_header(ref.num, offset, place) || !move_to_header(table, buf, ref.num, place))
      return;
  }
  const std::uint32_t found = buf.position();
  PDF_DEC_PARA para{};
  taker.read(buf, table.decode_para(para, ref));
  if (found != offset && !table.serves_as_objstm(offset))
    correct_entry(table, ref.num, found);
}

template <class Taker>
void read_found(CPDFXRefTable& table, Taker& taker, const PDF_REF& ref, std::uint32_t offset) {
  CPDFBufBase buf;
  table.stream->SetPos(CQVStream::STR_SEEK_SET, offset);
  buf.buf_init(table.stream);
  PDF_DEC_PARA para{};
  taker.read(buf, table.decode_para(para, ref));
}

template <class Taker>
void fetch(CPDFXRefTable& table, Taker& taker, const PDF_REF& ref) {
  const auto num = ref.index();
  const bool is_known = table.know_entry(num) && table.xref_items[num].is_known();
  // Nothing else shows that a table has lost some lines.
  if (!is_known && table.finder != nullptr && (table.sections_lost != 0 || table.listed.leave_out(num)))
    table.finder->enter_missing();
  if (num >= table.xref_count)
    return;
  const PDF_XREF entry = table.xref_items[num];
  if (entry.is_compressed() && table.know_entry(entry.offset)) {
    const auto container = entry.container();
    correct_container(table, container);
    taker.copy_compressed(table, table.objstm_place(entry.offset), container, entry.gen);
  } else if (const PDF_NEWOBJ* const slot = table.slot_of(num)) {
    taker.copy(slot->obj);
  } else if (entry.is_found()) {
    read_found(table, taker, ref, entry.offset);
  } else if (entry.is_listed()) {
    if (table.finder != nullptr)
      read_checked(table, taker, ref, entry.offset);
    else
      read_located(table, taker, ref, entry.offset);
  }
}

}  // namespace

bool CPDFXRefTable::know_entry(std::uint32_t num) {
  // A section that cannot be read ends the search, unless there is somebody to make up for it.
  const auto pop = [this] { return pop_pending() || (finder != nullptr && pending_count > 0); };
  while (xref_count <= num) {
    if (!pop())
      return false;
  }
  while (xref_count > num && !xref_items[num].is_known()) {
    if (!pop())
      break;
  }
  return xref_count > num;
}

PDF_DEC_PARA* CPDFXRefTable::decode_para(PDF_DEC_PARA& para, const PDF_REF& ref) const {
  if (sec_filter[0] == 0 || sec_hand == nullptr)
    return nullptr;
  para = {ref, sec_hand};
  return &para;
}

void CPDFXRefTable::resolve(CPDFXRefTable* table, CPDFObj& out, const CPDFObj* item) {
  Freed<CPDFObj> value;  // `item` may lie in what `out` holds
  if (item != nullptr && item->tag == kTagRef && table != nullptr)
    table->get_entity(value, item->as_ref());
  else if (item != nullptr)
    copy_whole(value, *item);
  out.move_from(value);
}

void CPDFXRefTable::get_stored(CPDFObj& out, const PDF_REF& wanted) {
  const PDF_REF ref = wanted;  // `wanted` may lie in what is released
  out.free();
  if (entity_calls.is_full())
    return;
  const Nesting::Call call(entity_calls);
  ValueTaker taker{out};
  fetch(*this, taker, ref);
  if (CPDFStreamRec* rec = out.as_stream())
    heal_length(*rec, ref.num);
}

void CPDFXRefTable::get_references(ReferenceList& found, std::int32_t num) {
  if (entity_calls.is_full())
    return;
  const Nesting::Call call(entity_calls);
  ReferenceTaker taker{found, found.size()};
  fetch(*this, taker, {num, 0});
}

void CPDFXRefTable::locate(std::int32_t num) {
  if (entity_calls.is_full())
    return;
  const Nesting::Call call(entity_calls);
  NothingTaker taker;
  fetch(*this, taker, {num, 0});
}

void CPDFXRefTable::get_entity(CPDFObj& out, const PDF_REF& ref) {
  get_stored(out, ref);
  // References to references are followed for a while; a cycle of them ends with null.
  for (int step = 0; out.tag == kTagRef; ++step) {
    const PDF_REF next = out.as_ref();
    out.free();
    if (step == kMostLinks)
      return;
    get_stored(out, next);
  }
}

Freed<CPDFObj> CPDFXRefTable::value(const CPDFObj* item) {
  Freed<CPDFObj> out;
  if (item != nullptr && item->tag == kTagRef)
    get_entity(out, item->as_ref());
  else if (item != nullptr)
    copy_whole(out, *item);
  return out;
}

Freed<CPDFObj> CPDFXRefTable::value(const CPDFDictionary* dict, const char* key) {
  return value(dict != nullptr ? dict->get_item(key) : nullptr);
}

Freed<CPDFObj> CPDFXRefTable::value(const CPDFArray* array, std::int32_t index) {
  return value(array != nullptr ? array->get(index) : nullptr);
}

Freed<CPDFObj> CPDFXRefTable::object(const PDF_REF& ref) {
  Freed<CPDFObj> out;
  get_entity(out, ref);
  return out;
}

char* CPDFXRefTable::read_stream_raw_data(CQVStream* s, int& len) {
  CPDFBufBase buf;
  buf.buf_init(s);
  return buf.buf_read_stream_raw_data(len);
}
