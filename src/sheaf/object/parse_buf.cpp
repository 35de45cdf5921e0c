// The sliding of the parse buffers, and the searches that run over file data.
#include "sheaf/object/parse_buf.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "sheaf/base/chars.h"
#include "sheaf/base/heap.h"
#include "sheaf/base/number_text.h"
#include "sheaf/base/stream.h"

using namespace sheaf;

namespace {

constexpr unsigned kHeaderRoom = 32;  // a header is looked for in one piece of this size
constexpr std::size_t kHeaderText = kHeaderRoom - 1;
constexpr unsigned kBlockStep = 512;
constexpr unsigned kBlockSpare = 4;
constexpr unsigned kTailKept = 8;  // left for the next turn of the search for "endstream"
constexpr char kEndStream[] = "endstream";
constexpr unsigned kEndStreamLen = sizeof(kEndStream) - 1;

}  // namespace

namespace sheaf {

bool is_object_header(const char* text, std::size_t available) {
  const char* const end = text + strnlen(text, std::min(available, kHeaderText));
  const auto at_digit = [&] { return text < end && is_digit(*text); };
  const auto skip_space = [&] {
    while (text < end && is_strict_space(*text))
      ++text;
  };
  while (at_digit())
    ++text;
  skip_space();
  if (!at_digit())
    return false;
  while (at_digit())
    ++text;
  skip_space();
  return end - text >= 3 && std::memcmp(text, "obj", 3) == 0;
}

const char* find_header_numbers(const char* from, const char* word) {
  const auto back_over = [&](bool (*belongs)(char)) {
    const char* const before = word;
    while (word > from && belongs(word[-1]))
      --word;
    return word != before;
  };
  const auto is_space = [](char c) { return is_strict_space(c); };
  const auto is_figure = [](char c) { return is_digit(c); };
  back_over(is_space);
  return back_over(is_figure) && back_over(is_space) && back_over(is_figure) ? word : nullptr;
}

const char* find_header_line(const char* from, const char* end) {
  constexpr std::string_view kWord = "obj";
  const std::string_view text(from, static_cast<std::size_t>(end - from));
  for (std::size_t at = text.find(kWord); at != std::string_view::npos; at = text.find(kWord, at + 1)) {
    const std::size_t behind = at + kWord.size();
    if (behind >= text.size() || is_regular(text[behind]))
      continue;
    const char* const start = find_header_numbers(from, from + at);
    if (start != nullptr && start > from && (start[-1] == '\n' || start[-1] == '\r'))
      return start;
  }
  return nullptr;
}

}  // namespace sheaf

namespace {

// Moves to the next digit; false at the end of the data.
bool skip_to_digit(CPDFBuf& buf) {
  for (;;) {
    while (buf.buf_pos < buf.buf_len) {
      if (is_digit(buf.buf_data[buf.buf_pos]))
        return true;
      ++buf.buf_pos;
    }
    buf.buf_refill();
    if (buf.buf_len == 0)
      return false;
  }
}

// Passes the run of digits at the position. NULs belong to it, so that a candidate never begins
// inside a number that a faulty transfer has filled up.
bool skip_digit_run(CPDFBuf& buf) {
  for (;;) {
    while (buf.buf_pos < buf.buf_len) {
      const char c = buf.buf_data[buf.buf_pos];
      if (!is_digit(c) && c != 0)
        return true;
      ++buf.buf_pos;
    }
    buf.buf_refill();
    if (buf.buf_len == 0)
      return false;
  }
}

// The block in which raw stream data are collected. Its growth is by half, so that a long stream
// costs no more than its length.
class RawBlock {
public:
  bool open() {
    data_ = static_cast<char*>(QVAlloc(kBlockStep + kBlockSpare));
    capacity_ = kBlockStep;
    return data_ != nullptr;
  }
  // False, with the block released, when there is no memory.
  bool append(const char* bytes, std::size_t count) {
    if (count > capacity_ - len_ && !grow(len_ + count)) {
      QVFree(data_);
      return false;
    }
    std::memcpy(data_ + len_, bytes, count);
    len_ += count;
    return true;
  }
  char from_end(std::size_t back) const { return len_ >= back ? data_[len_ - back] : '\0'; }
  // Closes the block with a NUL, `less` bytes taken off its end.
  char* finish(int less, int& len) {
    len = static_cast<int>(len_) - less;
    data_[len > 0 ? len : 0] = 0;
    return data_;
  }

private:
  static constexpr std::size_t kMost = INT32_MAX - kBlockSpare;  // lengths have 31 bits

