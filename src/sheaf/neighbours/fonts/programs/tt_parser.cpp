// Reads the directory only; tables are loaded when they are asked for, within the size of the file.
#include "sheaf/neighbours/fonts/programs/tt_parser.h"

#include <algorithm>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/fonts/programs/tt_bytes_internal.h"

using namespace sheaf;

namespace {

constexpr std::uint32_t kCollection = tt_tag("ttcf");
constexpr std::uint32_t kTrueType = 0x00010000;
constexpr std::uint32_t kAppleTrueType = tt_tag("true");
constexpr std::uint32_t kOpenType = tt_tag("OTTO");
constexpr std::uint32_t kCollectionHead = 12;
constexpr std::uint32_t kFontHead = 12;
constexpr std::uint32_t kTableEntry = 16;

bool is_font_tag(std::uint32_t tag) {
  return tag == kTrueType || tag == kAppleTrueType || tag == kOpenType;
}

}  // namespace

bool CQVTTParser::read_at(std::uint64_t offset, void* to, std::uint32_t count) const {
  if (stream_ == nullptr || offset > file_length_ || count > file_length_ - offset)
    return false;
  stream_->SetPos(CQVStream::STR_SEEK_SET, static_cast<long long>(offset));
  return stream_->Read(to, count) == count;
}

int CQVTTParser::TT_Open(CQVStream* stream) {
  is_collection = 0;
  face_count = 0;
  tables.clear();
  stream_ = stream;
  const long long length = stream->GetLen();
  file_length_ = length > 0 && length <= UINT32_MAX ? static_cast<std::uint32_t>(length) : 0;
  std::uint8_t head[kCollectionHead];
  if (!read_at(0, head, kCollectionHead))
    return 1;
  const std::uint32_t tag = tt_u32(head);
  if (tag == kCollection) {
    is_collection = 1;
    face_count = std::min(tt_u32(head + 8), (file_length_ - kCollectionHead) / 4);
    return face_count == 0;
  }
  face_count = 1;
  return !is_font_tag(tag);
}

void CQVTTParser::TT_Close() {
  stream_ = nullptr;
}

int CQVTTParser::TT_Select(std::uint32_t index) {
  tables.clear();
  if (index >= face_count)
    return 1;
  std::uint32_t start = 0;
  std::uint8_t head[kFontHead];
  if (is_collection != 0) {
    if (!read_at(kCollectionHead + std::uint64_t{index} * 4, head, 4))
      return 1;
    start = tt_u32(head);
  }
  if (!read_at(start, head, kFontHead) || !is_font_tag(tt_u32(head)))
    return 1;
  outline_tag = tt_u32(head);
  const std::uint32_t size = tt_u16(head + 4) * kTableEntry;
  HeapBlock<std::uint8_t> entries(static_cast<std::uint8_t*>(QVAlloc(size)));
  if (!entries || !read_at(std::uint64_t{start} + kFontHead, entries.get(), size))
    return 1;
  for (std::uint32_t at = 0; at < size; at += kTableEntry) {
    const std::uint8_t* entry = entries.get() + at;
    const PDF_TT_TABLE table{tt_u32(entry), tt_u32(entry + 8), tt_u32(entry + 12)};
    if (table.offset > file_length_ || table.length > file_length_ - table.offset)
      continue;
    if (!tables.push(table))
      return 1;
  }
  const auto by_tag = [](const PDF_TT_TABLE& a, const PDF_TT_TABLE& b) { return a.tag < b.tag; };
  const auto same_tag = [](const PDF_TT_TABLE& a, const PDF_TT_TABLE& b) { return a.tag == b.tag; };
  std::stable_sort(tables.begin(), tables.end(), by_tag);
  const PDF_TT_TABLE* const end = std::unique(tables.begin(), tables.end(), same_tag);
  while (tables.end() != end)
    tables.pop();
  return tables.empty();
}

const PDF_TT_TABLE* CQVTTParser::find(std::uint32_t tag) const {
  for (const PDF_TT_TABLE& table : tables) {
    if (table.tag == tag)
      return &table;
  }
  return nullptr;
}

std::uint8_t* CQVTTParser::load(std::uint32_t tag, std::uint32_t& length) const {
  length = 0;
  const PDF_TT_TABLE* table = find(tag);
  if (table == nullptr)
    return nullptr;
  HeapBlock<std::uint8_t> block(static_cast<std::uint8_t*>(QVAlloc(table->length)));
  if (!block || !read_at(table->offset, block.get(), table->length))
    return nullptr;
  length = table->length;
  return block.release();
}

bool CQVTTParser::read(std::uint32_t tag, std::uint32_t offset, void* to, std::uint32_t count) const {
  const PDF_TT_TABLE* table = find(tag);
  if (table == nullptr || offset > table->length || count > table->length - offset)
    return false;
  return read_at(std::uint64_t{table->offset} + offset, to, count);
}
