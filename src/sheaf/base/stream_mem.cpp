// The growing memory stream. All positions are unsigned 32 bits and wrap as such on purpose: a
// seek to a negative position ends at the end of the data, and callers rely on it.
#include <algorithm>
#include <cstring>

#include "sheaf/base/heap.h"
#include "sheaf/base/stream.h"

using namespace sheaf;

namespace {

constexpr std::uint32_t kGrowStep = 0x2000;

constexpr std::uint32_t rounded_up(std::uint32_t size) {
  return (size + (kGrowStep - 1)) & ~(kGrowStep - 1);
}

}  // namespace

CQVStreamMem::~CQVStreamMem() {
  QVFree(data);
}

long long CQVStreamMem::GetLen() const {
  return static_cast<long long>(len) - base_offset;
}

long long CQVStreamMem::GetPos() const {
  return static_cast<long long>(pos) - base_offset;
}

int CQVStreamMem::SetPos(STR_SEEK whence, long long offset) {
  const auto low = static_cast<std::uint32_t>(offset);
  switch (whence) {
    case STR_SEEK_SET:
      pos = static_cast<std::uint32_t>(base_offset) + low;
      break;
    case STR_SEEK_END:
      pos = len + low;
      break;
    case STR_SEEK_CUR:
    default:
      pos += low;
      break;
  }
  pos = std::min(pos, len);
  return 1;
}

unsigned int CQVStreamMem::Read(void* dst, unsigned int size) {
  if (size == 0 || pos >= len)
    return 0;
  const std::uint32_t count = std::min(size, len - pos);
  std::memcpy(dst, data + pos, count);
  pos += count;
  return count;
}

unsigned int CQVStreamMem::Write(const void* src, unsigned int size) {
  if (size == 0)
    return 0;
  if (size > UINT32_MAX - pos)
    return 0;
  const std::uint32_t end = pos + size;
  const auto need = static_cast<std::uint64_t>(base_offset) + end;
  if (end > len && need != len) {
    if (need > UINT32_MAX - kGrowStep)
      return 0;
    if (need > capacity) {
      capacity = rounded_up(static_cast<std::uint32_t>(need));
      void* grown = QVRealloc(data, capacity);
      if (grown == nullptr) {
        this->Close();
        return 0;
      }
      data = static_cast<std::uint8_t*>(grown);
    }
    len = static_cast<std::uint32_t>(need);
  }
  std::memcpy(data + pos, src, size);
  pos += size;
  return size;
}

void CQVStreamMem::Close() {
  QVFree(data);
  base_offset = 0;
  data = nullptr;
  pos = len = capacity = 0;
}
