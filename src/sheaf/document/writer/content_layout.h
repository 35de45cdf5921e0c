// Content streams for people: one operator a line, indented by what is open.
#pragma once

#include <string_view>

#include "sheaf/base/stream.h"

namespace sheaf {

/// Writes the content `text` to `out` with other white space between its operators; these and their operands, inline
/// images and comments stay as they are. ISO 32000-1, 7.8.2.
void lay_out_content(std::string_view text, CQVStreamMem& out);

}  // namespace sheaf
