// UTF-8 one character at a time, for text that may be anything.
#pragma once

#include <string>
#include <string_view>

#include "sheaf/base/utf.h"

namespace sheaf::tool {

/// The first character of `text`, which is not empty; one byte of anything else.
Utf8Step utf8_step(std::string_view text);
bool is_utf8(std::string_view text);

/// A wide text as UTF-8.
std::string utf8_of(const wchar_t* wide);
/// UTF-8 of the characters that have the bytes' numbers.
std::string latin_text(std::string_view bytes);

/// Whether a terminal would obey the character instead of showing it: controls of ASCII and of the upper half (ISO
/// 6429), line and paragraph separators, and marks that change the direction of what follows.
bool is_unprintable(char32_t character);

}  // namespace sheaf::tool
