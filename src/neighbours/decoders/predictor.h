// PNG and TIFF predictors behind Flate and LZW (ISO 32000-1, 7.4.4.4; RFC 2083, 6; TIFF 6.0, 14).
#pragma once

#include <cstdint>

class CPDFStream2;

/// Undoes a predictor over the bare output of its source, row by row.
class CPDFPredictor {
public:
  /// `source` is borrowed. `predictor` 2 is TIFF's, 10 and above PNG's (each row names its own),
  /// anything else passes the data on. Parameters that make no row give no data.
  CPDFPredictor(CPDFStream2* source, int predictor, int columns, int colors, int bits_per_component);
  CPDFPredictor(const CPDFPredictor&) = delete;
  CPDFPredictor& operator=(const CPDFPredictor&) = delete;
  ~CPDFPredictor();

  /// Up to `size` bytes; 0 at the end of the data.
  int read_block(void* dst, int size);

private:
  bool next_row();
  void undo_png(int kind);
  void undo_tiff();
  template <class Sample>
  void undo_tiff_samples();
  void undo_tiff_bits();

  CPDFStream2* source_;
  int predictor_;
  int colors_;
  int bits_;
  int samples_ = 0;              // samples of a row
  int row_bytes_ = 0;            // bytes of a row without PNG's tag
  int pixel_bytes_ = 1;          // distance of PNG's left neighbour
  std::uint8_t* row_ = nullptr;  // pixel_bytes_ of zeros, then the row
  std::uint8_t* above_ = nullptr;
  int pos_ = 0;
  int end_ = 0;  // bytes of the present row
};
