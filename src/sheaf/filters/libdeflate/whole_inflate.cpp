// libdeflate says how much room was missing only by failing, so the room doubles until it suffices.
#include "sheaf/filters/whole_inflate.h"

#include <libdeflate.h>

#include <algorithm>
#include <memory>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"

namespace sheaf {

namespace {

constexpr std::size_t kSpare = 4;
constexpr std::size_t kLeastRoom = 1024;

struct Release {
  void operator()(libdeflate_decompressor* inflater) const { libdeflate_free_decompressor(inflater); }
};

// One for each thread: making one costs as much as a small stream.
libdeflate_decompressor* inflater() {
  thread_local const std::unique_ptr<libdeflate_decompressor, Release> own(libdeflate_alloc_decompressor());
  return own.get();
}

}  // namespace

std::uint8_t* inflate_whole(const std::uint8_t* data, std::size_t len, std::size_t estimate, std::size_t most,
                            std::size_t& size) {
  libdeflate_decompressor* const own = inflater();
  if (own == nullptr || data == nullptr)
    return nullptr;
  for (std::size_t room = std::min(std::max(estimate, kLeastRoom), most);;) {
    HeapBlock<std::uint8_t> block(static_cast<std::uint8_t*>(QVAlloc(room + kSpare)));
    if (!block)
      return nullptr;
    std::size_t taken = 0;
    const libdeflate_result result = libdeflate_zlib_decompress_ex(own, data, len, block.get(), room, &taken, &size);
    if (result == LIBDEFLATE_SUCCESS)
      return block.release();
    if (result != LIBDEFLATE_INSUFFICIENT_SPACE || room == most)
      return nullptr;
    room = room > most / 2 ? most : room * 2;
  }
}

}  // namespace sheaf
