// Finds the last place at which a line may end (in the manner of UAX 14, much reduced).
#include "text/text_lines.h"

#include <cwchar>

namespace sheaf::tool {

namespace {

bool is_space(wchar_t c) {
  return c == ' ' || c == 0x3000 || (c >= 0x2000 && c <= 0x200B && c != 0x2007);
}

// Scripts that are written without spaces: a line may end behind any character.
bool is_ideographic(wchar_t c) {
  return (c >= 0x2E80 && c < 0xA4D0) || (c >= 0xF900 && c < 0xFB00) || (c >= 0xFE30 && c < 0xFE50) ||
         (c >= 0xFF00 && c < 0xFFF0) || (c >= 0x20000 && c < 0x40000);
}

constexpr wchar_t kNeverFirst[] =
    L"!%),.:;?]}\u00BB\u2019\u201D\u2026\u3001\u3002\u3005\u3009\u300B\u300D\u300F\u3011\u3015\u3017\u301F\u3041"
    L"\u3043\u3045\u3047\u3049\u3063\u3083\u3085\u3087\u30A1\u30A3\u30A5\u30A7\u30A9\u30C3\u30E3\u30E5\u30E7\u30FB"
    L"\u30FC\uFF01\uFF09\uFF0C\uFF0E\uFF1A\uFF1B\uFF1F\uFF3D\uFF5D";
constexpr wchar_t kNeverLast[] =
    L"([{\u00AB\u2018\u201C\u3008\u300A\u300C\u300E\u3010\u3014\u3016\u301D\uFF08\uFF3B\uFF5B";

bool may_break(wchar_t before, wchar_t after) {
  if (is_space(after) || std::wcschr(kNeverFirst, after) != nullptr || std::wcschr(kNeverLast, before) != nullptr)
    return false;
  return is_space(before) || before == '-' || before == 0x2010 || is_ideographic(before) || is_ideographic(after);
}

}  // namespace

std::size_t end_of_line(const std::vector<SetGlyph>& glyphs, std::size_t start, int room) {
  long long used = 0;
  std::size_t last_break = start;
  for (std::size_t at = start; at < glyphs.size(); ++at) {
    if (at > start && may_break(glyphs[at - 1].character, glyphs[at].character))
      last_break = at;
    used += glyphs[at].advance - glyphs[at].less;
    if (used <= room || is_space(glyphs[at].character))
      continue;
    if (last_break > start)
      return last_break;
    return at > start ? at : start + 1;
  }
  return glyphs.size();
}

bool is_ignorable(wchar_t c) {
  return c == 0xAD || (c >= 0x200B && c <= 0x200F) || (c >= 0x2028 && c <= 0x202E) || (c >= 0x2060 && c <= 0x2064) ||
         (c >= 0xFE00 && c <= 0xFE0F) || c == 0xFEFF || (c >= 0xE0000 && c < 0xE1000);
}

}  // namespace sheaf::tool
