// DCTDecode (ISO 32000-1, 7.4.8): JPEG by libjpeg, baseline and progressive, 8 bits a sample.
#pragma once

#include "sheaf/neighbours/decoders/row_decoder.h"

namespace sheaf {

struct JpegSteps;

}  // namespace sheaf

struct jpeg_common_struct;

/// The samples are grey, red green blue, or four inks as the data have them (an Adobe file's are
/// inverted, which the image's "Decode" says). Rows are decoded as they are asked for. Data that
/// end early give the rows for which there are any.
class CPDFStreamDCT : public CPDFRowDecoder {
public:
  CPDFStreamDCT(std::uint8_t* block, std::int32_t len);
  ~CPDFStreamDCT() override;

  using CPDFRowDecoder::open;
  void close() override;
  /// Reads the header. `color_transform` is the filter's parameter, -1 for none: 0 says that three
  /// components are red, green and blue, 1 that they are luminance and chrominance, or with a fourth
  /// one inks transformed so. A marker in the data overrides it. 1, or 0 when there is no image.
  virtual int open(int color_transform);

  /// libjpeg's `error_exit`: ends the step that runs, and with it the stream.
  static void error_reporter(jpeg_common_struct* cinfo);

protected:
  bool begin() override;
  bool next_row(std::uint8_t* row) override;

private:
  void release();

  sheaf::JpegSteps* jpeg_ = nullptr;
};
