// Taking the pixels of a bitmap apart into samples.
#pragma once

#include <cstddef>
#include <cstdint>

namespace sheaf {

/// Moves the fourth byte of each of `count` pixels at `src` to `dst`, which takes `count` bytes.
void unpack_alpha(const std::uint8_t* src, std::uint8_t* dst, std::size_t count);

/// Moves the first three bytes of each of `count` pixels at `src` to `dst`, which takes three bytes a
/// pixel, in their order or, with `reversed`, the third one first.
void unpack_colour(const std::uint8_t* src, std::uint8_t* dst, std::size_t count, bool reversed);

}  // namespace sheaf
