// The stack of a walk over nested values: local as long as the nesting is shallow, on the heap
// beyond, so that no depth can end the C stack.
#pragma once

#include <cstddef>

#include "sheaf/object/local_block_internal.h"

namespace sheaf {

template <class T, std::size_t kLocal>
class WorkStack {
public:
  bool empty() const { return depth_ == 0; }
  std::size_t depth() const { return depth_; }
  /// Borrowed; valid until the next push.
  T& top() { return block_.items()[depth_ - 1]; }
  const T& top() const { return block_.items()[depth_ - 1]; }
  void pop() { --depth_; }
  /// False when there is no memory; the stack then stays as it was.
  bool push(const T& item) {
    if (depth_ == block_.capacity() && !block_.grow(depth_, depth_ * 2))
      return false;
    block_.items()[depth_++] = item;
    return true;
  }

private:
  LocalBlock<T, kLocal> block_;
  std::size_t depth_ = 0;
};

}  // namespace sheaf
