// Reads a file through a few cached blocks, addressed by position. Large reads bypass them.
#include "sheaf/base/stream_blocks.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "sheaf/base/heap.h"
#include "sheaf/base/seek.h"
#include "sheaf/base/work_watch.h"

using namespace sheaf;

namespace {

long long time_of_change(const struct stat& info) {
  constexpr long long kNanoseconds = 1'000'000'000;
  return info.st_mtim.tv_sec * kNanoseconds + info.st_mtim.tv_nsec;
}

}  // namespace

CQVStreamBlocks::~CQVStreamBlocks() {
  CQVStreamBlocks::Close();
}

bool CQVStreamBlocks::Open(const char* path) {
  Close();
  handle_ = open(path, O_RDONLY | O_CLOEXEC);
  struct stat info = {};
  if (handle_ < 0 || fstat(handle_, &info) != 0 || S_ISDIR(info.st_mode)) {
    Close();
    return false;
  }
  blocks_ = static_cast<std::uint8_t*>(QVAlloc(std::size_t{kBlock} * kSlots));
  if (blocks_ == nullptr) {
    Close();
    return false;
  }
  len_ = info.st_size;
  changed_ = time_of_change(info);
  std::fill(starts_, starts_ + kSlots, -1);
  return true;
}

int CQVStreamBlocks::SetPos(STR_SEEK whence, long long offset) {
  pos_ = seek_target(whence, offset, base_offset, pos_, len_);
  return 1;
}

// The cached bytes from `start`, a multiple of the block size, on.
const std::uint8_t* CQVStreamBlocks::block_at(long long start, unsigned& available) {
  const auto slot = static_cast<unsigned>(start / kBlock % kSlots);
  std::uint8_t* const block = blocks_ + std::size_t{slot} * kBlock;
  if (starts_[slot] != start) {
    const ssize_t got = pread(handle_, block, kBlock, start);
    starts_[slot] = got >= 0 ? start : -1;
    sizes_[slot] = static_cast<unsigned>(std::max<ssize_t>(got, 0));
  }
  available = sizes_[slot];
  return block;
}

unsigned CQVStreamBlocks::read_direct(std::uint8_t* dst, unsigned size) {
  unsigned total = 0;
  while (total < size) {
    const ssize_t got = pread(handle_, dst + total, size - total, pos_);
    if (got <= 0)
      break;
    total += static_cast<unsigned>(got);
    pos_ += got;
  }
  return total;
}

unsigned int CQVStreamBlocks::Read(void* dst, unsigned int size) {
  if (handle_ < 0 || WorkWatch::step())
    return 0;
  auto* out = static_cast<std::uint8_t*>(dst);
  if (size >= kBlock)
    return read_direct(out, size);
  unsigned total = 0;
  while (total < size) {
    const auto within = static_cast<unsigned>(pos_ % kBlock);
    unsigned available = 0;
    const std::uint8_t* const block = block_at(pos_ - within, available);
    if (within >= available)
      break;
    const unsigned count = std::min(size - total, available - within);
    std::memcpy(out + total, block + within, count);
    total += count;
    pos_ += count;
  }
  return total;
}

bool CQVStreamBlocks::reads_same_file(const CQVStreamFile& file) const {
  struct stat mine = {};
  struct stat other = {};
  return handle_ >= 0 && file.file != nullptr && fstat(handle_, &mine) == 0 && fstat(fileno(file.file), &other) == 0 &&
         mine.st_dev == other.st_dev && mine.st_ino == other.st_ino && other.st_size == len_ &&
         time_of_change(other) == changed_;
}

void CQVStreamBlocks::Close() {
  if (handle_ >= 0)
    close(handle_);
  QVFree(blocks_);
  handle_ = -1;
  blocks_ = nullptr;
  len_ = 0;
  pos_ = 0;
  base_offset = 0;
}
