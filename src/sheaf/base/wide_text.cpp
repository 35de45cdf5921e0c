// Decoding of UTF-8 (RFC 3629): overlong forms, surrogates and numbers above U+10FFFF are rejected.
#include "sheaf/base/wide_text.h"

#include "sheaf/base/utf.h"

using namespace sheaf;

namespace {

// A UTF-8 lead byte: how many bytes follow, its value bits, and the least code point of that length.
struct Utf8Lead {
  int trailing;
  unsigned bits;
  unsigned least;
};

constexpr Utf8Lead lead_of(unsigned c) {
  if (c < 0x80)
    return {0, c, 0};
  if (c >= 0xC2 && c < 0xE0)
    return {1, c & 0x1F, 0x80};
  if (c >= 0xE0 && c < 0xF0)
    return {2, c & 0x0F, 0x800};
  if (c >= 0xF0 && c < 0xF5)
    return {3, c & 0x07, 0x10000};
  return {-1, 0, 0};
}

}  // namespace

std::size_t ucs_len(const wchar_t* text) {
  if (text == nullptr)
    return 0;
  std::size_t count = 0;
  while (text[count] != 0)
    ++count;
  return count;
}

int cvt_char_UTF8_To_UCS4(const unsigned char* src, wchar_t& out) {
  out = 0;
  const Utf8Lead lead = lead_of(*src);
  if (lead.trailing < 0)
    return 1;
  unsigned code = lead.bits;
  for (int i = 1; i <= lead.trailing; ++i) {
    // A NUL is no continuation byte, so this never looks behind the end.
    if ((src[i] & 0xC0) != 0x80)
      return i;
    code = (code << 6) | (src[i] & 0x3Fu);
  }
  if (code >= lead.least && code <= kLastCharacter && !is_surrogate(code))
    out = static_cast<wchar_t>(code);
  return lead.trailing + 1;
}

void cvt_ltou(const char* src, wchar_t* dst, int size) {
  if (dst == nullptr || size < 1)
    return;
  int count = 0;
  const auto* bytes = reinterpret_cast<const unsigned char*>(src);
  while (bytes != nullptr && *bytes != 0 && count < size - 1) {
    wchar_t code = 0;
    int used = cvt_char_UTF8_To_UCS4(bytes, code);
    if (code == 0) {
      code = static_cast<wchar_t>(*bytes);
      used = 1;
    }
    dst[count++] = code;
    bytes += used;
  }
  dst[count] = 0;
}
