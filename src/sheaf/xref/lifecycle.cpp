// The table's life: growth of its arrays, numbers for new objects, and the release of everything.

#include <algorithm>
#include <cstring>
#include <new>

#include "sheaf/base/heap.h"
#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/object/parse_buf.h"
#include "sheaf/xref/export_memory.h"
#include "sheaf/xref/object_finder.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr std::uint32_t kNewObjStep = 32;

// Entries cost memory before any object is read, so do their copies in a save, and walks pass over all of them: a
// number that a file of this length cannot justify is refused. Objects in the file take several bytes each, and those
// in object streams, however well they compress, hardly less than four with their own numbers. What was cut out of a
// large document has kept its numbers: small files may still number their objects in the millions, and of the smallest
// each byte justifies some hundred.
constexpr std::uint32_t kLeastMaxObjNum = (1u << 21) + 256;
constexpr std::uint32_t kNumbersOfAnyFile = 1u << 16;
constexpr std::uint32_t kNumbersPerByte = 512;
constexpr std::uint32_t kBytesPerNumber = 4;
constexpr std::uint32_t kMostObjNum = 0x7FFFFF00;

// How many entries the block takes for `count`: exactly these when a section states the size, and
// some more when a large table grows by a little, as it does number by number.
std::uint32_t room_for(std::uint32_t count, std::uint32_t present) {
  const bool by_a_little = count - present < present / 8;
  return by_a_little ? present + present / 4 : count;
}

template <class T, class Count>
void release(T*& items, Count& count, Count& capacity) {
  QVFree(items);
  items = nullptr;
  count = capacity = 0;
}

void release_entries(CPDFXRefTable& table) {
  QVFree(table.xref_items);
  table.xref_items = nullptr;
  table.xref_count = 0;
  table.entry_room.reset();
}

void release_new_objects(CPDFXRefTable& table) {
  for (std::uint32_t i = 0; i < table.new_obj_count; ++i)
    table.new_objs[i].obj.free();
  release(table.new_objs, table.new_obj_count, table.new_obj_capacity);
  table.slot_room.reset();
}

void release_mem_streams(CPDFXRefTable& table) {
  for (std::int32_t i = 0; i < table.mem_stream_count; ++i) {
    delete table.mem_streams[i].stream;
    QVFree(table.mem_streams[i].data);
  }
  release(table.mem_streams, table.mem_stream_count, table.mem_stream_capacity);
  table.mem_stream_room.reset();
  table.mem_stream_index.reset();
}

void remove_temp_stream(CQVStreamFile& stream) {
  if (stream.file != nullptr) {
    std::fclose(stream.file);
    if (stream.path != nullptr)
      std::remove(stream.path);
    stream.file = nullptr;
  }
  QVFree(stream.path);
  stream.path = nullptr;
}

// Faces and maps that were made with the environment must not stay behind in the caches.
void detach_environment(CPDFXRefTable& table) {
  table.font_ext_cache.clear();
  table.cmap_cache.clear();
  table.cmap_tou_cache.clear();
  if (table.env != nullptr) {
    table.env->unload();
    CPDFEnviroment::destroy(table.env);
  }
  table.env = table.font_ext_cache.env = table.cmap_cache.env = table.cmap_tou_cache.env = nullptr;
}

}  // namespace

CPDFXRefTable::~CPDFXRefTable() {
  XRefFree();
}

std::uint32_t CPDFXRefTable::max_obj_num() const {
  const long long length = stream != nullptr ? stream->GetLen() : 0;
  if (length <= 0)
    return kLeastMaxObjNum;
  const auto bytes = static_cast<std::uint64_t>(length);
  const std::uint64_t of_small = kNumbersOfAnyFile + bytes * kNumbersPerByte;
  const std::uint64_t justified = std::min<std::uint64_t>(of_small, kLeastMaxObjNum) + bytes / kBytesPerNumber;
  return justified < kMostObjNum ? static_cast<std::uint32_t>(justified) : kMostObjNum;
}

