// Decimal text to and from 32-bit integers.
#pragma once

#include <cstdint>

namespace sheaf {

/// Room for any 32-bit number in decimal, its sign and the NUL.
constexpr int kNumberTextSize = 12;

}  // namespace sheaf

/// The number at the start of `text`: an optional sign, then digits. Wraps in 32 bits; 0 without a digit.
std::int32_t ansi_to_i32(const char* text);

/// Decimal digits of `value` into `out` (at least kNumberTextSize bytes), NUL-terminated.
/// The result is the number of characters without the NUL.
int ansi_from_i32(char* out, std::int32_t value);
int ansi_from_u32(char* out, std::uint32_t value);
