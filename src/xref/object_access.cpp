// The door to the document's objects. Each request parses its object anew; only decoded object
// streams are kept. Here the table also heals itself: sections are read when it lacks an answer,
// and an object that is not where its entry says is searched for and the entry corrected.
#include <algorithm>
#include <cstring>
#include <memory>

#include "base/chars.h"
#include "base/heap.h"
#include "base/scope_guard.h"
#include "filters/stream_filter.h"
#include "object/parse_buf.h"
#include "xref/xref_table.h"

namespace {

constexpr int kMostNestedCalls = 32;         // references to references, lengths, object streams
constexpr int kMostNestedLoads = 4;          // object streams whose own parameters lie in others
constexpr std::uint32_t kRewind = 16;        // how far an offset may be too high
constexpr std::uint32_t kStaleDistance = 8;  // found farther behind: the table is stale
constexpr int kMostObjStmBytes = 0x8000000;  // 128 MiB of decoded data
constexpr std::uint32_t kObjStmStep = 32;

struct DepthGuard {
  explicit DepthGuard(std::int32_t& depth) : depth_(depth) { ++depth_; }
  DepthGuard(const DepthGuard&) = delete;
  DepthGuard& operator=(const DepthGuard&) = delete;
  ~DepthGuard() { --depth_; }
  std::int32_t& depth_;
};

// Reads sections until the table reaches `num` and knows its entry. False when it never will.
bool know_entry(CPDFXRefTable& table, std::uint32_t num) {
  while (table.xref_count <= num) {
    if (!table.pop_pending())
      return false;
  }
  while (table.xref_items != nullptr && table.xref_count > num && table.xref_items[num].type == 0) {
    if (!table.pop_pending())
      break;
  }
  return table.xref_count > num;
}

bool lies_before(const PDF_OBJSTM& entry, std::int32_t offset, std::int32_t first) {
  return entry.offset != offset ? entry.offset < offset : entry.first < first;
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

// An object stream that gave its objects is where it should be, whatever number its header bears.
bool serves_as_objstm(CPDFXRefTable& table, std::uint32_t offset) {
  const PDF_OBJSTM* const known = find_known_place(table, static_cast<std::int32_t>(offset));
  return known != nullptr && known->objs != nullptr;
}

void correct_entry(CPDFXRefTable& table, std::uint32_t num, std::uint32_t found) {
  if (table.xref_count <= num && !table.grow_xref_items(CPDFXRefTable::rounded_count(num), false))
    return;
  PDF_XREF& entry = table.xref_items[num];
  if (entry.type != 3 || entry.gen != -1)
    ++table.repaired_count;
  entry = {3, found, -1};
  table.note_repair(PDF_REPAIR::kEntryCorrected, static_cast<std::int32_t>(num), found);
}

// The object of an entry of type 1 or 4: at its place or, failing that, behind it.
void read_located(CPDFXRefTable& table, CPDFObj& out, const PDF_REF& ref, std::uint32_t offset) {
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
  out.read(&buf, dec);
  if (found > std::uint64_t{offset} + kStaleDistance && mode == 1) {
    while (buf.buf_skip_to_obj(ref, 1) != nullptr) {
      found = buf.position();
      out.read(&buf, dec);
    }
  }
  if (found != 0 && found != offset && !serves_as_objstm(table, offset))
    correct_entry(table, static_cast<std::uint32_t>(ref.num), found);
}

void read_found(CPDFXRefTable& table, CPDFObj& out, const PDF_REF& ref, std::uint32_t offset) {
  CPDFBufBase buf;
  table.stream->SetPos(CQVStream::STR_SEEK_SET, offset);
  buf.buf_init(table.stream);
  PDF_DEC_PARA para{};
  out.read(&buf, table.decode_para(para, ref));
}

void read_compressed(CPDFXRefTable& table, CPDFObj& out, const PDF_XREF& entry) {
  const std::uint32_t stm = entry.offset;
  const std::int32_t index = entry.gen;
  if (!know_entry(table, stm))
    return;
  const PDF_OBJSTM* objstm = table.get_objstm(table.xref_items[stm].offset, static_cast<std::int32_t>(stm), 0);
  if (objstm == nullptr || objstm->objs == nullptr || index < 0 || index >= objstm->count)
    return;
  out.copy_from(objstm->objs + index);
}

// Objects one after the other from `first` on; the table of numbers and offsets in front of it is
// not looked at. Objects that the data lack stay null.
void read_objects(CPDFObj* objs, std::int32_t count, const std::uint8_t* data, std::uint32_t size, std::int32_t first) {
  std::fill(objs, objs + count, CPDFObj{});
  if (first < 0 || static_cast<std::uint32_t>(first) >= size)
    return;
  CPDFBufMem buf;
  buf.buf_init_mem(data + first, size - static_cast<std::uint32_t>(first));
  for (std::int32_t i = 0; i < count && buf.buf_len != 0; ++i) {
    do {
      objs[i].read(&buf, nullptr);  // stray keywords between objects are passed over
    } while (objs[i].tag == kTagNoValue);
  }
}

// Decodes an object stream into `entry`, whose objs stay null when that fails.
void load_objects(CPDFStream& decoder, const CPDFStreamRec& rec, std::int64_t ceiling, PDF_OBJSTM& entry) {
  int size = rec.decoded_hint;
  const int most = ceiling > 0 ? static_cast<int>(std::min<std::int64_t>(ceiling, kMostObjStmBytes)) : kMostObjStmBytes;
  const HeapBlock<std::uint8_t> data(decoder.buffer_load(most, size));
  // Every object takes a byte at least, so a larger count is a lie.
  if (!data || entry.count < 0 || entry.count > size)
    return;
  entry.objs = static_cast<CPDFObj*>(QVAlloc(static_cast<std::size_t>(entry.count) * sizeof(CPDFObj)));
  if (entry.objs != nullptr)
    read_objects(entry.objs, entry.count, data.get(), static_cast<std::uint32_t>(size), entry.first);
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

}  // namespace

PDF_DEC_PARA* CPDFXRefTable::decode_para(PDF_DEC_PARA& para, const PDF_REF& ref) const {
  if (sec_filter[0] == 0 || sec_hand == nullptr)
    return nullptr;
  para = {ref, sec_hand};
  return &para;
}

void CPDFXRefTable::resolve(CPDFXRefTable* table, CPDFObj& out, const CPDFObj* item) {
  out.free();
  if (item == nullptr)
    return;
  if (item->tag == kTagRef && table != nullptr)
    table->get_entity(out, item->as_ref());
  else
    out.copy_from(item);
}

void CPDFXRefTable::get_stored(CPDFObj& out, const PDF_REF& wanted) {
  const PDF_REF ref = wanted;  // `wanted` may lie in what is released
  out.free();
  if (entity_depth >= kMostNestedCalls)
    return;
  const DepthGuard depth(entity_depth);
  const auto num = static_cast<std::uint32_t>(ref.num);
  if (!know_entry(*this, num))
    return;
  const PDF_XREF entry = xref_items[num];
  if (entry.type == 2)
    read_compressed(*this, out, entry);
  else if (entry.type == 3 && entry.gen != -1 && entry.offset < new_obj_capacity)
    out.copy_from(&new_objs[entry.offset].obj);
  else if (entry.type == 3 && entry.gen == -1)
    read_found(*this, out, ref, entry.offset);
  else if (entry.type == 1 || entry.type == 4)
    read_located(*this, out, ref, entry.offset);
}

void CPDFXRefTable::get_entity(CPDFObj& out, const PDF_REF& ref) {
  get_stored(out, ref);
  // References to references are followed for a while; a cycle of them ends with null.
  for (int step = 0; out.tag == kTagRef; ++step) {
    const PDF_REF next = out.as_ref();
    out.free();
    if (step == kMostNestedCalls)
      return;
    get_stored(out, next);
  }
}

PDF_OBJSTM* CPDFXRefTable::get_objstm(unsigned int offset, int num, int gen) {
  if (entity_depth >= kMostNestedCalls)
    return nullptr;
  const DepthGuard depth(entity_depth);
  const auto place_in_file = static_cast<std::int32_t>(offset);
  if (PDF_OBJSTM* known = find_known_place(*this, place_in_file))
    return known;
  // Each load asks for several parameters, and one that fails is tried anew by the next: streams
  // that hold their own parameters would take time exponential in the depth.
  if (objstm_depth >= kMostNestedLoads)
    return nullptr;
  const DepthGuard load_depth(objstm_depth);
  stream->SetPos(CQVStream::STR_SEEK_SET, offset);
  CPDFBufBase buf;
  buf.buf_init(stream);
  PDF_DEC_PARA para{};
  Freed<CPDFObj> obj;
  obj.read(&buf, decode_para(para, {num, gen}));
  const CPDFStreamRec* rec = obj.as_stream();
  if (rec == nullptr)
    return nullptr;
  Freed<CPDFObj> number;
  resolve(number, rec->dict.get_item(CPDFDictionary::sm_tag_first));
  PDF_OBJSTM entry{place_in_file, number.to_int(), nullptr, 0};
  resolve(number, rec->dict.get_item("N"));
  entry.count = number.to_int();
  const std::unique_ptr<CPDFStream> decoder(make_stream(rec));
  if (decoder == nullptr)
    return nullptr;
  load_objects(*decoder, *rec, decoded_ceiling, entry);
  // Resolving on the way may have put other entries into the cache, so the place is found now.
  PDF_OBJSTM* const slot = find_objstm(*this, entry.offset, entry.first);
  PDF_OBJSTM* const stored = insert_objstm(*this, static_cast<std::size_t>(slot - objstm_cache), entry);
  if (stored == nullptr && entry.objs != nullptr) {
    for (std::int32_t i = 0; i < entry.count; ++i)
      entry.objs[i].free();
    QVFree(entry.objs);
  }
  return stored;
}

char* CPDFXRefTable::read_stream_raw_data(CQVStream* s, int& len) {
  CPDFBufBase buf;
  buf.buf_init(s);
  return buf.buf_read_stream_raw_data(len);
}
