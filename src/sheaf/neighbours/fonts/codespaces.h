// Where the codes of a string end: the codespace ranges of a character map (ISO 32000-1, 9.7.6.2).
// Each byte of a code must lie between the bytes of its range at the same place.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/neighbours/fonts/code_ranges.h"

namespace sheaf {

class Codespaces {
public:
  struct Range {
    std::uint8_t bytes;
    std::uint8_t lo[kMostCodeBytes];
    std::uint8_t hi[kMostCodeBytes];
  };
  /// What a code costs grows with the number of ranges; real maps have less than ten.
  static constexpr std::size_t kMostRanges = 256;

  /// Adds codes of `bytes` (1 to 4) bytes between the big-endian `lo` and `hi`. A range that is
  /// there already, that runs backwards or that is one too many is ignored.
  void add(int bytes, std::uint32_t lo, std::uint32_t hi);
  void add_all(const Codespaces& other);
  /// To be called after the last `add` and before the first `next`.
  void finish();
  bool empty() const { return ranges_.empty(); }

  /// Takes the first code off the `len` bytes at `text`: the bytes that it takes up, 0 when `len` is
  /// below 1. `valid` says whether a range contains the code; if none does, the range that matches
  /// most of it says how many bytes are passed (ISO 32000-1, 9.7.6.3).
  int next(const std::uint8_t* text, int len, std::uint32_t& code, bool& valid) const;

private:
  const Range* find_valid(const std::uint8_t* text, int len) const;
  int invalid_bytes(const std::uint8_t* text, int len) const;

  static constexpr std::uint16_t kSeveral = 0xFFFF;

  GrowArray<Range> ranges_;        // the shortest codes first
  std::uint16_t by_first_[256]{};  // the one range that a first byte fits, plus one; 0 none
};

}  // namespace sheaf
