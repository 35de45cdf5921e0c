// Wide text, and its characters from UTF-8.
#include "sheaf/base/wide_text.h"

#include "sheaf/base/utf.h"

using namespace sheaf;

std::size_t ucs_len(const wchar_t* text) {
  if (text == nullptr)
    return 0;
  std::size_t count = 0;
  while (text[count] != 0)
    ++count;
  return count;
}

int cvt_char_UTF8_To_UCS4(const unsigned char* src, wchar_t& out) {
  // A NUL is no continuation byte, so that nothing after the end is looked at.
  const Utf8Step step = read_utf8(reinterpret_cast<const char*>(src), kMostUtf8Bytes);
  out = step.is_valid ? static_cast<wchar_t>(step.character) : 0;
  return static_cast<int>(step.bytes);
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
