// Classic cross-reference tables (ISO 32000-1, 7.5.4), with the leniencies that real files need:
// lines of the wrong length, sections that start at 1 in error, counts that are too high, junk
// after the keyword, a missing trailer.
#include <algorithm>
#include <bit>
#include <cstring>

#include "sheaf/base/chars.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/object/parse_buf.h"
#include "sheaf/xref/section_internal.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr unsigned kLineSize = 20;
constexpr std::int32_t kFreeHeadGen = 65535;

std::uint32_t digits_value(const char* text, int count) {
  std::uint32_t value = 0;  // wraps in 32 bits; the digits are not tested to be digits
  for (int i = 0; i < count; ++i)
    value = value * 10 + static_cast<std::uint32_t>(text[i] - '0');
  return value;
}

// Whether the line at `text` has the fixed form of the standard in its first 18 bytes.
bool is_fixed_line(const char* text) {
  return is_strict_space(text[10]) && is_strict_space(text[16]) && (text[17] | 8) == 'n';
}

struct Line {
  std::uint32_t offset;
  std::int32_t gen;
};

// The two numbers of a line, with the position left on the keyword. False ends the subsection.
bool read_line(CPDFBuf& buf, Line& line) {
  buf.buf_need(kLineSize);
  const char* at = buf.buf_data + buf.buf_pos;
  if (buf.buf_len - buf.buf_pos >= 18 && is_fixed_line(at)) {
    line = {digits_value(at, 10), static_cast<std::int32_t>(digits_value(at + 11, 5))};
    buf.buf_skip(17);
    return true;
  }
  line.offset = static_cast<std::uint32_t>(buf.buf_read_int());
  buf.buf_skip_ws(true);
  line.gen = buf.buf_read_int();
  buf.buf_skip_ws(true);
  return line.offset != 0 || line.gen != 0;
}

// The value of eight digits, taken at once: neighbours are joined to pairs, pairs to fours and fours to
// the whole. False when one of them is no digit.
bool eight_digits(const char* text, std::uint32_t& value) {
  if constexpr (std::endian::native != std::endian::little)
    return false;
  std::uint64_t word = 0;
  std::memcpy(&word, text, sizeof(word));
  constexpr std::uint64_t kHighHalves = 0xF0F0F0F0F0F0F0F0;
  constexpr std::uint64_t kZeros = 0x3030303030303030;
  if (((word & kHighHalves) ^ kZeros) != 0 || (((word + 0x0606060606060606) & kHighHalves) ^ kZeros) != 0)
    return false;
  word -= kZeros;
  word = (word * 10 + (word >> 8)) & 0x00FF00FF00FF00FF;
  word = (word * 100 + (word >> 16)) & 0x0000FFFF0000FFFF;
  value = static_cast<std::uint32_t>(word * 10000 + (word >> 32));
  return true;
}

// Takes over lines of used entries of generation 0 in the form that nearly all writers give them, as
// far as they lie in the buffer with the first digit of what follows. The count of lines passed.
int take_plain_lines(CPDFBuf& buf, PDF_XREF* items, int count, std::uint32_t type) {
  constexpr char kPlainRest[] = " 00000 n";
  int done = 0;
  const char* at = buf.buf_data + buf.buf_pos;
  const char* const end = buf.buf_data + buf.buf_len;
  for (; done < count && end - at > static_cast<int>(kLineSize); ++done, at += kLineSize) {
    std::uint32_t low = 0;
    if (!is_digit(at[0]) || !is_digit(at[1]) || !eight_digits(at + 2, low) ||
        std::memcmp(at + 10, kPlainRest, 8) != 0 || !is_wide_space(at[18]) || !is_wide_space(at[19]) ||
        !is_digit(at[kLineSize]))
      break;
    if (!items[done].is_known())
      items[done] = {type, digits_value(at, 2) * 100000000u + low, 0};
  }
  buf.buf_pos = static_cast<std::uint32_t>(at - buf.buf_data);
  return done;
}

}  // namespace

