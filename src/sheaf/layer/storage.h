// An application's own storage as the source, and where wanted the target, of a document.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "sheaf/base/stream.h"

namespace sheaf {

/// Three functions over bytes that have places. They are called in the thread that uses the document.
struct Storage {
  /// Puts up to `size` bytes from `offset` on into `to`; their count, less than `size` at the end only.
  std::function<std::size_t(std::uint64_t offset, std::uint8_t* to, std::size_t size)> read;
  /// How many bytes there are.
  std::function<std::uint64_t()> size;
  /// Takes `size` bytes for `offset` and on, which may lie behind the end; their count. Empty: nothing is written.
  std::function<std::size_t(std::uint64_t offset, const std::uint8_t* from, std::size_t size)> write;
};

namespace layer {

/// The storage as a stream, read through one block ahead.
class StorageStream : public CQVStream {
public:
  explicit StorageStream(Storage storage) : storage_(std::move(storage)) {}
  long long GetLen() const override;
  long long GetPos() const override { return pos_ - base_offset; }
  int SetPos(STR_SEEK whence, long long offset) override;
  unsigned int Read(void* dst, unsigned int size) override;
  unsigned int Write(const void* src, unsigned int size) override;
  bool can_write() const { return static_cast<bool>(storage_.write); }

private:
  static constexpr std::size_t kBlock = 16 * 1024;

  bool load(long long start);

  Storage storage_;
  long long pos_ = 0;
  std::vector<std::uint8_t> block_;
  long long block_start_ = -1;
};

}  // namespace layer

}  // namespace sheaf
