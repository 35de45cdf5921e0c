// Fixed-point reals and rectangles. PDF reals are held as QVFIX throughout the library, so that
// results are the same on every device.
#pragma once

#include <cstdint>

/// Signed fixed point with 26 fraction bits: 1.0 is kFixOne.
using QVFIX = std::int64_t;

namespace sheaf {

constexpr int kFixBits = 26;
constexpr QVFIX kFixOne = QVFIX{1} << kFixBits;
constexpr QVFIX kFixHalf = kFixOne / 2;

constexpr QVFIX fix_from_int(std::int64_t value) {
  return static_cast<QVFIX>(static_cast<std::uint64_t>(value) << kFixBits);
}

/// The nearest integer, halves up; the low 32 bits of it.
constexpr std::int32_t fix_round(QVFIX value) {
  const std::uint64_t raised = static_cast<std::uint64_t>(value) + static_cast<std::uint64_t>(kFixHalf);
  return static_cast<std::int32_t>(static_cast<std::int64_t>(raised) >> kFixBits);
}

/// The integer that `value` is exactly, or -1 when it has a fraction. File offsets use this form.
constexpr std::int64_t fix_exact(QVFIX value) {
  return (value & (kFixOne - 1)) != 0 ? -1 : value >> kFixBits;
}

/// The value as a double, for arithmetic of pictures and for people.
constexpr double to_double(QVFIX value) {
  return static_cast<double>(value) / static_cast<double>(kFixOne);
}

}  // namespace sheaf

/// A rectangle in the order of a PDF rectangle array (ISO 32000-1, 7.9.5); not normalised.
struct _QVRECTF {
  QVFIX left;
  QVFIX bottom;
  QVFIX right;
  QVFIX top;
};

static_assert(sheaf::fix_round(sheaf::kFixHalf) == 1 && sheaf::fix_round(-sheaf::kFixHalf) == 0 &&
              sheaf::fix_round(sheaf::kFixHalf - 1) == 0);
static_assert(sheaf::fix_exact(sheaf::fix_from_int(1234)) == 1234 && sheaf::fix_exact(sheaf::kFixHalf) == -1);