namespace {

// Reads the lines of a subsection. How many there were, which can be fewer than it says.
int read_lines(CPDFBuf& buf, PDF_XREF* items, int first, int count, int late) {
  const std::uint32_t type = late != 0 ? PDF_XREF::kInFileLate : PDF_XREF::kInFile;
  for (int i = 0; i < count;) {
    if (buf.buf_len == 0)
      return i;
    if (i > 0)
      i += take_plain_lines(buf, items + first + i, count - i, type);
    if (i == count)
      return i;
    Line line{};
    if (!read_line(buf, line))
      return i;
    const char keyword = buf.buf_pos < buf.buf_len ? buf.buf_data[buf.buf_pos] : '\0';
    const bool is_free = keyword == 'f';
    // A writer that counted the table from 1 in error has the head of the free list first: it is
    // passed over, and the entries after it land where they belong.
    const bool misplaced_head = first == 1 && i == 0 && line.gen == kFreeHeadGen && is_free;
    PDF_XREF& entry = items[first + i];
    if (!is_free && !entry.is_known())
      entry = {type, line.offset, line.gen};
    ++buf.buf_pos;
    const bool more = buf.buf_skip_ws(true);
    if (!misplaced_head)
      ++i;
    if (!more)
      return i;
  }
  return std::max(count, 0);
}

}  // namespace

void CPDFBuf::buf_read_xref_items(PDF_XREF* items, int first, int count, int late) {
  read_lines(*this, items, first, count, late);
}

namespace {

// Reads the subsections from the first digit on; `end` gets the end of the last one. False when
// the data end too early or the table cannot hold what is claimed.
bool read_subsections(CPDFXRefTable& table, CPDFBuf& buf, int late, std::uint32_t& end) {
  do {
    const std::int32_t first = buf.buf_read_int();
    if (!buf.buf_skip_ws(true))
      return false;
    const std::int32_t count = buf.buf_read_int();
    if (!buf.buf_skip_ws(true))
      return false;
    end = object_index(first) + static_cast<std::uint32_t>(count);
    if (first < 0 || count < 0 || end > table.max_obj_num())
      return false;
    if (end > table.xref_count)
      table.grow_xref_items(end, true);
    const int lines = end <= table.xref_count ? read_lines(buf, table.xref_items, first, count, late) : 0;
    table.listed.add(object_index(first), static_cast<std::uint32_t>(lines));
    table.listed.claim(end);
    if (buf.buf_len == 0 || !buf.buf_skip_ws(true))
      return true;
  } while (is_digit(buf.buf_data[buf.buf_pos]));
  return true;
}

// Passes everything up to the first digit; false at the end of the data.
bool skip_junk(CPDFBuf& buf) {
  while (buf.buf_skip_ws(true)) {
    if (is_digit(buf.buf_data[buf.buf_pos]))
      return true;
    ++buf.buf_pos;
  }
  return false;
}

}  // namespace

int CPDFXRefTable::XRefRead(CPDFBuf* buf, long long& prev, long long& xrefstm) {
  const bool late = linearized_length != 0 && buf->position() > linearized_length;
  const std::uint32_t start = buf->position();
  buf->buf_skip(4);
  if (!skip_junk(*buf))
    return 0;
  std::uint32_t end = 0;
  if (!read_subsections(*this, *buf, late ? 1 : 0, end))
    return 0;
  constexpr unsigned kTrailerLen = 7;
  buf->buf_need(kTrailerLen);
  if (std::strncmp(buf->buf_data + buf->buf_pos, "trailer", kTrailerLen) != 0) {
    lose_section(start);  // its entries count, but nothing leads to the older sections
    return 1;
  }
  buf->buf_skip(kTrailerLen);
  buf->buf_skip_ws(true);
  Freed<CPDFObj> trailer;
  trailer.read(buf, nullptr);
  const CPDFDictionary* dict = trailer.as_dict();
  if (dict == nullptr)
    return 0;
  const Freed<CPDFObj> size = value(dict, "Size");
  if (end > 1 && static_cast<std::int64_t>(size.to_int()) + 1 < static_cast<std::int64_t>(end))
    return 0;
  XRefLoadObjs(dict);
  prev = trailer_offset(*dict, CPDFDictionary::sm_tag_prev);
  xrefstm = trailer_offset(*dict, "XRefStm");
  return 1;
}
