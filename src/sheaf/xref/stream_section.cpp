// Cross-reference streams (ISO 32000-1, 7.5.8).
#include <algorithm>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/xref/section_internal.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

// Fields are held in 32 bits, but a writer may give them more bytes than that.
constexpr std::int32_t kWidestField = 8;
constexpr std::uint32_t kPieceBytes = 1 << 16;  // decoded at a time
constexpr std::int32_t kWordSize = 8;           // entries shorter than this are taken as one word

struct Widths {
  std::int32_t field[3] = {1, 2, 1};
  std::int32_t total() const { return field[0] + field[1] + field[2]; }
  bool sane() const {
    return std::all_of(field, field + 3, [](std::int32_t w) { return w >= 0 && w <= kWidestField; }) && total() > 0;
  }
};

// A number as the section's arrays are read: a real is rounded, anything else is taken as its word.
std::int32_t lenient_int(const CPDFObj& item) {
  return item.tag == kTagReal ? item.to_int() : item.low_word();
}

Widths read_widths(const CPDFDictionary& dict) {
  Widths widths;
  const CPDFObj* item = dict.get_item("W");
  const CPDFArray* array = item != nullptr ? item->as_array() : nullptr;
  if (array == nullptr)
    return widths;
  for (std::int32_t i = 0; i < 3; ++i) {
    const CPDFObj* element = array->get(i);
    widths.field[i] = element != nullptr ? lenient_int(*element) : 0;
  }
  return widths;
}

std::uint32_t read_field(const std::uint8_t*& at, std::int32_t width) {
  std::uint32_t value = 0;
  for (std::int32_t i = 0; i < width; ++i)
    value = (value << 8) | *at++;
  return value;
}

struct Fields {
  std::uint32_t value[3];
};

// The fields of an entry that is shorter than a word, with bytes of any value after it.
class WordFields {
public:
  explicit WordFields(const Widths& widths) : above_(64 - 8 * widths.total()) {
    for (int i = 2, shift = 0; i >= 0; shift += 8 * widths.field[i--]) {
      shift_[i] = shift;
      mask_[i] = (std::uint64_t{1} << 8 * widths.field[i]) - 1;
    }
  }
  Fields operator()(const std::uint8_t* at) const {
    const std::uint64_t word = big_endian_word(at) >> above_;
    Fields fields;
    for (int i = 0; i < 3; ++i)
      fields.value[i] = static_cast<std::uint32_t>(word >> shift_[i] & mask_[i]);
    return fields;
  }

private:
  static std::uint64_t big_endian_word(const std::uint8_t* at) {
    std::uint64_t word = 0;
    for (int i = 0; i < kWordSize; ++i)
      word = word << 8 | at[i];
    return word;
  }

  int above_;
  int shift_[3];
  std::uint64_t mask_[3];
};

// The fields of an entry of any width.
class WideFields {
public:
  explicit WideFields(const Widths& widths) : widths_(widths) {}
  Fields operator()(const std::uint8_t* at) const {
    Fields fields;
    for (int i = 0; i < 3; ++i)
      fields.value[i] = read_field(at, widths_.field[i]);
    return fields;
  }

private:
  const Widths& widths_;
};

class EntryReader {
public:
  EntryReader(CPDFXRefTable& table, CPDFStream& decoder, const Widths& widths, bool late)
      : table_(table), decoder_(decoder), widths_(widths), late_(late) {}

  enum class Result { kDone, kShort, kNoMemory };

  // Decodes `count` entries from `first` on. All of their bytes must come, else none is stored.
  Result read(std::uint32_t first, std::uint32_t count) {
    const auto width = static_cast<std::uint32_t>(widths_.total());
    if (std::uint64_t{count} * width > INT32_MAX || count > table_.max_obj_num())
      return Result::kShort;
    const std::uint32_t piece = std::min(count, kPieceBytes / width);
    if (!reserve(std::size_t{piece} * width + kWordSize))
      return Result::kNoMemory;
    const HeapBlock<std::uint8_t> stored(static_cast<std::uint8_t*>(QVCalloc(count / 8 + 1, 1)));
    if (!stored)
      return Result::kNoMemory;
    for (std::uint32_t done = 0; done < count;) {
      const std::uint32_t entries = std::min(piece, count - done);
      const auto bytes = static_cast<int>(entries * width);
      if (decoder_.read_block(block_.get(), bytes) != bytes) {
        take_back(first, done, stored.get());
        return Result::kShort;
      }
      if (widths_.total() < kWordSize)
        store_all(first, done, entries, WordFields(widths_), stored.get());
      else
        store_all(first, done, entries, WideFields(widths_), stored.get());
      done += entries;
    }
    table_.listed.add(first, count);
    return Result::kDone;
  }

private:
  bool reserve(std::size_t bytes) {
    if (bytes <= capacity_)
      return true;
    void* grown = QVRealloc(block_.get(), bytes);
    if (grown == nullptr)
      return false;
    block_.release();
    block_.reset(static_cast<std::uint8_t*>(grown));
    capacity_ = bytes;
    return true;
  }

