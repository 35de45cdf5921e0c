// LZWDecode (ISO 32000-1, 7.4.4).
#pragma once

#include "sheaf/filters/stream_filter.h"

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

  struct Entry {
    std::uint16_t prefix;  // the code of all bytes but the last
    std::uint16_t length;
    std::uint8_t suffix;  // the last byte
    std::uint8_t first;
  };

  bool fill_window();
  int next_code();
  int next_string_code();
  void add_entry(std::uint8_t last);
  void put_string(int code, std::uint8_t* dst) const;
  bool next_string();

  Entry entries_[kCodes];
  std::uint8_t string_[kCodes];  // a string for which a request had no room, or asked for by the byte
  int string_pos_ = 0;
  int string_end_ = 0;
  int next_entry_ = 0;
  int previous_ = -1;
  int width_ = 9;
  int early_ = 1;
  std::uint64_t window_ = 0;
  int window_bits_ = 0;
  bool ended_ = false;
};
