// The library's heap family, a thin layer over the C library's heap. Every block, string and
// table of the library comes from here, so that an application can bring a heap of its own and
// tests can let any single request fail.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

/// The functions behind the heap family. All members must be set; `context` is passed through.
struct QVHeapHooks {
  void* (*alloc)(void* context, std::size_t size);
  void* (*realloc)(void* context, void* block, std::size_t size);
  void (*free)(void* context, void* block);
  void* context;
};

namespace sheaf {

/// Puts `hooks` (copied) behind the family; null brings the C library's heap back.
/// To be called while no block of the family is held and no other thread uses the library.
void set_heap_hooks(const QVHeapHooks* hooks);

}  // namespace sheaf

/// A block of `size` bytes, or null. A size of 0 gives a block that can be released.
/// The caller owns the result and releases it with QVFree.
void* QVAlloc(std::size_t size);

/// A zeroed block of `count` x `size` bytes, or null, also when the product overflows.
void* QVCalloc(std::size_t count, std::size_t size);

/// Resizes `block` (null allows) to `size` bytes. Null on failure: the old block then stays valid.
void* QVRealloc(void* block, std::size_t size);

/// Releases a block of the family. Accepts null.
void QVFree(void* block);

namespace sheaf {

/// Lets the system know that all of the `size` bytes at `block`, part of a block of the family, are about to
/// be written, so that it provides a large piece of memory at once and not page by page. Their content
/// stays. Has an effect on large pieces only, and none where the system knows nothing of the kind.
void heap_expects_writes(void* block, std::size_t size);

/// How many requests of this thread have been refused, blocks and objects. A long operation looks
/// at it before and after: many steps in between leave out silently what they have no memory for.
std::uint64_t heap_refusals();
/// Counts a refusal that the family did not see.
void note_heap_refusal();
/// Memory for an object of a class, or null, which then counts as a refusal. Released by operator delete.
void* heap_object(std::size_t size);

}  // namespace sheaf

/// Base of the classes whose objects come from operator new: a refused one counts as well. `Class`
/// keeps the empty bases of a class and of its first member apart.
template <class Class>
struct QVHeapObject {
  static void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return sheaf::heap_object(size);
  }
  static void* operator new(std::size_t size) { return ::operator new(size); }
  static void operator delete(void* object) { ::operator delete(object); }
};
