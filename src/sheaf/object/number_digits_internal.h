// The digits of one number while they are read, and the fixed-point value that they make.
#pragma once

#include <cstdint>

#include "sheaf/base/fixed.h"

namespace sheaf {

struct NumberDigits {
  static constexpr unsigned kMostFraction = 10;  // a QVFIX has room for the effect of no more
  static constexpr std::int64_t kIntegerLimit = std::int64_t{1} << (63 - kFixBits);  // integer part of a QVFIX
  static constexpr std::int64_t kPowersOfTen[kMostFraction + 1] = {
      1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000, 10000000000};

  std::int64_t whole = 0;
  std::int64_t fraction = 0;
  unsigned fraction_digits = 0;

  void add_whole(char c) {
    if (whole < kIntegerLimit)
      whole = whole * 10 + (c - '0');
  }
  void add_fraction(char c) {
    if (fraction_digits == kMostFraction)
      return;
    fraction = fraction * 10 + (c - '0');
    ++fraction_digits;
  }
  /// What does not fit becomes the largest or the smallest value there is.
  QVFIX real(bool negative) const {
    if (whole >= kIntegerLimit)
      return negative ? INT64_MIN : INT64_MAX;
    const std::int64_t scale = kPowersOfTen[fraction_digits];
    const QVFIX part = (fraction * kFixOne + scale / 2) / scale;
    const QVFIX base = fix_from_int(whole);
    const QVFIX size = base > INT64_MAX - part ? INT64_MAX : base + part;
    return negative ? -size : size;
  }
};

}  // namespace sheaf
