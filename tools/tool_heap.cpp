// Small blocks lie in slabs of one size class each, without a header: a block's slab tells its size.
// What is released waits in its class's list, and the next request of the size takes it; nothing is
// ever joined or split, which is where a general heap spends its time on such work. Large blocks
// are the C library's. Addresses are reserved once; memory comes with the first touch of a page.
#include "tool_heap.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "base/heap.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TOOL_HEAP_WATCHED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TOOL_HEAP_WATCHED 1
#endif
#endif

#ifdef TOOL_HEAP_WATCHED

void install_tool_heap() {}

#else

namespace {

constexpr std::size_t kGrain = 16;  // every block is aligned to it
constexpr std::size_t kMostSmall = 512;
constexpr std::size_t kClasses = kMostSmall / kGrain;
constexpr std::size_t kSlab = 64 << 10;
constexpr std::size_t kSlabs = 1 << 18;  // 16 GiB of addresses
static_assert(kSlab / kMostSmall >= 64, "the rest of a slab that no block fits into stays small");

struct FreeBlock {
  FreeBlock* next;
};

struct SizeClass {
  FreeBlock* released;
  std::byte* fresh;  // blocks from here to `end` were never given out
  std::byte* end;
};

SizeClass classes[kClasses];
std::uint8_t class_of_slab[kSlabs];
std::byte* base;
std::size_t slabs_used;
bool is_closed;  // no addresses to be had: everything is the C library's

constexpr std::size_t class_of(std::size_t size) {
  return (size - 1) / kGrain;
}

constexpr std::size_t size_of(std::size_t size_class) {
  return (size_class + 1) * kGrain;
}

bool is_small_block(const void* block) {
  return static_cast<std::size_t>(static_cast<const std::byte*>(block) - base) < kSlabs * kSlab && base != nullptr;
}

std::size_t class_of_block(const void* block) {
  return class_of_slab[static_cast<std::size_t>(static_cast<const std::byte*>(block) - base) / kSlab];
}

bool reserve_addresses() {
  void* const range = is_closed ? MAP_FAILED
                                : mmap(nullptr, kSlabs * kSlab, PROT_READ | PROT_WRITE,
                                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  is_closed = range == MAP_FAILED;
  base = is_closed ? nullptr : static_cast<std::byte*>(range);
  return !is_closed;
}

// A block from a slab that was not in use yet, or from the C library.
void* open_slab(std::size_t size_class) {
  if ((base == nullptr && !reserve_addresses()) || slabs_used == kSlabs)
    return std::malloc(size_of(size_class));
  std::byte* const slab = base + slabs_used * kSlab;
  class_of_slab[slabs_used++] = static_cast<std::uint8_t>(size_class);
  const std::size_t size = size_of(size_class);
  classes[size_class].fresh = slab + size;
  classes[size_class].end = slab + kSlab / size * size;
  return slab;
}

void* take(std::size_t size) {
  if (size > kMostSmall)
    return std::malloc(size);
  const std::size_t size_class = class_of(size);
  SizeClass& blocks = classes[size_class];
  if (FreeBlock* const block = blocks.released) {
    blocks.released = block->next;
    return block;
  }
  if (blocks.fresh == blocks.end)
    return open_slab(size_class);
  void* const block = blocks.fresh;
  blocks.fresh += size_of(size_class);
  return block;
}

void give_back(void* block) {
  if (!is_small_block(block)) {
    std::free(block);
    return;
  }
  SizeClass& blocks = classes[class_of_block(block)];
  blocks.released = new (block) FreeBlock{blocks.released};
}

void* resize(void* block, std::size_t size) {
  if (block == nullptr)
    return take(size);
  if (!is_small_block(block))
    return std::realloc(block, size);
  const std::size_t held = size_of(class_of_block(block));
  if (size <= held)
    return block;
  void* const grown = take(size);
  if (grown == nullptr)
    return nullptr;
  std::memcpy(grown, block, held);
  give_back(block);
  return grown;
}

constexpr QVHeapHooks kToolHeap{[](void*, std::size_t size) { return take(size); },
                                [](void*, void* block, std::size_t size) { return resize(block, size); },
                                [](void*, void* block) { give_back(block); }, nullptr};

}  // namespace

void install_tool_heap() {
  set_heap_hooks(&kToolHeap);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return take(std::max<std::size_t>(size, 1));
}

void* operator new(std::size_t size) {
  void* const block = take(std::max<std::size_t>(size, 1));
  if (block == nullptr)
    throw std::bad_alloc();
  return block;
}

void operator delete(void* block) noexcept {
  give_back(block);
}

void operator delete(void* block, std::size_t) noexcept {
  give_back(block);
}

#endif
