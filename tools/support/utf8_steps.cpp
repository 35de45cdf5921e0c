// One character after the other, whatever the bytes are.
#include "support/utf8_steps.h"

namespace sheaf::tool {

Utf8Step utf8_step(std::string_view text) {
  const Utf8Step step = read_utf8(text.data(), text.size());
  return step.is_valid ? step : Utf8Step{0, 1, false};
}

bool is_utf8(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const Utf8Step step = utf8_step(text.substr(at));
    if (!step.is_valid)
      return false;
    at += step.bytes;
  }
  return true;
}

std::string utf8_of(const wchar_t* wide) {
  std::string text;
  append_utf8(text, wide);
  return text;
}

std::string latin_text(std::string_view bytes) {
  std::string text;
  for (const char c : bytes)
    append_utf8(text, static_cast<unsigned char>(c));
  return text;
}

bool is_unprintable(char32_t character) {
  return character < 0x20 || (character >= 0x7F && character < 0xA0) || (character >= 0x200E && character <= 0x200F) ||
         (character >= 0x2028 && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069);
}

}  // namespace sheaf::tool
