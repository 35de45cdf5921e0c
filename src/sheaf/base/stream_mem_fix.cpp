// The view of a fixed buffer.
#include <algorithm>
#include <cstring>

#include "sheaf/base/stream.h"

using namespace sheaf;

CQVStreamMemFix::~CQVStreamMemFix() = default;

void CQVStreamMemFix::Open(void* buffer, int size) {
  data = static_cast<std::uint8_t*>(buffer);
  len = std::max(size, 0);
  pos = 0;
}

long long CQVStreamMemFix::GetLen() const {
  return len - base_offset;
}

long long CQVStreamMemFix::GetPos() const {
  return pos - base_offset;
}

int CQVStreamMemFix::SetPos(STR_SEEK whence, long long offset) {
  long long origin = 0;
  switch (static_cast<int>(whence)) {
    case STR_SEEK_SET:
      origin = base_offset;
      break;
    case STR_SEEK_CUR:
      origin = pos;
      break;
    case STR_SEEK_END:
      origin = len;
      break;
    default:
      return 1;
  }
  long long target = 0;
  if (__builtin_add_overflow(origin, offset, &target))
    target = offset < 0 ? 0 : len;
  pos = static_cast<std::int32_t>(std::clamp<long long>(target, 0, len));
  return 1;
}

unsigned int CQVStreamMemFix::Read(void* dst, unsigned int size) {
  const unsigned count = std::min(size, static_cast<unsigned>(len - pos));
  if (count != 0)
    std::memcpy(dst, data + pos, count);
  pos += static_cast<std::int32_t>(count);
  return count;
}

unsigned int CQVStreamMemFix::Write(const void* src, unsigned int size) {
  const unsigned count = std::min(size, static_cast<unsigned>(len - pos));
  if (count != 0)
    std::memcpy(data + pos, src, count);
  pos += static_cast<std::int32_t>(count);
  return count;
}

void CQVStreamMemFix::Close() {
  base_offset = 0;
  len = pos = 0;
  data = nullptr;
}
