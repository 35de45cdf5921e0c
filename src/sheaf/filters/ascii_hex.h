// ASCIIHexDecode (ISO 32000-1, 7.4.2).
#pragma once

#include "sheaf/filters/stream_filter.h"

/// Every byte that is no digit is passed over, the end marker too: the block has the stream's length.
class CPDFStreamASCIIHex : public CPDFStream {
public:
  CPDFStreamASCIIHex(std::uint8_t* block, std::int32_t len) : CPDFStream(block, len) { filter_type = kFilterASCIIHex; }
  int read_block(void* dst, int size) override;

private:
  int next_digit();

  bool ends_ = false;  // the end marker was met
};
