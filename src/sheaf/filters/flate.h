// FlateDecode (ISO 32000-1, 7.4.4; RFC 1950, RFC 1951).
#pragma once

#include <zlib.h>

#include <cstddef>
#include <new>

#include "sheaf/base/heap.h"
#include "sheaf/filters/stream_filter.h"

/// Inflates its block through a small output buffer. Objects come from the QVAlloc family.
class CPDFStreamFlate : public CPDFStream2 {
public:
  static constexpr int kOutSize = 2048;

  z_stream zstream;
  std::uint8_t out_buf[kOutSize];
  std::int32_t out_end = 0;  ///< Valid bytes in `out_buf`.
  std::int32_t out_pos = 0;  ///< Next byte of `out_buf` to hand out.

  CPDFStreamFlate(std::uint8_t* block, std::int32_t len);
  ~CPDFStreamFlate() override;
  static void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return QVAlloc(size); }
  static void operator delete(void* block) { QVFree(block); }
  static void operator delete(void* block, const std::nothrow_t&) { QVFree(block); }

  using CPDFStream2::open;
  void close() override;
  int read_block(void* dst, int size) override;
  int get_char2() override;
  int read_block2(void* dst, int size) override;
  bool decode_whole(std::size_t most) override;
  /// Starts decoding. Only `predictor` 1 means none: any other value, 0 too, builds one.
  virtual int open(unsigned int predictor, unsigned int columns, unsigned int colors, unsigned int bits_per_component);

  /// After the last byte. A checksum that is missing is no flaw.
  CPDFStreamFlaw flaw_at_end();

private:
  bool ends_before(std::uint8_t next);
  bool refill();
  int inflate_pieces(std::uint8_t* dst, int size);
  bool has_begun() const { return zstream.next_in != data || out_end != 0; }
  void release();

  std::uint8_t* whole_ = nullptr;  // all of the data, owned; null while they are inflated in pieces
  std::size_t whole_size_ = 0;
  std::size_t whole_pos_ = 0;
};
