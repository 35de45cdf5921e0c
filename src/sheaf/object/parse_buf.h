// Parse buffers: at most 2,000 bytes that slide over a source. Always on the stack and never
// longer-lived than one call; nothing here allocates, but for the collected stream data. The byte
// after the valid data is a NUL, so that C string functions can run over file data.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sheaf/object/object.h"

class CQVStream;
struct PDF_XREF;

namespace sheaf {
/// Whether the header of an object, "N G obj", is at the start of `text`, all of it within 31 bytes.
/// What follows "obj" is not looked at.
bool is_object_header(const char* text, std::size_t available);
/// The start of the numbers of a header whose "obj" is at `word`, which begin at `from` at the earliest; null when
/// there are none.
const char* find_header_numbers(const char* from, const char* word);
/// The first such header in the bytes from `from` to `end` that begins a line, after the end of one in
/// them, or null. It ends data that lack their own end.
const char* find_header_line(const char* from, const char* end);
}  // namespace sheaf

class CPDFBuf {
public:
  static constexpr unsigned kFill = 2000;  ///< A fill reads at most this much.

  std::uint32_t buf_len = 0;  ///< Valid bytes in `buf_data`.
  std::uint32_t buf_pos = 0;  ///< Index of the next byte to look at.
  std::uint32_t buf_end = 0;  ///< Source position after the last byte taken in.
  char buf_data[2052];        ///< Room after the fill, for comparisons that overrun.

  CPDFBuf() { buf_data[0] = 0; }
  CPDFBuf(const CPDFBuf&) = delete;
  CPDFBuf& operator=(const CPDFBuf&) = delete;
  virtual ~CPDFBuf() = default;

  /// The source, for records of stream objects; null for memory. Borrowed.
  virtual CQVStream* get_stream() = 0;
  /// Up to `size` further bytes of the source to `dst`; their count.
  virtual int read(void* dst, int size) = 0;

  /// Absolute position of the next byte, in 32 bits.
  std::uint32_t position() const { return buf_pos + buf_end - buf_len; }

  /// The next 2,000 bytes replace the buffer; for when `buf_pos` has reached `buf_len`.
  void buf_refill();
  /// Makes `n` bytes contiguous at `buf_pos` if the source has them. Pointers taken before are invalid.
  void buf_need(unsigned n);
  /// Passes white space: the strict set, with NUL too when `wide`. False at the end of the data.
  bool buf_skip_ws(bool wide);
  /// Passes `n` bytes, refilling as needed.
  void buf_skip(unsigned n);
  /// An optional sign and decimal digits, wrapping in 32 bits; 0 without a digit.
  std::int32_t buf_read_int();

  /// Finds the next object header from `buf_pos`: its first digit in `buf_data`, or null.
  char* buf_skip_to_obj();
  /// Finds object `ref.num`: with `mode` 1 at a proper header, else wherever the number's text
  /// is. The generation is not looked at.
  char* buf_skip_to_obj(const PDF_REF& ref, int mode);
  /// Collects raw bytes up to "endstream", less one line end before it, into a new block that
  /// ends in a NUL. Lenient: data without "endstream" come without their last 8 bytes, and `len`
  /// can be -1. Null when there is no memory. The caller owns the result and releases it with QVFree.
  char* buf_read_stream_raw_data(int& len);
  /// Reads the lines of one classic subsection into `items[first]` and on; `late` not 0 stores
  /// type 4. The caller has made sure that the entries exist. Defined beside the section readers.
  void buf_read_xref_items(PDF_XREF* items, int first, int count, int late);
};

namespace sheaf {

/// Moves forward until the `len` bytes of `word` are at `buf_pos`. False at the end of the data.
bool skip_to_word(CPDFBuf& buf, const char* word, unsigned len);

/// The number of the object whose header "N G obj" begins at `offset` of `stream`, or -1.
std::int32_t header_number_at(CQVStream& stream, std::uint32_t offset);

}  // namespace sheaf

/// Over a CQVStream, from its present position on.
class CPDFBufBase : public CPDFBuf {
public:
  CQVStream* src_stream = nullptr;  ///< Borrowed.

  /// First fill from the present position of `s`.
  void buf_init(CQVStream* s);
  CQVStream* get_stream() override { return src_stream; }
  int read(void* dst, int size) override;
};

/// Over a block of memory: decoded object streams.
class CPDFBufMem : public CPDFBuf {
public:
  const std::uint8_t* mem_data = nullptr;  ///< Borrowed.
  std::uint32_t mem_pos = 0;               ///< Bytes handed out.
  std::uint32_t mem_size = 0;              ///< Bytes of the block.

  void buf_init_mem(const void* data, std::uint32_t size);
  /// Null: an object read from memory can never be a stream with data.
  CQVStream* get_stream() override { return nullptr; }
  int read(void* dst, int size) override;
};

namespace sheaf {

/// The generation in an object header, such as 3 in "12 3 obj": from the text, which ends in a NUL and
/// begins with the number. -1 when no header can bear it (ISO 32000-1, 7.3.10).
std::int32_t header_generation(const char* header);

}  // namespace sheaf
