// Encodes rows of one bit a pixel as one generic region of JBIG2 (ITU-T T.88, 6.2, 7.4.6), without loss.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/heap.h"

namespace sheaf {

class Jbig2Encoder : public QVHeapObject<Jbig2Encoder> {
public:
  /// Both at least 1.
  Jbig2Encoder(std::int32_t columns, std::int32_t rows);
  Jbig2Encoder(const Jbig2Encoder&) = delete;
  Jbig2Encoder& operator=(const Jbig2Encoder&) = delete;

  /// The next of the rows, (`columns` + 7) / 8 bytes in which a 0 is a black pixel. False when there is no memory.
  bool add_row(const unsigned char* row);
  /// Ends the data once all rows are there. False when there is no memory.
  bool finish();
  /// The segments of an embedded stream (ISO 32000-1, 7.4.7).
  const GrowArray<unsigned char>& data() const { return data_; }

private:
  void put(std::uint32_t value, unsigned bytes);
  void put_segment(unsigned type, std::uint32_t size);
  void code(std::uint8_t& context, unsigned pixel);
  void code_row(const unsigned char* row);
  void put_coded_byte();

  std::int32_t columns_;
  std::int32_t rows_;
  std::size_t row_size_;
  GrowArray<unsigned char> lines_[3];  // this row and the two above it, a 1 for black, with blank bytes around
  bool was_typical_ = false;
  GrowArray<unsigned char> data_;
  std::size_t region_at_ = 0;  // where the region's data begin
  bool failed_ = false;

  // The arithmetic coder, with the names of T.88, Annex E.
  std::array<std::uint8_t, 1 << 16> contexts_{};
  std::uint32_t a_ = 0x8000;
  std::uint32_t c_ = 0;
  unsigned ct_ = 12;
  unsigned last_ = 0;  // the last byte, to which a carry may still be added
  bool has_last_ = false;
};

}  // namespace sheaf
