// Compresses the entries of a cross-reference stream while they come up: through a staging buffer
// of 4,096 bytes into deflate with a sync flush each time. The bytes of the section follow from
// where the flushes are, so these are kept exactly.
#pragma once

#include <zlib.h>

#include <cstddef>
#include <cstdint>

namespace sheaf {

class EntryDeflater {
public:
  static constexpr unsigned kStaging = 4096;

  /// `flush_at` is the fill of the staging buffer at which it is compressed, tested before an
  /// entry is staged.
  explicit EntryDeflater(unsigned flush_at) : flush_at_(flush_at) {}
  EntryDeflater(const EntryDeflater&) = delete;
  EntryDeflater& operator=(const EntryDeflater&) = delete;
  ~EntryDeflater();

  /// Takes a block of `size` bytes for the output. False when there is no memory.
  bool open(std::size_t size);
  /// To be called before the fields of each entry.
  void begin_entry();
  /// Stages the low `width` bytes of `value`, big-endian.
  void field(std::uint32_t value, unsigned width);
  /// Ends the stream; `len` gets its size. Null when memory ran out on the way. Borrowed.
  std::uint8_t* finish(std::uint32_t& len);

private:
  // Room that one compression of a full staging buffer can need, stored blocks and markers included.
  static constexpr unsigned kFlushRoom = kStaging + 512;

  void compress();
  bool make_room();

  z_stream zstream_{};
  std::uint8_t* block_ = nullptr;
  std::size_t size_ = 0;
  unsigned flush_at_;
  unsigned staged_ = 0;
  bool failed_ = false;
  std::uint8_t staging_[kStaging];
};

}  // namespace sheaf
