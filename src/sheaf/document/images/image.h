// Image XObjects as their dictionaries describe them (ISO 32000-1, 8.9.5).
#pragma once

#include <cstdint>

#include "sheaf/object/object.h"

class CPDFStream;
class CPDFXRefTable;

/// One image. The dictionary is copied; the data are read from the table's streams, so that the
/// table must outlive the object.
class CPDFImage {
public:
  CPDFImage() = default;
  CPDFImage(const CPDFImage&) = delete;
  CPDFImage& operator=(const CPDFImage&) = delete;
  ~CPDFImage();

  std::int32_t width = 0;            ///< Pixels of a row; 0 when the dictionary has no usable number.
  std::int32_t height = 0;           ///< Rows.
  std::int32_t bits = 0;             ///< Bits a component; 0 when the data state them.
  bool is_mask = false;              ///< A stencil of one bit a pixel.
  CPDFObj colour_space{};            ///< "ColorSpace", the reference followed, or null.
  CPDFObj decode{};                  ///< "Decode", the reference followed.
  std::int32_t filter_count = 0;     ///< Filters in the chain.
  char filter[24] = {};              ///< Name of the last one, in its long form; "" without one.
  std::int32_t stored_length = 0;    ///< Bytes of the data as stored.
  std::int32_t opacity_in_data = 0;  ///< "SMaskInData"; 0: opacity in the data does not count.

  /// Reads the dictionary of `obj`, an image's stream object. What an earlier image left is released.
  /// False when it is no image.
  bool load(CPDFXRefTable& table, const CPDFObj& obj);
  /// The data with all filters but the last one taken off: a JPEG file for DCTDecode. Null when they
  /// cannot be had. The caller owns the block, a NUL after it, and releases it with QVFree.
  std::uint8_t* load_encoded(std::int32_t& len) const;
  /// The parameters of the last filter, none when it has no dictionary of them; `out` is empty.
  void last_parms(CPDFDictionary& out) const;
  /// The decoded data, or null: rows of samples one after the other, to be read in pieces of any
  /// size. Those of CCITTFaxDecode, whose data need not end, end with the height, which "Rows" gives
  /// when the image has none. The caller deletes the result.
  CPDFStream* open_samples() const;

private:
  void read_filter(const CPDFObj* item);

  CPDFXRefTable* table_ = nullptr;
  CPDFObj stream_{};
};
