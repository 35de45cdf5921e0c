// The header of an object, "12 0 obj" (ISO 32000-1, 7.3.10), read forwards out of a text or a file: anything with
// `size()` and `at(place)`. Any white space may separate its parts, a NUL too.
#pragma once

#include <cstdint>
#include <limits>

#include "sheaf/base/chars.h"

namespace sheaf {

template <class Place>
struct ObjectHeader {
  std::int32_t num = 0;
  std::int64_t gen = 0;
  Place end = 0;  ///< After "obj".
};

/// Reads up to ten digits at `at`, which moves after them. False without a digit.
template <class Bytes, class Place>
bool read_digits(Bytes& bytes, Place& at, std::int64_t& value) {
  constexpr int kMostDigits = 10;
  int count = 0;
  for (value = 0; count < kMostDigits && at < bytes.size() && is_digit(bytes.at(at)); ++count, ++at)
    value = value * 10 + (bytes.at(at) - '0');
  return count > 0;
}

/// Reads a header that begins at `at`. False, with `header` as it was, when something else is there.
template <class Bytes, class Place>
bool read_object_header(Bytes& bytes, Place at, ObjectHeader<Place>& header) {
  const auto take_number = [&](std::int64_t& value) {
    if (!read_digits(bytes, at, value))
      return false;
    const Place end = at;
    while (at < bytes.size() && is_wide_space(bytes.at(at)))
      ++at;
    return at != end;
  };
  std::int64_t num = 0;
  std::int64_t gen = 0;
  if (!take_number(num) || !take_number(gen) || num > std::numeric_limits<std::int32_t>::max())
    return false;
  for (const char letter : {'o', 'b', 'j'}) {
    if (at >= bytes.size() || bytes.at(at) != letter)
      return false;
    ++at;
  }
  header = {static_cast<std::int32_t>(num), gen, at};
  return true;
}

}  // namespace sheaf
