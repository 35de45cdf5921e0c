// Encodes rows of one bit a pixel as CCITT Group 4 (ITU-T T.6).
#pragma once

#include <cstddef>
#include <cstdint>

#include "sheaf/base/grow_array.h"

namespace sheaf {

class FaxEncoder {
public:
  /// `columns` at least 1.
  explicit FaxEncoder(std::int32_t columns);
  FaxEncoder(const FaxEncoder&) = delete;
  FaxEncoder& operator=(const FaxEncoder&) = delete;

  /// The next row, (`columns` + 7) / 8 bytes in which a 0 is a black pixel. False when there is no memory.
  bool add_row(const unsigned char* row);
  /// Ends the data. False when there is no memory.
  bool finish();
  const GrowArray<unsigned char>& data() const { return data_; }

private:
  struct Code;

  bool find_changes(const unsigned char* row);
  void put(std::uint32_t bits, unsigned count);
  void put_run(std::int32_t run, bool black);

  std::int32_t columns_;
  GrowArray<std::int32_t> above_;  // places where the colour changes in the row above, and `columns` three times
  GrowArray<std::int32_t> row_;    // the same of this row
  GrowArray<unsigned char> data_;
  std::uint32_t held_ = 0;
  unsigned held_bits_ = 0;
  bool failed_ = false;
};

}  // namespace sheaf
