// Deflates data that come up in pieces (RFC 1950).
#pragma once

#include <zlib.h>

#include <cstddef>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"

namespace sheaf {

class Deflater {
public:
  /// `level` 1 to 9.
  explicit Deflater(int level);
  Deflater(const Deflater&) = delete;
  Deflater& operator=(const Deflater&) = delete;
  ~Deflater();

  void add(const void* data, std::size_t size);
  /// Ends the data. False when there was no memory for them, or when they come to 2 GiB.
  bool finish();
  unsigned char* data() const { return block_.get(); }
  std::size_t size() const { return size_; }
  unsigned char* release() { return block_.release(); }
  /// Begins anew, with the memory that there is.
  void restart();

private:
  void run(int flush);
  bool make_room();

  z_stream zstream_{};
  HeapBlock<unsigned char> block_;
  std::size_t size_ = 0;
  std::size_t room_ = 0;
  bool failed_ = false;
};

/// Whether there is a slower way that makes data smaller than level 9 does.
bool has_most_effort();
/// Deflates a block with a level of 1 to 9, or PDF_WRITE_OPTIONS::kMostEffort. Null when there is no memory.
/// The caller releases the block with QVFree.
unsigned char* deflate_block(const unsigned char* data, std::size_t size, int level, std::size_t& out_size);

}  // namespace sheaf
