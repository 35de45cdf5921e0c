// The application's storage as a stream.
#include "sheaf/layer/storage_internal.h"

#include <algorithm>
#include <cstring>

#include "sheaf/base/work_watch.h"

namespace sheaf::layer {

long long StorageStream::GetLen() const {
  return storage_.size ? static_cast<long long>(storage_.size()) - base_offset : 0;
}

int StorageStream::SetPos(STR_SEEK whence, long long offset) {
  const long long origin = whence == STR_SEEK_SET   ? base_offset
                           : whence == STR_SEEK_CUR ? pos_
                                                    : GetLen() + base_offset;
  long long target = 0;
  if (!__builtin_add_overflow(origin, offset, &target) && target >= 0)
    pos_ = target;
  return 1;
}

bool StorageStream::load(long long start) {
  if (block_start_ == start)
    return true;
  block_.resize(kBlock);
  const std::size_t got = storage_.read ? storage_.read(static_cast<std::uint64_t>(start), block_.data(), kBlock) : 0;
  block_.resize(std::min(got, kBlock));
  block_start_ = start;
  return !block_.empty();
}

unsigned int StorageStream::Read(void* dst, unsigned int size) {
  auto* const out = static_cast<std::uint8_t*>(dst);
  unsigned total = 0;
  while (total < size && !WorkWatch::step()) {
    const long long start = pos_ - pos_ % static_cast<long long>(kBlock);
    const auto within = static_cast<std::size_t>(pos_ - start);
    if (!load(start) || within >= block_.size())
      break;
    const auto count = static_cast<unsigned>(std::min<std::size_t>(size - total, block_.size() - within));
    std::memcpy(out + total, block_.data() + within, count);
    total += count;
    pos_ += count;
  }
  return total;
}

unsigned int StorageStream::Write(const void* src, unsigned int size) {
  block_start_ = -1;
  if (!storage_.write)
    return 0;
  const std::size_t done =
      storage_.write(static_cast<std::uint64_t>(pos_), static_cast<const std::uint8_t*>(src), size);
  pos_ += static_cast<long long>(std::min<std::size_t>(done, size));
  return static_cast<unsigned>(std::min<std::size_t>(done, size));
}

}  // namespace sheaf::layer
