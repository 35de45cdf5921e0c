// UTF-8 one character at a time, for text that may be anything.
#pragma once

#include <string_view>

#include "sheaf/base/utf.h"

namespace sheaf::tool {

/// The first character of `text`, which is not empty; one byte of anything else.
Utf8Step utf8_step(std::string_view text);
bool is_utf8(std::string_view text);

/// Whether a terminal would obey the character instead of showing it: controls of ASCII and of the upper half (ISO
/// 6429), line and paragraph separators, and marks that change the direction of what follows.
bool is_unprintable(char32_t character);

}  // namespace sheaf::tool
