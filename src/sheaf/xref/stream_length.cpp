// Streams whose stated length is false. Where no "endstream" follows the bytes that "Length" counts,
// the first one after the start of the data is taken at its word instead, as viewers do, or the
// header of an object that comes earlier.
#include <algorithm>
#include <cstring>
#include <string_view>

#include "sheaf/base/chars.h"
#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/object/parse_buf.h"
#include "sheaf/xref/object_finder.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr char kEnd[] = "endstream";
constexpr unsigned kEndSize = sizeof kEnd - 1;
constexpr char kObjectEnd[] = "endobj";  // ends data that lack the other
constexpr unsigned kMostGap = 8;         // white space that writers put before the keyword
constexpr unsigned kWindow = 16 * 1024;  // searched at a time, from
constexpr unsigned kFirstWindow = 512;   // on: most ends are near, and many streams can lack theirs
constexpr unsigned kWindowGrowth = 4;
constexpr unsigned kOverlap = 32;           // a header may lie across two windows
constexpr std::int64_t kScanAllowance = 8;  // times the file's length that all searches may read
constexpr std::int64_t kNotFound = -1;

// Whether "endstream" or, where that is missing, "endobj" follows at `offset`.
bool ends_at(CQVStream& stream, std::int64_t offset) {
  char text[kMostGap + kEndSize] = {};
  stream.SetPos(CQVStream::STR_SEEK_SET, offset);
  const unsigned len = stream.Read(text, sizeof text);
  unsigned at = 0;
  while (at < len && at < kMostGap && is_wide_space(text[at]))
    ++at;
  const std::size_t left = len - at;
  return (left >= kEndSize && std::memcmp(text + at, kEnd, kEndSize) == 0) ||
         (left >= 6 && std::memcmp(text + at, "endobj", 6) == 0);
}

// The place of the first "endstream", "endobj" or header of an object from `from` on.
std::int64_t find_end(CQVStream& stream, std::int64_t from, std::int64_t& scanned) {
  const HeapBlock<char> window(static_cast<char*>(QVAlloc(kWindow)));
  unsigned size = kFirstWindow;
  for (std::int64_t start = from; window; size = std::min(size * kWindowGrowth, kWindow)) {
    stream.SetPos(CQVStream::STR_SEEK_SET, start);
    const unsigned len = std::min(stream.Read(window.get(), size), size);
    const char* const header = find_header_line(window.get(), window.get() + len);
    const std::string_view text(window.get(),
                                header != nullptr ? static_cast<std::size_t>(header - window.get()) : len);
    std::size_t hit = std::min(text.find(kEnd), text.find(kObjectEnd));
    if (hit == std::string_view::npos && header != nullptr)
      hit = text.size();
    if (hit != std::string_view::npos)
      return start + static_cast<std::int64_t>(hit);
    if (len < size)
      break;
    scanned += len;
    start += size - kOverlap;
  }
  return kNotFound;
}

// The line end before the keyword is no data.
std::int64_t without_line_end(CQVStream& stream, std::int64_t from, std::int64_t end) {
  char tail[2] = {};
  const auto size = static_cast<unsigned>(std::min<std::int64_t>(end - from, 2));
  stream.SetPos(CQVStream::STR_SEEK_SET, end - size);
  if (size == 0 || stream.Read(tail, size) != size)
    return end;
  if (tail[size - 1] == '\n')
    return end - (size == 2 && tail[0] == '\r' ? 2 : 1);
  return tail[size - 1] == '\r' ? end - 1 : end;
}

}  // namespace

void CPDFXRefTable::heal_length(CPDFStreamRec& rec, std::int32_t num) {
  if (!lengths.checked || rec.source != stream || rec.length != 0)
    return;
  rec.length = lengths.find(rec.offset);
  if (rec.length != 0)
    return;
  const Freed<CPDFObj> length_value = value(&rec.dict, CPDFDictionary::sm_tag_length);
  const std::int32_t stated = length_value.as_int();
  const bool is_stated = length_value.tag == kTagInt && stated >= 0;
  if ((!is_stated && finder == nullptr) || (is_stated && ends_at(*stream, std::int64_t{rec.offset} + stated)))
    return;
  if (stated == 0 && is_stated)
    return;
  // One look at the whole file costs less than many searches to its end.
  const bool searches = lengths.scanned <= kScanAllowance * stream->GetLen();
  std::int64_t end = searches ? find_end(*stream, rec.offset, lengths.scanned) : kNotFound;
  std::uint32_t found = 0;
  if (end == kNotFound && finder != nullptr && finder->find_data_end(rec.offset, found))
    end = found;
  const std::int64_t length = end != kNotFound ? without_line_end(*stream, rec.offset, end) - rec.offset : 0;
  if (length <= 0 || length > INT32_MAX)
    return;
  rec.length = static_cast<std::int32_t>(length);
  if (lengths.add(rec.offset, rec.length))
    repairs.note(PDF_REPAIR::kLengthCorrected, num, rec.offset);
}
