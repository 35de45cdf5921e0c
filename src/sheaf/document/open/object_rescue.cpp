// The scan runs when the first object is missing, and only once.
#include "sheaf/document/open/object_rescue_internal.h"

#include <algorithm>
#include <new>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/filters/stream_flaw.h"
#include "sheaf/object/parse_buf.h"
#include "sheaf/object/references.h"

namespace sheaf {

namespace {

constexpr int kMostObjStmBytes = 0x8000000;

}  // namespace

bool read_member_numbers(CPDFXRefTable& table, const CPDFStreamRec& rec, GrowArray<std::int32_t>& numbers) {
  Freed<CPDFObj> value = table.value(&rec.dict, "N");
  const std::int32_t count = value.to_int();
  const std::unique_ptr<CPDFStream> decoder(table.make_stream(&rec));
  if (decoder == nullptr)
    return false;
  const std::int64_t ceiling = table.decoded_ceiling > 0 ? table.decoded_ceiling : kMostObjStmBytes;
  int size = 0;
  const HeapBlock<std::uint8_t> data(decoder->buffer_load(
      decoder->most_text(static_cast<int>(std::min<std::int64_t>(ceiling, kMostObjStmBytes))), size));
  if (!data || size < 1)
    return false;
  const bool is_whole = find_flaw(*decoder) == kFlawNone;
  CPDFBufMem buf;
  buf.buf_init_mem(data.get(), static_cast<std::uint32_t>(size));
  Freed<CPDFObj> number;
  for (std::int32_t index = 0; index < count; ++index) {
    number.read(&buf, nullptr);
    if (number.tag != kTagInt)
      break;  // "N" is too large
    if (!numbers.push(number.as_int()))
      return false;
    number.read(&buf, nullptr);  // the offset: objects are read one after the other
  }
  return is_whole;
}

const ObjectScan* ObjectRescue::scan() {
  if (scan_ != nullptr || table_.stream == nullptr)
    return scan_.get();
  scan_.reset(new (std::nothrow) ObjectScan(*table_.stream));
  if (scan_ != nullptr)
    scan_->run();
  return scan_.get();
}

bool ObjectRescue::find_header(std::int32_t num, std::uint32_t stated, std::uint32_t& place) {
  return scan() != nullptr && scan_->find(num, stated, place);
}

bool ObjectRescue::find_data_end(std::uint32_t data, std::uint32_t& end) {
  return scan() != nullptr && scan_->find_data_end(data, end);
}

bool ObjectRescue::is_unknown(std::int32_t num) {
  const auto index = object_index(num);
  // Where all sections can be read only the gaps in them count: a cross-reference stream need not list itself.
  const bool may_be_lost = table_.sections_lost != 0 ? !table_.listed.has(index) : table_.listed.leave_out(index);
  return num > 0 && index < table_.max_obj_num() && may_be_lost &&
         (index >= table_.xref_count || !table_.xref_items[index].is_known());
}

bool ObjectRescue::enter(std::int32_t num, std::uint32_t pos) {
  return table_.note_found(object_index(num), pos);
}

void ObjectRescue::enter_all() {
  if (scan() == nullptr)
    return;
  for (const ObjectScan::Object& object : scan_->objects()) {
    if (object.num > 0 && object_index(object.num) < table_.max_obj_num())
      enter(object.num, object.pos);
    else if (object.num > 0)
      report_number(object);
  }
  table_.next_obj_num = std::max(table_.next_obj_num, table_.xref_count);
}

// From the end of the file to its start, so that the last of several objects of a number is the one
// that stays.
void ObjectRescue::enter_missing() {
  if (entered_ || busy_ || scan() == nullptr)
    return;
  busy_ = true;
  const bool is_readable = doc_.is_readable();  // object streams hide their objects until then
  const GrowArray<ObjectScan::Object>& objects = scan_->objects();
  std::int32_t first = 0;
  for (std::size_t i = objects.size(); i-- > 0;) {
    const ObjectScan::Object& object = objects[i];
    if (object.kind == ObjectScan::Kind::kXRefStream)
      continue;  // need not be listed, and nothing refers to it
    if (is_unknown(object.num) && enter(object.num, object.pos))
      first = object.num;
    if (is_readable && object.kind == ObjectScan::Kind::kObjectStream)
      enter_members(object);
  }
  table_.next_obj_num = std::max(table_.next_obj_num, table_.xref_count);
  busy_ = false;
  entered_ = is_readable;
  if (first != 0)
    doc_.add_repair("objects", first, 0,
                    "this object and others are in no section that can be read; found by scanning");
}

// Looking at every object is little for a small document, and no more than a damaged one has cost already.
bool ObjectRescue::can_look_through() const {
  constexpr std::uint32_t kFewObjects = 1024;
  return table_.xref_count <= kFewObjects || scan_ != nullptr || doc_.status() != PDF_OPEN::kClean;
}

void ObjectRescue::read_names() {
  constexpr std::uint32_t kMostAhead = 1 << 16;  // new objects of which a reference can be in the way
  first_new_ = table_.next_obj_num;
  ReferenceList found;
  for (std::uint32_t num = table_.next_entry(1); num < table_.xref_count; num = table_.next_entry(num + 1)) {
    if (!table_.xref_items[num].is_known())
      continue;
    found.clear();
    table_.get_references(found, object_num(num));
    for (const std::int32_t target : found) {
      const std::uint32_t ahead = object_index(target) - first_new_;
      if (ahead < kMostAhead)
        named_.visit(object_num(ahead) + 1);
    }
  }
}

bool ObjectRescue::is_named(std::uint32_t num) {
  if (!has_names_ && !busy_ && doc_.is_readable()) {
    has_names_ = busy_ = true;
    if (can_look_through())
      read_names();
    busy_ = false;
  }
  return num >= first_new_ && num - first_new_ < INT32_MAX && named_.has(object_num(num - first_new_) + 1);
}

void ObjectRescue::report_number(const ObjectScan::Object& object) {
  if (!has_reported_number_)
    doc_.add_repair(
        "number", object.num, object.pos,
        "this object's number is higher than a file of this length can justify; it and its like are left out");
  has_reported_number_ = true;
}

void ObjectRescue::enter_members(const ObjectScan::Object& container) {
  const std::int32_t num = number_of(container);
  Freed<CPDFObj> obj = table_.object(PDF_REF{num, 0});
  if (num == 0 || obj.as_stream() == nullptr)
    return;
  GrowArray<std::int32_t> numbers;
  if (!read_member_numbers(table_, *obj.as_stream(), numbers))
    doc_.add_repair("stream", num, container.pos, kObjectStreamDamaged);
  for (std::uint32_t i = 0; i < numbers.size(); ++i) {
    if (is_unknown(numbers[i]) && enter(numbers[i], 0))
      table_.xref_items[numbers[i]] = {PDF_XREF::kCompressed, object_index(num), static_cast<std::int32_t>(i)};
  }
}

// The number under which an object stream can be reached: its own, or one after all others where
// that leads elsewhere. 0 without memory.
std::int32_t ObjectRescue::number_of(const ObjectScan::Object& container) {
  const auto num = object_index(container.num);
  if (container.num > 0 && num < table_.xref_count) {
    const PDF_XREF& entry = table_.xref_items[num];
    if ((entry.is_listed() || entry.is_found()) && entry.offset == container.pos)
      return container.num;
  }
  const std::uint32_t fresh = std::max(table_.xref_count, table_.next_obj_num);
  return fresh < table_.max_obj_num() && enter(object_num(fresh), container.pos) ? object_num(fresh) : 0;
}

}  // namespace sheaf
