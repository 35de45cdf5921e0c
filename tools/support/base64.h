// Bytes as text in base 64 (RFC 4648, 4).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace sheaf::tool {

std::string base64_text(const unsigned char* bytes, std::size_t size);
/// The bytes of `text`; padding may be missing. False when it has other characters.
bool read_base64(std::string_view text, std::string& bytes);

}  // namespace sheaf::tool
