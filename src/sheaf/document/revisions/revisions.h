// The states that a file was in before the updates after them (ISO 32000-1, 7.5.6): where each ends, and a view of the
// file as it was.
#pragma once

#include "sheaf/base/grow_array.h"
#include "sheaf/base/stream.h"

namespace sheaf {

/// The first bytes of a stream that somebody else keeps, for reading.
class PrefixStream : public CQVStream {
public:
  /// `file` is borrowed; `length` counts from its `base_offset`.
  PrefixStream(CQVStream& file, long long length) : file_(file), length_(length) {}
  long long GetLen() const override { return length_ - base_offset; }
  long long GetPos() const override { return pos_ - base_offset; }
  int SetPos(STR_SEEK whence, long long offset) override;
  unsigned int Read(void* dst, unsigned int size) override;
  unsigned int Write(const void*, unsigned int) override { return 0; }

private:
  CQVStream& file_;
  long long length_;
  long long pos_ = 0;
};

/// Appends the places, counted as positions of `file`, after the end marks of its revisions, oldest first. Where more
/// than white space follows the last mark, the end of the file is another one. A mark whose section is 0, as in front
/// of a linearized file, is not the end of a revision. False without memory.
bool list_revisions(CQVStream& file, GrowArray<long long>& ends);

}  // namespace sheaf
