// Bytes as text.
#pragma once

#include <cstddef>
#include <string>

namespace sheaf::tool {

/// RFC 4648, 4.
std::string base64_text(const unsigned char* bytes, std::size_t size);
/// UTF-8 of the characters that have the bytes' numbers.
std::string latin_text(const std::string& bytes);

}  // namespace sheaf::tool