  bool grow(std::size_t least) {
    if (least > kMost)
      return false;
    const std::size_t wanted = std::min(std::max(least, capacity_ + capacity_ / 2), kMost);
    auto* grown = static_cast<char*>(QVRealloc(data_, wanted + kBlockSpare));
    if (grown == nullptr)
      return false;
    data_ = grown;
    capacity_ = wanted;
    return true;
  }

  char* data_ = nullptr;
  std::size_t len_ = 0;
  std::size_t capacity_ = 0;
};

// How many bytes of line end are before buf_data[pos]. They are looked at in the buffer and,
// where they have slid out of it, at the end of the collected data.
int line_end_before(const char* buffer, unsigned pos, const RawBlock& block) {
  const auto before = [&](unsigned back) { return pos >= back ? buffer[pos - back] : block.from_end(back); };
  if (before(1) == '\n')
    return before(2) == '\r' ? 2 : 1;
  return before(1) == '\r' ? 1 : 0;
}

}  // namespace

namespace sheaf {

bool skip_to_word(CPDFBuf& buf, const char* word, unsigned len) {
  for (;;) {
    buf.buf_need(len);
    if (buf.buf_len - buf.buf_pos < len)
      return false;
    const char* const at = buf.buf_data + buf.buf_pos;
    const std::size_t starts = buf.buf_len - buf.buf_pos - len + 1;
    const auto* const hit = static_cast<const char*>(std::memchr(at, word[0], starts));
    if (hit == nullptr) {
      buf.buf_pos += static_cast<std::uint32_t>(starts);
      continue;
    }
    buf.buf_pos = static_cast<std::uint32_t>(hit - buf.buf_data);
    if (std::memcmp(hit, word, len) == 0)
      return true;
    ++buf.buf_pos;
  }
}

std::int32_t header_number_at(CQVStream& stream, std::uint32_t offset) {
  stream.SetPos(CQVStream::STR_SEEK_SET, offset);
  CPDFBufBase buf;
  buf.buf_init(&stream);
  return buf.buf_skip_to_obj() != nullptr && buf.buf_pos == 0 ? ansi_to_i32(buf.buf_data) : -1;
}

}  // namespace sheaf

void CPDFBuf::buf_refill() {
  const int count = read(buf_data, kFill);
  buf_len = count > 0 ? static_cast<std::uint32_t>(count) : 0;
  buf_pos = 0;
  buf_end += buf_len;
  buf_data[buf_len] = 0;
}

void CPDFBuf::buf_need(unsigned n) {
  if (buf_pos + n <= buf_len)
    return;
  const unsigned rest = buf_pos < buf_len ? buf_len - buf_pos : 0;
  std::memmove(buf_data, buf_data + buf_pos, rest);
  const int count = read(buf_data + rest, static_cast<int>(kFill - rest));
  const auto got = count > 0 ? static_cast<std::uint32_t>(count) : 0;
  buf_len = rest + got;
  buf_pos = 0;
  buf_end += got;
  buf_data[buf_len] = 0;
}

bool CPDFBuf::buf_skip_ws(bool wide) {
  const unsigned classes = wide ? kStrictSpace | kNul : kStrictSpace;
  for (;;) {
    while (buf_pos < buf_len) {
      if (!has_class(buf_data[buf_pos], classes))
        return true;
      ++buf_pos;
    }
    buf_refill();
    if (buf_len == 0)
      return false;
  }
}

void CPDFBuf::buf_skip(unsigned n) {
  buf_pos += n;
  while (buf_pos >= buf_len) {
    buf_pos -= buf_len;
    const int count = read(buf_data, kFill);
    buf_len = count > 0 ? static_cast<std::uint32_t>(count) : 0;
    buf_end += buf_len;
    buf_data[buf_len] = 0;
    if (buf_len == 0) {
      buf_pos = 0;
      return;
    }
  }
}

std::int32_t CPDFBuf::buf_read_int() {
  buf_need(kHeaderRoom);
  bool negative = false;
  if (buf_pos < buf_len && (buf_data[buf_pos] == '+' || buf_data[buf_pos] == '-'))
    negative = buf_data[buf_pos++] == '-';
  std::uint32_t value = 0;  // wraps in 32 bits on purpose
  while (buf_pos < buf_len && is_digit(buf_data[buf_pos]))
    value = value * 10 + static_cast<std::uint32_t>(buf_data[buf_pos++] - '0');
  return static_cast<std::int32_t>(negative ? 0 - value : value);
}

