// CCITTFaxDecode (ISO 32000-1, 7.4.6): ITU-T T.4, one- and two-dimensional, and T.6.
#pragma once

#include <array>
#include <cstdint>

#include "sheaf/filters/stream_filter.h"

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
  std::int32_t end_of_line = 0;  ///< "EndOfLine": matters only where the data leave it open.

  CPDFStreamFAX(std::uint8_t* block, std::int32_t len) : CPDFStream(block, len) { filter_type = kFilterCCITTFax; }
  ~CPDFStreamFAX() override;

  using CPDFStream::open;
  void close() override;
  /// One scanline into `dst`; `size` is at least (`columns` + 7) / 8. Gives `size`, or 0 when the
  /// decoder gives up.
  int read_block(void* dst, int size) override;
  virtual void open(int k_value, int columns_value, int rows_value, int align, int black_is_one);

  // The bit reader. Past the end of the input all bits are 0.
  /// The next `n` bits, 1 to 12, the first one highest.
  unsigned next_bits(int n);
  /// Moves the reader back by `n` bits.
  void give_back(int n);
  /// Passes the end-of-block code of T.6 data, if one is next, and the rest of its byte. Gives the
  /// index of the byte that the reader has then reached: the count of input bytes that the lines took.
  std::int32_t pass_end_of_block();

  /// The next white run, with all its make-up codes. Bad codes and ends of lines are passed over.
  int decodeWhiteCodeWord();
  /// The next black run. An unassigned code gives a run of 0; its first four bits are lost.
  int dec_black_word();
  /// Sets `count` pixels from `pos` on; never beyond the line.
  void set_bits(unsigned char* dst, int pos, int count) const;
  /// Goes on to the next end-of-line code, takes it, and gives the tag bit after it; 0 for failure.
  int readEOL(int is_first);
  /// Takes an end-of-line code with the fill before it, when it comes next.
  void skip_eol();
  /// Puts the reader at the first bit of the next end-of-line code: 1, or 0 without one.
  int seekEOL();

  // Single lines, drawn into the cleared `dst`; 0 ends the data.
  void dec_scanline(unsigned char* dst, int size);   ///< T.4, one-dimensional (T.4, 4.1).
  int decodeT42DLine(unsigned char* dst, int size);  ///< T.4, of either kind (T.4, 4.2).
  int decodeT6Line(unsigned char* dst, int size);    ///< T.6 (T.6, 2.2).

  static const std::array<std::uint16_t, 1024> ms_white;
  static const std::array<std::uint16_t, 16> ms_initBlack;
  static const std::array<std::uint16_t, 512> ms_black;
  static const std::array<std::uint16_t, 4> ms_twoBitBlack;
  static const std::array<std::uint16_t, 16> ms_additionalMakeup;
  static const std::array<std::uint8_t, 128> ms_twoDCodes;
  static const std::array<std::uint32_t, 9> ms_table1;  ///< The low i bits.
  static const std::array<std::uint32_t, 9> ms_table2;  ///< The high i bits of a byte.

private:
  class TwoDimensional;

  std::int32_t change_limit = 0;  // entries of a line array; 0 without one

  bool at_end() const { return byte_pos >= left; }
  std::int64_t position() const;
  void set_position(std::int64_t bit);
  std::int64_t next_one(std::int64_t bit) const;
  void align_to_byte();
  bool has_filled_eol() const;
  void put_change(int a0);
  bool white_run(int& a0);
  bool black_run(unsigned char* dst, int& a0);
  template <bool IsT6>
  int two_dimensional_line(unsigned char* dst);
};
