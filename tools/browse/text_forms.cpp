#include "browse/text_forms.h"

#include "sheaf/base/utf.h"

namespace sheaf::tool {

std::string base64_text(const unsigned char* bytes, std::size_t size) {
  static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((size + 2) / 3 * 4);
  for (std::size_t at = 0; at < size; at += 3) {
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i)
      group = group << 8 | (at + i < size ? bytes[at + i] : 0u);
    for (std::size_t i = 0; i < 4; ++i)
      text += at + i > size ? '=' : digits[group >> (18 - 6 * i) & 63];
  }
  return text;
}

// Bytes as characters of the same number.
std::string latin_text(const std::string& bytes) {
  std::string text;
  for (const char c : bytes) {
    char character[kMostUtf8Bytes];
    text.append(character, put_utf8(character, static_cast<unsigned char>(c)));
  }
  return text;
}

}  // namespace sheaf::tool
