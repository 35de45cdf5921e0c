// The stack of a walk over nested values: local as long as the nesting is shallow, on the heap
// beyond, so that no depth can end the C stack.
#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "sheaf/base/heap.h"

namespace sheaf {

template <class T, std::size_t kLocal>
class WorkStack {
  static_assert(std::is_trivially_copyable_v<T>);

public:
  WorkStack() = default;
  WorkStack(const WorkStack&) = delete;
  WorkStack& operator=(const WorkStack&) = delete;
  ~WorkStack() { QVFree(heap_); }

  bool empty() const { return depth_ == 0; }
  std::size_t depth() const { return depth_; }
  /// Borrowed; valid until the next push.
  T& top() { return items_[depth_ - 1]; }
  const T& top() const { return items_[depth_ - 1]; }
  void pop() { --depth_; }
  /// False when there is no memory; the stack then stays as it was.
  bool push(const T& item) {
    if (depth_ == capacity_ && !grow())
      return false;
    items_[depth_++] = item;
    return true;
  }

private:
  bool grow() {
    const std::size_t capacity = capacity_ * 2;
    auto* grown = static_cast<T*>(QVRealloc(heap_, capacity * sizeof(T)));
    if (grown == nullptr)
      return false;
    if (heap_ == nullptr)
      std::memcpy(static_cast<void*>(grown), local_, sizeof(local_));
    heap_ = items_ = grown;
    capacity_ = capacity;
    return true;
  }

  T local_[kLocal];
  T* heap_ = nullptr;
  T* items_ = local_;
  std::size_t depth_ = 0;
  std::size_t capacity_ = kLocal;
};

}  // namespace sheaf
