// LZWDecode (ISO 32000-1, 7.4.4).
#pragma once

#include "filters/stream_filter.h"

/// Codes of 9 to 12 bits, most significant bit first. The table lives within the object.
class CPDFStreamLZW : public CPDFStream2 {
public:
  CPDFStreamLZW(std::uint8_t* block, std::int32_t len);
  ~CPDFStreamLZW() override;

  using CPDFStream2::open;
  void close() override;
  int read_block(void* dst, int size) override;
  int get_char2() override;
  int read_block2(void* dst, int size) override;
  /// Starts decoding. Only `predictor` 1 means none. `early_change` 0 widens codes one code later.
  virtual int open(int predictor, int columns, int colors, int bits_per_component, int early_change);

private:
  static constexpr int kCodes = 4096;

  int next_code();
  bool next_string();
  void add_entry(std::uint8_t last);

  std::uint16_t prefix_[kCodes];
  std::uint16_t length_[kCodes];
  std::uint8_t suffix_[kCodes];
  std::uint8_t first_[kCodes];
  std::uint8_t string_[kCodes + 1];  // the string of the present code
  int string_pos_ = 0;
  int string_end_ = 0;
  int next_entry_ = 0;
  int previous_ = -1;
  int width_ = 9;
  int early_ = 1;
  std::uint32_t window_ = 0;
  int window_bits_ = 0;
  bool ended_ = false;
};
