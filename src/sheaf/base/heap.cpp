// The QVAlloc family over hooks, which are the C library's heap unless an application sets its own.
// Refusals are counted by thread.
#include "sheaf/base/heap.h"

#ifdef __linux__
#include <sys/mman.h>
#endif

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "sheaf/base/work_watch.h"

using namespace sheaf;

namespace {

void* libc_alloc(void*, std::size_t size) {
  return std::malloc(size);
}

void* libc_realloc(void*, void* block, std::size_t size) {
  return std::realloc(block, size);
}

void libc_free(void*, void* block) {
  std::free(block);
}

constexpr QVHeapHooks kLibcHeap{libc_alloc, libc_realloc, libc_free, nullptr};
QVHeapHooks current_heap = kLibcHeap;
thread_local std::uint64_t refusals = 0;

void* granted(void* block) {
  if (block == nullptr)
    ++refusals;
  return block;
}

// malloc(0) may give null, which callers would take for a failure.
constexpr std::size_t at_least_one(std::size_t size) {
  return size == 0 ? 1 : size;
}

}  // namespace

namespace sheaf {

void set_heap_hooks(const QVHeapHooks* hooks) {
  current_heap = hooks != nullptr ? *hooks : kLibcHeap;
}

}  // namespace sheaf

void* QVAlloc(std::size_t size) {
  if (WorkWatch::step())
    return granted(nullptr);
  return granted(current_heap.alloc(current_heap.context, at_least_one(size)));
}

void* QVCalloc(std::size_t count, std::size_t size) {
  if (size != 0 && count > SIZE_MAX / size)
    return granted(nullptr);
  // What the system hands out is zeroed: of a large block only the pages that are used then take memory and time.
  if (current_heap.alloc == libc_alloc)
    return granted(WorkWatch::step() ? nullptr : std::calloc(at_least_one(count * size), 1));
  void* block = QVAlloc(count * size);
  if (block != nullptr)
    std::memset(block, 0, at_least_one(count * size));
  return block;
}

namespace sheaf {

void heap_expects_writes(void* block, std::size_t size) {
#ifdef MADV_POPULATE_WRITE
  // Each first touch of a page costs a trip into the system, more than many writes to it.
  constexpr std::uintptr_t kPage = 4096;
  constexpr std::size_t kWorthwhile = std::size_t{128} << 10;
  if (size < kWorthwhile)
    return;
  const std::uintptr_t begin = (reinterpret_cast<std::uintptr_t>(block) + kPage - 1) & ~(kPage - 1);
  const std::uintptr_t end = (reinterpret_cast<std::uintptr_t>(block) + size) & ~(kPage - 1);
  void* const pages = reinterpret_cast<void*>(begin);
  madvise(pages, end - begin, MADV_POPULATE_WRITE);
#else
  static_cast<void>(block);
  static_cast<void>(size);
#endif
}

}  // namespace sheaf

void* QVRealloc(void* block, std::size_t size) {
  if (WorkWatch::step())
    return granted(nullptr);
  return granted(current_heap.realloc(current_heap.context, block, at_least_one(size)));
}

void QVFree(void* block) {
  if (block != nullptr)
    current_heap.free(current_heap.context, block);
}

namespace sheaf {

std::uint64_t heap_refusals() {
  return refusals;
}

void note_heap_refusal() {
  ++refusals;
}

void* heap_object(std::size_t size) {
  void* const object = WorkWatch::step() ? nullptr : ::operator new(size, std::nothrow);
  if (object == nullptr)
    note_heap_refusal();
  return object;
}

}  // namespace sheaf
