// A block that begins inside of its holder and moves to the heap when it becomes too small.
#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "sheaf/base/heap.h"

namespace sheaf {

template <class T, std::size_t kLocal>
class LocalBlock {
  static_assert(std::is_trivially_copyable_v<T>);

public:
  LocalBlock() = default;
  LocalBlock(const LocalBlock&) = delete;
  LocalBlock& operator=(const LocalBlock&) = delete;
  ~LocalBlock() { QVFree(heap_); }

  T* items() { return items_; }
  const T* items() const { return items_; }
  std::size_t capacity() const { return capacity_; }
  /// Makes room for `capacity` items and keeps the first `used` ones. False when there is no memory; the block then
  /// stays as it was.
  bool grow(std::size_t used, std::size_t capacity) {
    auto* grown = static_cast<T*>(QVRealloc(heap_, capacity * sizeof(T)));
    if (grown == nullptr)
      return false;
    if (heap_ == nullptr)
      std::memcpy(static_cast<void*>(grown), local_, used * sizeof(T));
    heap_ = items_ = grown;
    capacity_ = capacity;
    return true;
  }

private:
  T local_[kLocal];
  T* heap_ = nullptr;
  T* items_ = local_;
  std::size_t capacity_ = kLocal;
};

}  // namespace sheaf