  void take_back(std::uint32_t first, std::uint32_t count, const std::uint8_t* stored) {
    for (std::uint32_t i = 0; i < count; ++i) {
      if ((stored[i / 8] >> i % 8 & 1) != 0)
        table_.xref_items[first + i] = PDF_XREF::none();  // as if no section had been read
    }
  }

  // Stores `count` decoded entries, those of the numbers from `first` + `done` on.
  template <class FieldsOf>
  void store_all(std::uint32_t first, std::uint32_t done, std::uint32_t count, const FieldsOf& fields_of,
                 std::uint8_t* stored) {
    const auto width = static_cast<std::size_t>(widths_.total());
    const std::uint8_t* at = block_.get();
    for (const std::uint32_t end = done + count; done < end; ++done, at += width) {
      if (store(std::uint64_t{first} + done, fields_of(at)))
        stored[done / 8] |= static_cast<std::uint8_t>(1u << done % 8);
    }
  }

  bool store(std::uint64_t num, const Fields& fields) {
    std::uint32_t type = widths_.field[0] == 0 ? std::uint32_t{PDF_XREF::kInFile} : fields.value[0];
    if (num >= table_.xref_count) {
      table_.sections_lost |= type != PDF_XREF::kFree ? 1 : 0;
      return false;
    }
    if (late_ && type == PDF_XREF::kInFile)
      type = PDF_XREF::kInFileLate;
    PDF_XREF& entry = table_.xref_items[num];
    // A free entry stays unknown, so that an older section may still fill it.
    if (entry.is_known())
      return false;
    entry = {type, fields.value[1], static_cast<std::int32_t>(fields.value[2])};
    return true;
  }

  CPDFXRefTable& table_;
  CPDFStream& decoder_;
  Widths widths_;
  bool late_;
  HeapBlock<std::uint8_t> block_;
  std::size_t capacity_ = 0;
};

// The pairs of "Index", or the one pair that "Size" means. False when memory ran out.
bool read_entries(CPDFXRefTable& table, EntryReader& reader, const CPDFArray* index, std::uint32_t size) {
  if (index == nullptr) {
    const EntryReader::Result result = reader.read(0, size);
    table.sections_lost |= result == EntryReader::Result::kShort ? 1 : 0;
    return result != EntryReader::Result::kNoMemory;
  }
  for (std::int32_t i = 0; i + 1 < index->count; i += 2) {
    const std::int32_t first = lenient_int(index->items[i]);
    const std::int32_t count = lenient_int(index->items[i + 1]);
    if (first < 0 || count < 0)
      return true;
    const EntryReader::Result result = reader.read(object_index(first), static_cast<std::uint32_t>(count));
    if (result == EntryReader::Result::kShort)
      table.sections_lost = 1;  // short data drop the remaining pairs
    if (result != EntryReader::Result::kDone)
      return result == EntryReader::Result::kShort;
  }
  return true;
}

}  // namespace

int CPDFXRefTable::XRefRead(CPDFObj& obj, unsigned int pos, CPDFStream* decoder, long long& prev) {
  const CPDFDictionary* dict = obj.as_dict_or_stream();
  if (decoder == nullptr || dict == nullptr || dict->count == 0)
    return 0;
  const bool late = linearized_length != 0 && linearized_length < pos;
  const Widths widths = read_widths(*dict);
  if (!widths.sane())
    return 0;
  const CPDFObj* index_item = dict->get_item("Index");
  const CPDFArray* index = index_item != nullptr ? index_item->as_array() : nullptr;
  // Stricter than for a classic trailer: neither a real nor a reference counts.
  const CPDFObj* size_item = dict->get_item("Size");
  const std::int32_t size = size_item != nullptr ? size_item->as_int() : 0;
  if (size <= 0)
    return 0;
  const std::uint32_t count = std::min(static_cast<std::uint32_t>(size), max_obj_num());
  grow_xref_items(count, true);
  if (xref_items == nullptr)
    return 0;
  EntryReader reader(*this, *decoder, widths, late);
  if (!read_entries(*this, reader, index, count))
    return 0;
  XRefLoadObjs(dict);
  prev = trailer_offset(*dict, CPDFDictionary::sm_tag_prev);
  next_obj_num = std::max(next_obj_num, xref_count);
  return 1;
}
