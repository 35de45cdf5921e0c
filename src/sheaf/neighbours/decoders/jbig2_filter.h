// JBIG2Decode (ISO 32000-1, 7.4.7): the first page of a JBIG2 stream (ITU-T T.88), with the global
// segments that several streams may share.
#pragma once

#include <cstdint>

#include "sheaf/filters/stream_filter.h"
#include "sheaf/neighbours/decoders/jbig2.h"

/// Decodes the whole page when opened; reading only copies. Further pages are decoded and not used.
class CPDFStreamJBIG2 : public CPDFStream {
public:
  CQVJBIG2 decoder;                      ///< For the filter's own input.
  CQVJBIG2 globals;                      ///< For the global segments.
  QVJB2_Bitmap* page = nullptr;          ///< One reference is the filter's; null without a page.
  std::uint32_t read_pos = 0;            ///< Bytes handed out.
  std::int32_t page_size = 0;            ///< Bytes of the page.
  std::uint8_t* globals_data = nullptr;  ///< A copy of the global segments, owned.
  std::int32_t globals_len = 0;

  CPDFStreamJBIG2(std::uint8_t* block, std::int32_t len) : CPDFStream(block, len) { filter_type = kFilterJBIG2; }
  ~CPDFStreamJBIG2() override;

  /// Allocates the page records of both decoders, which must have happened before `open`.
  bool init() { return decoder.init() && globals.init(); }

  using CPDFStream::open;
  /// Decodes the input, after `len` bytes of global segments (copied) if there are any; null and 0
  /// for none. What the decoder gives: 0 for failure, and nothing will then be read.
  virtual int open(const unsigned char* globals_src, int len);
  /// The page's rows, a pixel a bit, black as 0 as in an image of one bit a component.
  int read_block(void* dst, int size) override;
  void close() override;

private:
  void release_page();
};
