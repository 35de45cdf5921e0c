// Lets the failing heap refuse objects too: the library takes them from operator new (std::nothrow). What all forms
// of it give is counted. ThreadSanitizer's runtime cannot be linked beside another one; only blocks are refused there.
#include "support/refused_new.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include "support/failing_heap.h"
#include "support/sanitizer.h"

using namespace sheaf;

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define SHEAF_KEEPS_OPERATOR_NEW
#endif
#endif

namespace {
std::atomic<std::int64_t> bytes_given{0};
}

std::int64_t bytes_taken_by_new() {
  return bytes_given.load(std::memory_order_relaxed);
}

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

#ifndef SHEAF_HAS_SANITIZER
void* operator new(std::size_t size) {
  bytes_given.fetch_add(static_cast<std::int64_t>(size), std::memory_order_relaxed);
  if (void* const block = std::malloc(size != 0 ? size : 1))
    return block;
  throw std::bad_alloc();
}
void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}
#endif
#endif
