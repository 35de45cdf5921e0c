// RunLengthDecode (ISO 32000-1, 7.4.5).
#pragma once

#include "sheaf/filters/stream_filter.h"

class CPDFStreamRunlen : public CPDFStream {
public:
  static constexpr int kLongestRun = 128;

  std::uint8_t run_buf[kLongestRun];
  std::uint8_t* run_start = run_buf;  ///< Next byte to hand out.
  std::uint8_t* run_end = run_buf;    ///< After the last valid byte.
  std::int32_t run_state = 0;         ///< 1 once the end of the data has been met.

  CPDFStreamRunlen(std::uint8_t* block, std::int32_t len) : CPDFStream(block, len) { filter_type = kFilterRunLength; }
  void open() override;
  int read_block(void* dst, int size) override;
  /// Decodes the next run into `run_buf`; 0 at the end of the data.
  int fill_buf();
};