bool CPDFXRefTable::grow_xref_items(std::uint32_t new_count, bool sets_next) {
  if (new_count <= xref_count)
    return true;
  if (new_count > entry_room.held() && !entry_room.grow(xref_items, room_for(new_count, xref_count))) {
    QVFree(xref_items);
    xref_items = nullptr;
    xref_count = 0;
    entry_room.reset();
    entries_lost = 1;
    return false;
  }
  heap_expects_writes(xref_items + xref_count, std::size_t{new_count - xref_count} * sizeof(PDF_XREF));
  for (std::uint32_t i = xref_count; i < new_count; ++i)
    xref_items[i] = PDF_XREF::none();
  xref_count = new_count;
  if (sets_next)
    next_obj_num = new_count;
  return true;
}

PDF_NEWOBJ* CPDFXRefTable::slot_of(std::uint32_t num) const {
  const PDF_XREF& entry = xref_items[num];
  if (!entry.is_in_memory() || entry.offset >= new_obj_capacity)
    return nullptr;
  PDF_NEWOBJ* const slot = new_objs + entry.offset;
  return slot->num == object_num(num) ? slot : nullptr;
}

PDF_NEWOBJ* CPDFXRefTable::get_xref2(int num, int gen) {
  const auto index = object_index(num);
  if (num < 0 || index >= kMostObjNum || (xref_count <= index && !grow_xref_items(rounded_count(index), false)))
    return nullptr;
  ++change_count;
  slots_asked.add(num);
  if (PDF_NEWOBJ* const slot = slot_of(index))
    return slot;
  if (keeps_generations != 0 && know_entry(index) && known_generation(index) >= 0)
    gen = known_generation(index);
  const std::uint32_t place = xref_items[index].is_in_file() ? xref_items[index].offset : 0;
  xref_items[index] = PDF_XREF::in_slot(new_obj_count, gen);
  if (new_obj_count >= new_obj_capacity) {
    const std::uint32_t capacity = new_obj_capacity + kNewObjStep;
    if (!slot_room.reach(new_objs, capacity)) {
      entries_lost = 1;  // the object's old place is forgotten already
      return nullptr;
    }
    for (std::uint32_t i = new_obj_capacity; i < capacity; ++i)
      new_objs[i] = PDF_NEWOBJ{};  // NOLINT(clang-analyzer-core.CallAndMessage): a room that is held has a block
    new_obj_capacity = capacity;
  }
  new_objs[new_obj_count].num = num;
  new_objs[new_obj_count].place = place;
  return new_objs + new_obj_count++;
}

std::int32_t CPDFXRefTable::known_generation(std::uint32_t num) {
  constexpr std::int32_t kMostGeneration = 65535;  // ISO 32000-1, 7.5.4
  if (num >= xref_count)
    return -1;
  const PDF_XREF& entry = xref_items[num];
  if (!entry.is_known())
    return -1;
  if (entry.is_compressed())
    return 0;  // the entry holds an index in its place
  if (!entry.is_found())
    return entry.gen <= kMostGeneration ? entry.gen : -1;
  char header[24]{};  // two numbers and the white space around them
  stream->SetPos(CQVStream::STR_SEEK_SET, entry.offset);
  stream->Read(header, sizeof(header) - 1);
  return header_generation(header);
}

void CPDFXRefTable::push_pending(std::int64_t offset) {
  // A file can name more sections than there are slots; the oldest to be read are lost then.
  if (pending_count < kPendingSlots)
    pending_xref[pending_count++] = offset;
  else
    sections_lost = 1;
}

bool CPDFXRefTable::pop_pending() {
  if (pending_count < 1)
    return false;
  const auto offset = static_cast<std::uint32_t>(pending_xref[--pending_count]);
  return XRefRead(offset) != 0;
}

