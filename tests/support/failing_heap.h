// A heap for tests: fresh blocks are filled with a pattern, one request can be refused, and what
// is still held at the end is known. Objects that come from operator new (std::nothrow) count as
// requests too (refused_new.cpp); that none of them is lost is for the leak checker to say.
#pragma once

#include <cstdlib>
#include <cstring>

#include "sheaf/base/heap.h"

using namespace sheaf;

/// Stands behind the heap family as long as it lives. No two at a time.
class FailingHeap {
public:
  /// The request of this number, from 1 on, is refused; 0 refuses none.
  explicit FailingHeap(long long refused) : refused_(refused) {
    const QVHeapHooks hooks{alloc, realloc, free, this};
    set_heap_hooks(&hooks);
    current = this;
  }
  FailingHeap(const FailingHeap&) = delete;
  FailingHeap& operator=(const FailingHeap&) = delete;
  ~FailingHeap() {
    current = nullptr;
    set_heap_hooks(nullptr);
  }

  long long requests = 0;
  long long held = 0;  ///< Blocks that are not released yet.
  bool has_refused() const { return refused_ > 0 && requests >= refused_; }
  /// Counts one request more. False when it is the one to be refused.
  bool grants() { return ++requests != refused_; }

  static inline FailingHeap* current = nullptr;

private:
  static void* alloc(void* context, std::size_t size) {
    auto& heap = *static_cast<FailingHeap*>(context);
    void* block = heap.grants() ? std::malloc(size) : nullptr;
    if (block != nullptr) {
      std::memset(block, 0xA5, size);
      ++heap.held;
    }
    return block;
  }
  static void* realloc(void* context, void* block, std::size_t size) {
    auto& heap = *static_cast<FailingHeap*>(context);
    if (block == nullptr)
      return alloc(context, size);
    return heap.grants() ? std::realloc(block, size) : nullptr;
  }
  static void free(void* context, void* block) {
    --static_cast<FailingHeap*>(context)->held;
    std::free(block);
  }

  long long refused_;
};
