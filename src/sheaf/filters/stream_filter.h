// Stream filters: the base of all decoders, which is also the identity decoder and the owner of
// the input block. A filter never pulls from another filter: it owns its whole input in memory.
// Damaged input gives what could be decoded and then 0; no filter has an error state.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sheaf/base/heap.h"

class CPDFPredictor;

enum CPDFFilterType : std::int32_t {
  kFilterNone = 0,
  kFilterASCIIHex = 1,
  kFilterASCII85 = 2,
  kFilterLZW = 3,
  kFilterRunLength = 4,
  kFilterCCITTFax = 5,
  kFilterDCT = 6,
  kFilterFlate = 7,
  kFilterJBIG2 = 8,
  kFilterJPX = 9,
};

/// Why a decoder gave less than was encoded, or something else.
enum CPDFStreamFlaw : std::int32_t {
  kFlawNone = 0,
  kFlawEarlyEnd = 1,  ///< The data are cut off, or damaged beyond what can be decoded.
  kFlawLimit = 2,     ///< They ask for more work or memory than data of their length may take.
  kFlawChecksum = 3,  ///< They were decoded to their end, where a checksum says that they were changed.
};

/// Base of the decoders; by itself it hands out its input unchanged.
class CPDFStream : public QVHeapObject<CPDFStream> {
public:
  std::int32_t filter_type = kFilterNone;  ///< Set once at construction; for the code above.
  std::uint8_t* data = nullptr;            ///< The input block, from the QVAlloc family.
  std::uint8_t* cursor = nullptr;          ///< Next unread input byte.
  std::int32_t left = 0;                   ///< Input bytes not yet consumed.
  std::int32_t size_hint = 0;              ///< Expected output size, the first estimate of buffer_load.
  std::int32_t borrowed = 0;               ///< Not 0: `data` is not to be freed.
  /// What is known so far, of this stage or of one before it; `find_flaw` in stream_flaw.h completes it.
  CPDFStreamFlaw flaw = kFlawNone;

  /// Takes over `block` of `len` bytes.
  CPDFStream(std::uint8_t* block, std::int32_t len) : data(block), cursor(block), left(len), size_hint(len) {}
  CPDFStream(const CPDFStream&) = delete;
  CPDFStream& operator=(const CPDFStream&) = delete;
  virtual ~CPDFStream();

  virtual void open() {}
  /// Releases the input block and clears `data`, `cursor`, `left`, `borrowed`. Harmless twice.
  virtual void close();
  /// Decodes up to `size` (at least 1) bytes into `dst`; their count, 0 at the end.
  virtual int read_block(void* dst, int size);

  /// Runs the decoder to its end into one block, which ends in a NUL that is not counted.
  /// `len` comes in as an estimate (0 none) and goes out as the count of bytes. Growth stops,
  /// silently, at the step that would pass `max_len`. Null when there is no memory.
  /// The caller owns the result and releases it with QVFree.
  std::uint8_t* buffer_load(int max_len, int& len);

  /// Decodes everything now, for who wants all of it: the bytes come from memory then. It takes less time and more
  /// memory, `most` bytes of it and a third. False, and nothing changes, where a decoder cannot, or not within `most`
  /// bytes, where the data are damaged, and once reading has begun.
  virtual bool decode_whole(std::size_t most);

  /// The `max_len` for draining what is no picture: `most`, but little for the decoders of images,
  /// some of which go on with blank rows for ever.
  int most_text(int most) const;
  /// Whether this is a decoder of images.
  bool is_picture() const {
    return filter_type == kFilterCCITTFax || filter_type == kFilterDCT || filter_type == kFilterJBIG2 ||
           filter_type == kFilterJPX;
  }
};

/// Base of the two decoders whose output a predictor can post-process.
class CPDFStream2 : public CPDFStream {
public:
  using CPDFStream::CPDFStream;
  CPDFPredictor* predictor = nullptr;  ///< Owned; null when none applies.

  /// The next byte of the bare decompressor, or -1 at the end.
  virtual int get_char2() = 0;
  /// Up to `size` bytes of the bare decompressor.
  virtual int read_block2(void* dst, int size) = 0;
};

namespace sheaf {

/// The long form of a filter's name that may be in its short form; any other name, null too, as it is.
const char* long_filter_name(const char* name);

}  // namespace sheaf
