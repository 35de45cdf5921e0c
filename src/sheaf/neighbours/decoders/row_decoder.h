// What the decoders of whole images share: sizes, and rows handed out in pieces of any size.
#pragma once

#include "sheaf/filters/stream_filter.h"

/// Gives the rows of an image from the top, 8 bits a sample, the samples of a pixel side by side.
class CPDFRowDecoder : public CPDFStream {
public:
  using CPDFStream::CPDFStream;
  ~CPDFRowDecoder() override { release_rows(); }

  void close() override;
  int read_block(void* dst, int size) override;

  /// Pixels of a row, rows, and samples of a pixel as they are given; 0 without an image.
  std::int32_t width() const { return width_; }
  std::int32_t height() const { return height_; }
  std::int32_t components() const { return components_; }
  /// Makes ready to give rows, if that has not happened yet: sizes and components are known for good then. False when
  /// there are none.
  bool prepare() { return is_ready(); }
  /// Which component is opacity, -1: none; and whether the others are inks. Both are known once rows can be given.
  virtual std::int32_t opacity() const { return -1; }
  virtual bool is_cmyk() const { return false; }
  /// The samples are indexes into a palette of the document: one component as it is stored, neither spread over the
  /// range of a byte nor looked up in a palette of the data. Called before the first row.
  virtual void take_indexes() {}
  /// Bytes that the rows may come to together; a larger image gives none. 0: no such bound.
  void set_ceiling(std::int64_t bytes) { ceiling_ = bytes; }

protected:
  /// Called once, ahead of the first row. False when there are no rows.
  virtual bool begin() = 0;
  /// Decodes one row into `row`. False at the end; it is not called again then.
  virtual bool next_row(std::uint8_t* row) = 0;
  /// Called by `open` and, when they turn out to be others, by `begin`. False when they make no row.
  bool set_sizes(std::int64_t width, std::int64_t height, std::int64_t components);
  void release_rows();

private:
  enum class State : std::uint8_t { kFresh, kRows, kEnd };

  bool is_ready();
  bool is_too_large() const;
  bool fetch(std::uint8_t* row);

  std::uint8_t* row_ = nullptr;  // a row that was asked for in part
  std::int32_t row_bytes_ = 0;
  std::int32_t row_pos_ = 0;
  std::int32_t row_end_ = 0;
  std::int32_t width_ = 0;
  std::int32_t height_ = 0;
  std::int32_t components_ = 0;
  std::int64_t ceiling_ = 0;
  State state_ = State::kFresh;
};
