// Seeking in files that keep their own position.
#pragma once

#include "sheaf/base/stream.h"

namespace sheaf {

/// The place that a seek leads to: `base` is the stream's base offset, `pos` its position and `len`
/// the file's length. A seek before the start fails silently, as it does for a FILE.
inline long long seek_target(CQVStream::STR_SEEK whence, long long offset, long long base, long long pos,
                             long long len) {
  long long origin = 0;
  switch (static_cast<int>(whence)) {
    case CQVStream::STR_SEEK_SET:
      origin = base;
      break;
    case CQVStream::STR_SEEK_CUR:
      origin = pos;
      break;
    case CQVStream::STR_SEEK_END:
      origin = len;
      break;
    default:
      return pos;
  }
  long long target = 0;
  return !__builtin_add_overflow(origin, offset, &target) && target >= 0 ? target : pos;
}

}  // namespace sheaf
