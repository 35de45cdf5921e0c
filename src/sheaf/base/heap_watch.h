// Whether memory was refused while something was made: many steps leave out silently what they have
// no memory for, and what lacks a part must not be handed out as whole.
#pragma once

#include "sheaf/base/heap.h"

namespace sheaf {

/// Knows whether the requests of this thread have all been granted since it was made.
class HeapWatch {
public:
  bool all_granted() const { return heap_refusals() == before_; }

private:
  std::uint64_t before_ = heap_refusals();
};

}  // namespace sheaf
