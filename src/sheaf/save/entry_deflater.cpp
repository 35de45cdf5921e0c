// Deflates the staging buffer whenever the next entry might not fit.

#include "sheaf/base/heap.h"
#include "sheaf/save/entry_deflater_internal.h"

namespace sheaf {

namespace {

constexpr int kWindowBits = 14;
constexpr int kMemoryLevel = 8;
constexpr unsigned kZlibStep = 1u << 30;  // avail_out has 32 bits

}  // namespace

EntryDeflater::~EntryDeflater() {
  if (block_ != nullptr)
    deflateEnd(&zstream_);
  QVFree(block_);
}

bool EntryDeflater::open(std::size_t size) {
  block_ = static_cast<std::uint8_t*>(QVAlloc(size));
  if (block_ == nullptr)
    return false;
  size_ = size;
  zstream_.next_out = block_;
  failed_ =
      deflateInit2(&zstream_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kWindowBits, kMemoryLevel, Z_DEFAULT_STRATEGY) != Z_OK;
  return true;
}

bool EntryDeflater::make_room() {
  const auto used = static_cast<std::size_t>(zstream_.next_out - block_);
  if (size_ - used < kFlushRoom) {
    // The first block is meant to hold the whole section; it grows only for one that does not fit.
    const std::size_t wanted = size_ + size_ / 2 + kFlushRoom;
    void* grown = QVRealloc(block_, wanted);
    if (grown == nullptr) {
      failed_ = true;
      return false;
    }
    block_ = static_cast<std::uint8_t*>(grown);
    size_ = wanted;
    zstream_.next_out = block_ + used;
  }
  const std::size_t room = size_ - used;
  zstream_.avail_out = static_cast<uInt>(room < kZlibStep ? room : kZlibStep);
  return true;
}

void EntryDeflater::compress() {
  if (failed_ || !make_room())
    return;
  zstream_.next_in = staging_;
  zstream_.avail_in = staged_;
  if (deflate(&zstream_, Z_SYNC_FLUSH) != Z_OK || zstream_.avail_in != 0)
    failed_ = true;
  staged_ = 0;
}

void EntryDeflater::begin_entry() {
  if (staged_ >= flush_at_)
    compress();
}

void EntryDeflater::field(std::uint32_t value, unsigned width) {
  for (unsigned i = width; i-- > 0;)
    staging_[staged_++] = static_cast<std::uint8_t>(i < 4 ? value >> (8 * i) : 0);
}

std::uint8_t* EntryDeflater::finish(std::uint32_t& len) {
  if (staged_ != 0)
    compress();
  if (failed_ || !make_room() || deflate(&zstream_, Z_FINISH) != Z_STREAM_END)
    return nullptr;
  len = static_cast<std::uint32_t>(zstream_.total_out);
  return block_;
}

}  // namespace sheaf
