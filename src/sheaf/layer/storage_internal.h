// An application's storage as a stream.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "sheaf/base/stream.h"
#include "sheaf/layer/document.h"

namespace sheaf::layer {

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

}  // namespace sheaf::layer
