// The library's heap family, a thin layer over the C library's heap. Every block, string and
// table of the library comes from here, so that an application can bring a heap of its own and
// tests can let any single request fail.
#pragma once

#include <cstddef>

/// The functions behind the heap family. All members must be set; `context` is passed through.
struct QVHeapHooks {
  void* (*alloc)(void* context, std::size_t size);
  void* (*realloc)(void* context, void* block, std::size_t size);
  void (*free)(void* context, void* block);
  void* context;
};

/// Puts `hooks` (copied) behind the family; null brings the C library's heap back.
/// To be called while no block of the family is held and no other thread uses the library.
void set_heap_hooks(const QVHeapHooks* hooks);

/// A block of `size` bytes, or null. A size of 0 gives a block that can be released.
/// The caller owns the result and releases it with QVFree.
void* QVAlloc(std::size_t size);

/// A zeroed block of `count` x `size` bytes, or null, also when the product overflows.
void* QVCalloc(std::size_t count, std::size_t size);

/// Resizes `block` (null allows) to `size` bytes. Null on failure: the old block then stays valid.
void* QVRealloc(void* block, std::size_t size);

/// Releases a block of the family. Accepts null.
void QVFree(void* block);
