// What the decoded rows of one picture may come to. A few bytes of a file can declare a picture of
// any size; a sheet of A0 at 600 dots an inch has 70 MB in one bit a pixel, and a blank row of it
// takes one bit of CCITT data.
#pragma once

#include <algorithm>
#include <cstdint>

namespace sheaf {

/// Most bytes of rows of a picture whose data are `length` bytes as stored; `ceiling`, when it is
/// above 0, sets less.
constexpr std::int64_t picture_budget(std::int64_t length, std::int64_t ceiling) {
  constexpr std::int64_t kBase = std::int64_t{64} << 20;
  constexpr std::int64_t kPerByte = 32 * 1024;
  const std::int64_t justified = kBase + std::max<std::int64_t>(length, 0) * kPerByte;
  return ceiling > 0 ? std::min(justified, ceiling) : justified;
}

}  // namespace sheaf
