// Passwords of AES-256 documents: SASLprep (RFC 4013), as far as mapping and normalisation go, so
// that the same password typed on two devices gives the same bytes.
#include <utf8proc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "sheaf/neighbours/security/key_material.h"

namespace sheaf {

namespace {

// Non-ASCII spaces become a space (RFC 3454, C.1.2).
utf8proc_int32_t map_space(utf8proc_int32_t code, void*) {
  return utf8proc_category(code) == UTF8PROC_CATEGORY_ZS ? ' ' : code;
}

}  // namespace

PasswordBytes sasl_password(const char* utf8) {
  PasswordBytes out;
  const char* const text = utf8 != nullptr ? utf8 : "";
  utf8proc_uint8_t* mapped = nullptr;
  const auto options = static_cast<utf8proc_option_t>(UTF8PROC_NULLTERM | UTF8PROC_STABLE | UTF8PROC_COMPAT |
                                                      UTF8PROC_COMPOSE | UTF8PROC_IGNORE);
  const utf8proc_ssize_t len =
      utf8proc_map_custom(reinterpret_cast<const utf8proc_uint8_t*>(text), 0, &mapped, options, map_space, nullptr);
  // Bytes that are no UTF-8 are taken as they are.
  const char* const bytes = len >= 0 ? reinterpret_cast<const char*>(mapped) : text;
  out.size = std::min(len >= 0 ? static_cast<std::size_t>(len) : std::strlen(text), kPasswordMost);
  std::memcpy(out.bytes, bytes, out.size);
  if (mapped != nullptr) {
    wipe(mapped, static_cast<std::size_t>(std::max<utf8proc_ssize_t>(len, 0)));
    std::free(mapped);
  }
  return out;
}

PasswordBytes typed_password(const char* utf8) {
  PasswordBytes out;
  const char* const text = utf8 != nullptr ? utf8 : "";
  out.size = std::min(std::strlen(text), kPasswordMost);
  std::memcpy(out.bytes, text, out.size);
  return out;
}

}  // namespace sheaf
