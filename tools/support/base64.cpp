// Three bytes are four digits of six bits each.
#include "support/base64.h"

namespace sheaf::tool {

namespace {

constexpr std::string_view kDigits64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string base64_text(const unsigned char* bytes, std::size_t size) {
  std::string out;
  out.reserve((size + 2) / 3 * 4);
  for (std::size_t i = 0; i < size; i += 3) {
    const std::size_t left = size - i;
    const unsigned group = static_cast<unsigned>(bytes[i]) << 16 |
                           (left > 1 ? static_cast<unsigned>(bytes[i + 1]) << 8 : 0) | (left > 2 ? bytes[i + 2] : 0U);
    out += kDigits64[group >> 18];
    out += kDigits64[group >> 12 & 63];
    out += left > 1 ? kDigits64[group >> 6 & 63] : '=';
    out += left > 2 ? kDigits64[group & 63] : '=';
  }
  return out;
}

bool read_base64(std::string_view text, std::string& bytes) {
  unsigned group = 0;
  int bits = 0;
  while (!text.empty() && text.back() == '=')
    text.remove_suffix(1);
  bytes.clear();
  bytes.reserve(text.size() / 4 * 3 + 3);
  for (const char c : text) {
    const std::size_t digit = kDigits64.find(c);
    if (digit == std::string_view::npos)
      return false;
    group = group << 6 | static_cast<unsigned>(digit);
    bits += 6;
    if (bits < 8)
      continue;
    bits -= 8;
    bytes += static_cast<char>(group >> bits & 255);
  }
  return bits < 6;
}

}  // namespace sheaf::tool
