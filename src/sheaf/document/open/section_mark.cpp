// The search goes from the end of the file in blocks: the mark of a sound file is in the first one.
#include "sheaf/document/open/section_mark_internal.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "sheaf/base/chars.h"
#include "sheaf/base/stream.h"
#include "sheaf/object/parse_buf.h"

namespace sheaf {

namespace {

constexpr unsigned kTailBlock = 1024;
constexpr unsigned kFarBlock = 16 * 1024;
constexpr unsigned kTailOverlap = 16;  // "startxref" may lie across two blocks
constexpr char kStartWord[] = "startxref";
constexpr int kStartWordSize = sizeof(kStartWord) - 1;
constexpr long long kMostTail = 300LL * 1024 * 1024;  // as far as a rebuild would look

// The last place of `word` in `data`, or -1.
int find_last(const char* data, int len, const char* word) {
  const auto word_len = static_cast<int>(std::strlen(word));
  for (int at = len - word_len; at >= 0; --at) {
    if (std::memcmp(data + at, word, static_cast<std::size_t>(word_len)) == 0)
      return at;
  }
  return -1;
}

// The number after the word. A file that ends within the two was cut there.
void read_number(CQVStream& stream, SectionMark& mark) {
  mark.end = mark.position + kStartWordSize;
  stream.SetPos(CQVStream::STR_SEEK_SET, mark.end);
  CPDFBufBase buf;
  buf.buf_init(&stream);
  mark.has_number = buf.buf_skip_ws(true) && is_digit(buf.buf_data[buf.buf_pos]);
  mark.offset = mark.has_number ? static_cast<std::uint32_t>(buf.buf_read_int()) : 0;
  buf.buf_need(1);
  mark.is_cut = buf.buf_pos >= buf.buf_len;
}

bool ends_with(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

std::string_view without_space_at_end(std::string_view text) {
  while (!text.empty() && is_wide_space(text.back()))
    text.remove_suffix(1);
  return text;
}

// Whether as many dictionaries end as begin from `offset` to the end of the file.
bool closes_dictionaries(CQVStream& stream, std::uint32_t offset) {
  char block[kTailBlock];
  std::int64_t open = 0;
  char before = 0;
  stream.SetPos(CQVStream::STR_SEEK_SET, offset);
  for (unsigned got = stream.Read(block, kTailBlock); got > 0; got = stream.Read(block, kTailBlock)) {
    for (unsigned i = 0; i < got; ++i) {
      const bool is_pair = block[i] == before && (before == '<' || before == '>');
      open += is_pair ? (before == '<' ? 1 : -1) : 0;
      before = is_pair ? '\0' : block[i];
    }
  }
  return open == 0;
}

}  // namespace

bool find_section_mark(CQVStream& stream, SectionMark& mark) {
  char block[kFarBlock + kTailOverlap + 1];
  const long long limit = mark.position;
  const long long len = stream.GetLen();
  long long size = kTailBlock;
  for (long long end = limit; end > 0 && len - end < kMostTail; end -= size, size = kFarBlock) {
    const long long start = std::max(end - size, 0LL);
    stream.SetPos(CQVStream::STR_SEEK_SET, start);
    const unsigned got = stream.Read(block, static_cast<unsigned>(std::min(end + kTailOverlap, limit) - start));
    const int at = find_last(block, static_cast<int>(std::min(got, kFarBlock + kTailOverlap)), kStartWord);
    if (at < 0)
      continue;
    mark.position = start + at;
    read_number(stream, mark);
    return true;
  }
  return false;
}

bool is_section_at(CQVStream& stream, std::uint32_t offset) {
  stream.SetPos(CQVStream::STR_SEEK_SET, offset);
  CPDFBufBase buf;
  buf.buf_init(&stream);
  if (!buf.buf_skip_ws(true))
    return false;
  buf.buf_need(32);
  const char* at = buf.buf_data + buf.buf_pos;
  if (std::strncmp(at, "xref", 4) == 0)
    return true;
  const std::uint32_t before = buf.buf_pos;
  return is_digit(*at) && buf.buf_skip_to_obj() != nullptr && buf.buf_pos == before;
}

bool ends_within_mark(CQVStream& stream, std::uint32_t offset) {
  char block[kTailOverlap * 4];
  const long long start = std::max(stream.GetLen() - static_cast<long long>(sizeof(block)), 0LL);
  stream.SetPos(CQVStream::STR_SEEK_SET, start);
  std::string_view tail(block, stream.Read(block, sizeof(block)));
  tail = without_space_at_end(tail);
  int len = kStartWordSize;
  while (len > 0 && !ends_with(tail, std::string_view(kStartWord, static_cast<std::size_t>(len))))
    --len;
  if (len == 0)
    return false;  // the word is written last, so a save may have ended before all was there
  tail = without_space_at_end(tail.substr(0, tail.size() - static_cast<std::size_t>(len)));
  return ends_with(tail, "endobj") || (ends_with(tail, ">>") && closes_dictionaries(stream, offset));
}

std::uint32_t find_section_near(CQVStream& stream, std::uint32_t offset) {
  char window[2 * kSectionReach];
  const std::uint32_t start = offset > kSectionReach ? offset - kSectionReach : 0;
  stream.SetPos(CQVStream::STR_SEEK_SET, start);
  const unsigned len = std::min<unsigned>(stream.Read(window, sizeof(window)), sizeof(window));
  std::uint32_t best = offset;
  std::uint32_t best_distance = UINT32_MAX;
  for (std::uint32_t i = 0; i + 4 <= len; ++i) {
    const bool own_word = i == 0 || !is_regular(window[i - 1]);
    if (!own_word || std::memcmp(window + i, "xref", 4) != 0)
      continue;
    const std::uint32_t found = start + i;
    const std::uint32_t distance = found > offset ? found - offset : offset - found;
    if (distance < best_distance) {
      best = found;
      best_distance = distance;
    }
  }
  return best;
}

}  // namespace sheaf
