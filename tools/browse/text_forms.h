// Bytes as text.
#pragma once

#include <cstddef>
#include <string>

namespace sheaf::tool {

/// UTF-8 of the characters that have the bytes' numbers.
std::string latin_text(const std::string& bytes);

}  // namespace sheaf::tool