void CPDFXRefTable::drain_pending() {
  while (pending_count > 0) {
    if (!pop_pending())
      return;
  }
}

std::int32_t CPDFXRefTable::alloc_obj_num() {
  drain_pending();
  if (finder != nullptr && sections_lost != 0)
    finder->enter_missing();  // a section that cannot be read may name higher numbers than all others
  next_obj_num = unnamed_from(next_obj_num);
  return object_num(next_obj_num++);
}

std::uint32_t CPDFXRefTable::next_entry(std::uint32_t num) const {
  constexpr std::uint32_t kAtOnce = 8;
  const auto is_blank = [this](std::uint32_t i) { return (xref_items[i].type | xref_items[i].offset) == 0; };
  while (num < xref_count && is_blank(num)) {
    ++num;
    for (std::uint32_t seen = 0; num + kAtOnce <= xref_count; num += kAtOnce) {
      for (std::uint32_t i = num; i < num + kAtOnce; ++i)
        seen |= xref_items[i].type | xref_items[i].offset;
      if (seen != 0)
        break;
    }
  }
  return num;
}

std::uint32_t CPDFXRefTable::unnamed_from(std::uint32_t num) {
  while (finder != nullptr && finder->is_named(num))
    ++num;
  return num;
}

bool CPDFXRefTable::store_object(const PDF_REF& ref, CPDFObj& obj) {
  if (ref.index() >= next_obj_num)
    drain_pending();
  const bool is_given_out = ref.num > 0 && ref.index() < next_obj_num;
  PDF_NEWOBJ* slot = is_given_out ? get_xref2(ref.num, ref.gen) : nullptr;
  if (slot == nullptr) {
    obj.free();
    return false;
  }
  slot->obj.move_from(obj);
  slot->num = ref.num;
  slot->gen = ref.gen;
  return true;
}

void CPDFXRefTable::store_dict(const PDF_REF& ref, const CPDFDictionary* dict) {
  auto* copy = new (std::nothrow) CPDFDictionary;
  if (copy == nullptr)
    return;
  copy->copy_from(dict);
  CPDFObj obj{};
  obj.take_dict(copy);
  store_object(ref, obj);
}

void CPDFXRefTable::store_stream(const PDF_REF& ref, CPDFStreamRec& rec) {
  auto* copy = new (std::nothrow) CPDFStreamRec;
  if (copy != nullptr) {
    copy->dict.copy_from(&rec.dict);
    copy->copy_location(rec);
    CPDFObj obj{};
    obj.take_stream(copy);
    store_object(ref, obj);
  }
  rec.dict.clear();
}

bool CPDFXRefTable::note_found(std::uint32_t num, std::uint32_t offset) {
  if (num >= xref_count && !grow_xref_items(rounded_count(num), false))
    return false;
  if (!xref_items[num].is_found())
    ++repaired_count;
  xref_items[num] = PDF_XREF::found_at(offset);
  return true;
}

void CPDFXRefTable::set_envirment(CPDFEnviroment* environment, const char* tag) {
  if (env != nullptr)
    detach_environment(*this);
  env = new (std::nothrow) CPDFEnviroment(*environment);
  font_ext_cache.env = cmap_cache.env = cmap_tou_cache.env = env;
  std::memcpy(&env_tag, tag, sizeof(env_tag));
}

void CPDFXRefTable::XRefFree() {
  release_entries(*this);
  release_new_objects(*this);
  release_mem_streams(*this);
  remove_temp_stream(temp_stream);
  release_objstms();
  delete export_memory;
  export_memory = nullptr;
  lengths.reset();
  font_cache.clear();
  detach_environment(*this);
  font_provider = nullptr;

  encrypt.free();
  id.free();
  root.free();
  info.free();
  sec_hand = nullptr;
  pending_count = 0;
  repaired_count = 0;
  entries_lost = 0;
  sections_lost = 0;
  sections_read.reset();
  listed.reset();
  repairs.reset();
  picture_work.reset();
}
