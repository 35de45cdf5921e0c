// Lets the failing heap refuse objects too: the library takes them from operator new (std::nothrow).
// ThreadSanitizer's runtime cannot be linked beside another one; only blocks are refused there.
#include <new>

#include "support/failing_heap.h"

using namespace sheaf;

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define SHEAF_KEEPS_OPERATOR_NEW
#endif
#endif

#ifndef SHEAF_KEEPS_OPERATOR_NEW
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  if (FailingHeap::current != nullptr && !FailingHeap::current->grants())
    return nullptr;
  try {
    return ::operator new(size);  // so that a sanitizer's own delete fits
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
#endif
