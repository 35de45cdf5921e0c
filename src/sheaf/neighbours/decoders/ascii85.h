// ASCII85Decode (ISO 32000-1, 7.4.3).
#pragma once

#include "sheaf/filters/stream_filter.h"

class CPDFStreamASCII85 : public CPDFStream {
public:
  CPDFStreamASCII85(std::uint8_t* block, std::int32_t len) : CPDFStream(block, len) { filter_type = kFilterASCII85; }
  /// Passes the start marker "<~" that some writers leave in the data.
  void open() override;
  int read_block(void* dst, int size) override;

private:
  bool next_group();

  std::uint8_t group_[4];
  int group_pos_ = 0;
  int group_end_ = 0;
  bool ended_ = false;
};
