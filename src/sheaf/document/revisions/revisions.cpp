// Marks of the end of a file are searched for from the front, in blocks.
#include "sheaf/document/revisions/revisions.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "sheaf/base/chars.h"

namespace sheaf {

namespace {

constexpr std::size_t kBlock = 64 * 1024;
constexpr std::size_t kMark = 128;  // "startxref", a number, "%%EOF" and what is between them

// The length of a mark that begins at the start of `text`: from "startxref" to the end of the line of "%%EOF"; 0 when
// it is not a document, or one without a section.
std::size_t mark_length(std::string_view text) {
  std::size_t at = std::strlen("startxref");
  while (at < text.size() && is_wide_space(text[at]))
    ++at;
  const std::size_t digits = at;
  long long number = 0;
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9' && at - digits < 12; ++at)
    number = number * 10 + (text[at] - '0');
  while (at < text.size() && is_wide_space(text[at]))
    ++at;
  constexpr std::string_view kEnd = "%%EOF";
  if (number == 0 || text.substr(at, kEnd.size()) != kEnd)
    return 0;
  at += kEnd.size();
  if (at < text.size() && text[at] == '\r')
    ++at;
  if (at < text.size() && text[at] == '\n')
    ++at;
  return at;
}

// Whether nothing but white space follows, up to the end of the file.
bool is_space_from(CQVStream& file, long long position) {
  char block[1024];
  const long long length = file.GetLen();
  if (length - position > static_cast<long long>(sizeof(block)))
    return false;
  file.SetPos(CQVStream::STR_SEEK_SET, position);
  const unsigned got = file.Read(block, sizeof(block));
  return std::all_of(block, block + got, [](char c) { return is_wide_space(c); });
}

}  // namespace

int PrefixStream::SetPos(STR_SEEK whence, long long offset) {
  const long long from = whence == STR_SEEK_SET ? base_offset : whence == STR_SEEK_CUR ? pos_ : length_;
  pos_ = std::clamp(from + offset, 0LL, length_);
  return 1;
}

unsigned int PrefixStream::Read(void* dst, unsigned int size) {
  const long long left = length_ - pos_;
  const auto wanted = static_cast<unsigned>(std::min<long long>(left > 0 ? left : 0, size));
  file_.SetPos(STR_SEEK_SET, pos_);
  const unsigned got = file_.Read(dst, wanted);
  pos_ += got;
  return got;
}

bool list_revisions(CQVStream& file, GrowArray<long long>& ends) {
  GrowArray<char> block;
  if (!block.resize(kBlock))
    return false;
  const long long length = file.GetLen();
  constexpr std::string_view kWord = "startxref";
  for (long long start = 0; start < length;) {
    file.SetPos(CQVStream::STR_SEEK_SET, start);
    const std::size_t got = file.Read(block.begin(), kBlock);
    const std::string_view text(block.begin(), got);
    const bool last = start + static_cast<long long>(got) >= length || got < kMark;
    const std::size_t limit = last ? got : got - kMark;  // marks that begin after it may be cut
    for (std::size_t at = text.find(kWord); at < limit; at = text.find(kWord, at + 1)) {
      const std::size_t size = mark_length(text.substr(at, kMark));
      if (size != 0 && !ends.push(start + static_cast<long long>(at + size)))
        return false;
    }
    if (last)
      break;
    start += static_cast<long long>(limit);
  }
  return (!ends.empty() && is_space_from(file, ends.back())) || ends.push(length);
}

}  // namespace sheaf
