// Collects the bytes of one token: on the stack as long as they are few, on the heap beyond.
#pragma once

#include <cstring>

#include "sheaf/base/heap.h"

namespace sheaf {

class ByteCollector {
public:
  ByteCollector() = default;
  ByteCollector(const ByteCollector&) = delete;
  ByteCollector& operator=(const ByteCollector&) = delete;
  ~ByteCollector() { QVFree(heap_); }

  void clear() { size_ = 0; }
  void push(char c) {
    if (size_ < capacity_ || grow(1))
      bytes_[size_++] = c;
  }
  void append(const char* bytes, std::size_t count) {
    if (count > capacity_ - size_ && !grow(count))
      return;
    std::memcpy(bytes_ + size_, bytes, count);
    size_ += count;
  }
  const char* data() const { return bytes_; }
  std::size_t size() const { return size_; }

private:
  static constexpr std::size_t kLocal = 512;
  static constexpr std::size_t kMost = 0x7FFFFF00;  // lengths of strings have 31 bits

  // What does not fit for want of memory is left out.
  bool grow(std::size_t count) {
    const std::size_t wanted = size_ + count > capacity_ * 2 ? size_ + count : capacity_ * 2;
    if (wanted > kMost)
      return false;
    auto* grown = static_cast<char*>(QVRealloc(heap_, wanted));
    if (grown == nullptr)
      return false;
    if (heap_ == nullptr)
      std::memcpy(grown, local_, size_);
    heap_ = bytes_ = grown;
    capacity_ = wanted;
    return true;
  }

  char local_[kLocal];
  char* heap_ = nullptr;
  char* bytes_ = local_;
  std::size_t size_ = 0;
  std::size_t capacity_ = kLocal;
};

}  // namespace sheaf
