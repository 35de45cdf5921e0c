// CCITTFaxDecode (ISO 32000-1, 7.4.6): ITU-T T.4, one- and two-dimensional, and T.6.
#pragma once

#include <array>
#include <cstdint>

#include "filters/stream_filter.h"

/// Decodes one scanline a call of `read_block`. Lenient: neither "Rows" nor the end of the data ends
/// the lines of T.4 one-dimensional and T.6 streams; the caller reads as many as the image has.
class CPDFStreamFAX : public CPDFStream {
public:
  std::int32_t k = 0;           ///< Negative T.6, 0 T.4 one-dimensional, positive T.4 mixed.
  std::int32_t first_line = 1;  ///< 1 until the first line of a mixed stream has been read.
  std::int32_t black_is1 = 0;   ///< "BlackIs1".
  std::int32_t columns = 0;     ///< Pixels a line.
  std::int32_t rows = 0;        ///< "Rows"; stored only.
  std::int32_t b1 = 0;          ///< Changing elements of the reference line found last.
  std::int32_t b2 = 0;
  std::int32_t bit_pos = 0;       ///< Next bit of the byte at `byte_pos`, 0 the most significant.
  std::int32_t byte_pos = 0;      ///< Index into the input.
  std::int32_t byte_align = 0;    ///< "EncodedByteAlign".
  std::int32_t change_count = 0;  ///< Entries of the line array written last.
  std::int32_t* runs = nullptr;   ///< One block for both line arrays, owned.
  std::int32_t* ref_line = nullptr;
  std::int32_t* cur_line = nullptr;
  std::int32_t last_change = 0;  ///< Where the search for b1 last stopped in `ref_line`.
  std::int32_t eol_padded = 0;   ///< Not 0: end-of-line codes end on a byte boundary.

  CPDFStreamFAX(std::uint8_t* block, std::int32_t len) : CPDFStream(block, len) { filter_type = kFilterCCITTFax; }
  ~CPDFStreamFAX() override;

  using CPDFStream::open;
  void close() override;
  /// One scanline into `dst`; `size` is at least (`columns` + 7) / 8. Gives `size`, or 0 when the
  /// decoder gives up.
  int read_block(void* dst, int size) override;
  virtual void open(int k_value, int columns_value, int rows_value, int align, int black_is_one);

  // The bit reader. Past the end of the input all bits are 0.
  unsigned next_bits(int n);
  void give_back(int n);

  int decodeWhiteCodeWord();
  int dec_black_word();
  /// Sets `count` pixels from `pos` on; never beyond the line.
  void set_bits(unsigned char* dst, int pos, int count) const;
  int readEOL(int is_first);
  void skip_eol();
  int seekEOL();
  void dec_scanline(unsigned char* dst, int size);
  int decodeT42DLine(unsigned char* dst, int size);
  int decodeT6Line(unsigned char* dst, int size);

  static const std::array<std::uint16_t, 1024> ms_white;
  static const std::array<std::uint16_t, 16> ms_initBlack;
  static const std::array<std::uint16_t, 512> ms_black;
  static const std::array<std::uint16_t, 4> ms_twoBitBlack;
  static const std::array<std::uint16_t, 16> ms_additionalMakeup;
  static const std::array<std::uint8_t, 128> ms_twoDCodes;
  static const std::array<std::uint32_t, 9> ms_table1;  ///< The low i bits.
  static const std::array<std::uint32_t, 9> ms_table2;  ///< The high i bits of a byte.

private:
  struct TwoDimensional;

  bool at_end() const { return byte_pos >= left; }
  void put_change(int index, int position);
  bool white_run(int& a0);
  bool black_run(unsigned char* dst, int& a0);
  void align_to_byte();
  void find_b(bool black, int threshold);
  void start_two_dimensional();
  void horizontal(unsigned char* dst, TwoDimensional& line, bool cut);
  void uncompressed(unsigned char* dst, TwoDimensional& line);
};
