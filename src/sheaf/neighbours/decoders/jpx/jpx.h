// JPXDecode (ISO 32000-1, 7.4.9): JPEG 2000 by OpenJPEG, as a JP2 file or a bare code stream.
#pragma once

#include "sheaf/neighbours/decoders/row_decoder.h"

namespace sheaf {

class JpxSource;

}  // namespace sheaf

/// All components, also those of opacity, interleaved at 8 bits a sample: deeper samples lose their
/// low bits, shallower ones are spread over the whole range. Components of fewer samples are brought
/// to the size of the image, a palette is applied, luminance and chrominance become red, green and
/// blue. The sizes are those of the headers until the first samples are asked for; then all samples
/// are decoded at once.
class CPDFStreamJPX : public CPDFRowDecoder {
public:
  /// Images of more components give no data.
  static constexpr std::int32_t kMostComponents = 32;

  CPDFStreamJPX(std::uint8_t* block, std::int32_t len);
  ~CPDFStreamJPX() override;

  /// Reads the headers.
  void open() override;
  void close() override;

  std::int32_t opacity() const override { return opacity_; }
  bool is_cmyk() const override { return is_cmyk_; }
  void take_indexes() override;

  /// OpenJPEG's event handlers; both do nothing.
  static void opj_error_callback(const char* msg, void* client);
  static void opj_warning_callback(const char* msg, void* client);

protected:
  bool begin() override;
  bool next_row(std::uint8_t* row) override;

private:
  void release();
  bool open_source();
  bool take_sizes();
  bool has_all_planes() const;
  void put_component(std::int32_t index, std::uint8_t* row) const;

  sheaf::JpxSource* source_ = nullptr;
  std::int32_t row_index_ = -1;
  std::int32_t opacity_ = -1;
  bool has_chrominance_ = false;
  bool is_cmyk_ = false;
  bool is_indexed_ = false;
};
