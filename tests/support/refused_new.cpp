// Lets the failing heap refuse objects too: the library takes them from operator new (std::nothrow).
#include <new>

#include "support/failing_heap.h"

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  if (FailingHeap::current != nullptr && !FailingHeap::current->grants())
    return nullptr;
  try {
    return ::operator new(size);  // so that a sanitizer's own delete fits
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
