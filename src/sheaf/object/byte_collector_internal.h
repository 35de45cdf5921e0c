// Collects the bytes of one token: on the stack as long as they are few, on the heap beyond.
#pragma once

#include <cstddef>
#include <cstring>

#include "sheaf/object/local_block_internal.h"

namespace sheaf {

class ByteCollector {
public:
  void clear() { size_ = 0; }
  void push(char c) {
    if (size_ < block_.capacity() || grow(1))
      block_.items()[size_++] = c;
  }
  void append(const char* bytes, std::size_t count) {
    if (count > block_.capacity() - size_ && !grow(count))
      return;
    std::memcpy(block_.items() + size_, bytes, count);
    size_ += count;
  }
  const char* data() const { return block_.items(); }
  std::size_t size() const { return size_; }

private:
  static constexpr std::size_t kLocal = 512;
  static constexpr std::size_t kMost = 0x7FFFFF00;  // lengths of strings have 31 bits

  // What does not fit for want of memory is left out.
  bool grow(std::size_t count) {
    const std::size_t twice = block_.capacity() * 2;
    const std::size_t wanted = size_ + count > twice ? size_ + count : twice;
    return wanted <= kMost && block_.grow(size_, wanted);
  }

  LocalBlock<char, kLocal> block_;
  std::size_t size_ = 0;
};

}  // namespace sheaf
