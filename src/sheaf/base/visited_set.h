// A set of object numbers, one bit each, for walks that must end on loops.
#pragma once

#include "sheaf/base/grow_array.h"

namespace sheaf {

class VisitedSet {
public:
  /// Greater numbers are refused: no file has them, and a made-up one must not cost its bits.
  static constexpr std::int32_t kMostNum = 1 << 26;

  /// False when `num` was visited before or cannot be remembered.
  bool visit(std::int32_t num) {
    if (num < 1 || num > kMostNum)
      return false;
    const auto byte = static_cast<std::size_t>(num) / 8;
    const auto bit = static_cast<std::uint8_t>(1u << (num % 8));
    if (byte >= bits_.size() && !bits_.resize(byte * 2 + 64))
      return false;
    if ((bits_[byte] & bit) != 0)
      return false;
    bits_[byte] = static_cast<std::uint8_t>(bits_[byte] | bit);
    return true;
  }
  void clear() { bits_.clear(); }
  bool has(std::int32_t num) const {
    const auto byte = static_cast<std::size_t>(num) / 8;
    return num >= 1 && byte < bits_.size() && (bits_[byte] >> (num % 8) & 1) != 0;
  }

private:
  GrowArray<std::uint8_t> bits_;
};

}  // namespace sheaf
