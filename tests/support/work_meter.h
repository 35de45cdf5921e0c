// What a piece of work costs, in figures that no clock makes: bytes asked of the heap, bytes read from the
// file, bytes decoded, steps of the JBIG2 decoder.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "sheaf/base/heap.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/neighbours/decoders/jbig2_filter.h"
#include "sheaf/xref/xref_table.h"

/// After the heap family: what was asked for in all. A block grown in place costs what it grew by,
/// so its size is kept before it.
class CountedHeap {
public:
  CountedHeap() {
    const QVHeapHooks hooks{alloc, realloc, free, this};
    sheaf::set_heap_hooks(&hooks);
  }
  CountedHeap(const CountedHeap&) = delete;
  CountedHeap& operator=(const CountedHeap&) = delete;
  ~CountedHeap() { sheaf::set_heap_hooks(nullptr); }

  std::int64_t asked = 0;
  std::int64_t held = 0;
  std::int64_t peak = 0;

private:
  static constexpr std::size_t kFront = alignof(std::max_align_t);

  void count(std::size_t size, std::size_t before) {
    asked += size > before ? static_cast<std::int64_t>(size - before) : 0;
    held += static_cast<std::int64_t>(size) - static_cast<std::int64_t>(before);
    peak = std::max(peak, held);
  }
  static void* put(void* block, std::size_t size) {
    if (block == nullptr)
      return nullptr;
    *static_cast<std::size_t*>(block) = size;
    return static_cast<char*>(block) + kFront;
  }
  static void* alloc(void* context, std::size_t size) {
    static_cast<CountedHeap*>(context)->count(size, 0);
    return put(std::malloc(size + kFront), size);
  }
  static void* realloc(void* context, void* block, std::size_t size) {
    if (block == nullptr)
      return alloc(context, size);
    char* const front = static_cast<char*>(block) - kFront;
    static_cast<CountedHeap*>(context)->count(size, *reinterpret_cast<std::size_t*>(front));
    return put(std::realloc(front, size + kFront), size);
  }
  static void free(void* context, void* block) {
    if (block == nullptr)
      return;
    char* const front = static_cast<char*>(block) - kFront;
    static_cast<CountedHeap*>(context)->count(0, *reinterpret_cast<std::size_t*>(front));
    std::free(front);
  }
};

/// Decodes a stream up to 64 MiB; the cost of it. Decoders whose data need not end give one block.
inline std::int64_t decoding_cost(CPDFXRefTable& table, const CPDFObj& obj) {
  constexpr std::int64_t kMost = std::int64_t{64} << 20;
  constexpr std::int64_t kStepsPerByte = 16;
  const std::unique_ptr<CPDFStream> stream(obj.as_stream() != nullptr ? table.make_stream(obj.as_stream()) : nullptr);
  if (stream == nullptr)
    return 0;
  std::int64_t total = 0;
  if (stream->filter_type == kFilterJBIG2) {
    const auto& jbig2 = static_cast<const CPDFStreamJBIG2&>(*stream);
    total += (jbig2.decoder.limits.spent + jbig2.globals.limits.spent) / kStepsPerByte;
  }
  std::vector<unsigned char> piece(16 * 1024);
  const bool is_endless = stream->filter_type == kFilterCCITTFax;
  for (int got = 1; got > 0 && total < kMost; total += got) {
    got = stream->read_block(piece.data(), static_cast<int>(piece.size()));
    if (is_endless)
      return total + got;
  }
  return total;
}