char* CPDFBuf::buf_skip_to_obj() {
  if (buf_pos >= buf_len || !skip_to_digit(*this))
    return nullptr;
  for (;;) {
    buf_need(kHeaderRoom);
    if (is_object_header(buf_data + buf_pos, buf_len - buf_pos))
      return buf_data + buf_pos;
    if (!skip_digit_run(*this) || !skip_to_digit(*this))
      return nullptr;
  }
}

char* CPDFBuf::buf_skip_to_obj(const PDF_REF& ref, int mode) {
  if (buf_pos >= buf_len || !skip_to_digit(*this))
    return nullptr;
  if (mode != 1) {
    char text[kNumberTextSize];
    const int len = ansi_from_i32(text, ref.num);
    return skip_to_word(*this, text, static_cast<unsigned>(len)) ? buf_data + buf_pos : nullptr;
  }
  for (;;) {
    buf_need(kHeaderRoom);
    if (ansi_to_i32(buf_data + buf_pos) == ref.num && is_object_header(buf_data + buf_pos, buf_len - buf_pos))
      return buf_data + buf_pos;
    if (!skip_digit_run(*this) || !skip_to_digit(*this))
      return nullptr;
  }
}

char* CPDFBuf::buf_read_stream_raw_data(int& len) {
  len = 0;
  RawBlock block;
  if (!block.open())
    return nullptr;
  while (buf_len != 0) {
    buf_need(kEndStreamLen + 2);
    if (buf_pos + kTailKept >= buf_len)
      break;  // the data end without "endstream", less the bytes kept for this turn
    const unsigned limit = buf_len - kTailKept;
    const char* from = buf_data + buf_pos;
    const char* const end = buf_data + limit;
    const char* hit = from;
    while ((hit = static_cast<const char*>(std::memchr(hit, 'e', static_cast<std::size_t>(end - hit)))) != nullptr) {
      if (std::strncmp(hit, kEndStream, kEndStreamLen) == 0)
        break;
      ++hit;
    }
    const char* const stop = hit != nullptr ? hit : end;
    if (!block.append(from, static_cast<std::size_t>(stop - from)))
      return nullptr;
    buf_pos = static_cast<std::uint32_t>(stop - buf_data);
    if (hit == nullptr)
      continue;
    const int dropped = line_end_before(buf_data, buf_pos, block);
    buf_pos -= std::min(static_cast<std::uint32_t>(dropped), buf_pos);
    return block.finish(dropped, len);
  }
  return block.finish(0, len);
}

void CPDFBufBase::buf_init(CQVStream* s) {
  src_stream = s;
  buf_pos = 0;
  buf_len = std::min(s->Read(buf_data, kFill), kFill);
  buf_end = static_cast<std::uint32_t>(s->GetPos());
  buf_data[buf_len] = 0;
}

int CPDFBufBase::read(void* dst, int size) {
  static_cast<char*>(dst)[size] = 0;
  return static_cast<int>(src_stream->Read(dst, static_cast<unsigned>(size)));
}

void CPDFBufMem::buf_init_mem(const void* data, std::uint32_t size) {
  mem_data = static_cast<const std::uint8_t*>(data);
  mem_size = size;
  const std::uint32_t first = std::min<std::uint32_t>(size, kFill);
  if (first > 0)
    std::memcpy(buf_data, mem_data, first);
  buf_len = mem_pos = buf_end = first;
  buf_pos = 0;
  buf_data[first] = 0;
}

int CPDFBufMem::read(void* dst, int size) {
  const std::uint32_t count = std::min(static_cast<std::uint32_t>(std::max(size, 0)), mem_size - mem_pos);
  if (count > 0)
    std::memcpy(dst, mem_data + mem_pos, count);
  mem_pos += count;
  return static_cast<int>(count);
}

std::int32_t sheaf::header_generation(const char* header) {
  constexpr std::int32_t kMostGeneration = 65535;
  const char* at = header;
  while (is_digit(*at))
    ++at;
  const char* const behind_number = at;
  while (is_strict_space(*at))
    ++at;
  if (behind_number == header || at == behind_number || !is_digit(*at))
    return -1;
  const std::int32_t gen = ansi_to_i32(at);
  return gen <= kMostGeneration ? gen : -1;
}
