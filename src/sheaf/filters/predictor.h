// PNG and TIFF predictors after Flate and LZW (ISO 32000-1, 7.4.4.4; RFC 2083, 6; TIFF 6.0, 14).
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
  bool fetch_rows();
  bool next_row();
  int copy_up_rows(std::uint8_t* out, int size);
  void undo_tiff(std::uint8_t* row) const;

  CPDFStream2* source_;
  int predictor_;
  int colors_;
  int bits_;
  int samples_ = 0;                 // samples of a row
  int row_bytes_ = 0;               // bytes of a row without PNG's tag
  int tag_bytes_ = 0;               // 1 for PNG
  int pixel_bytes_ = 1;             // distance of PNG's left neighbour
  int room_ = 0;                    // bytes of the rows fetched at once
  std::uint8_t* block_ = nullptr;   // the row above the first one fetched, then the rows
  std::uint8_t* above_ = nullptr;   // the row above the present one
  std::uint8_t* row_ = nullptr;     // the present row
  std::uint8_t* fetch_ = nullptr;   // the next row to undo
  std::uint8_t* filled_ = nullptr;  // after the last byte fetched
  int pos_ = 0;
  int end_ = 0;  // bytes of the present row
};
