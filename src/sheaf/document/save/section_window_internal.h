// The document's file as it looks while a section is written into a space of its middle: it ends
// where the section does, and what is after the space cannot be reached. The old end of the
// file stays valid until it is cut off.
#pragma once

#include <algorithm>

#include "sheaf/base/stream.h"

namespace sheaf {

class SectionWindow : public CQVStream {
public:
  /// The space from `start` up to, but not including, `limit` of `file`, which is borrowed.
  SectionWindow(CQVStream& file, long long start, long long limit) : file_(file), end_(start), limit_(limit) {}

  long long GetLen() const override { return end_; }
  long long GetPos() const override { return pos_; }
  int SetPos(STR_SEEK whence, long long offset) override {
    const long long from = whence == STR_SEEK_SET ? 0 : whence == STR_SEEK_CUR ? pos_ : end_;
    pos_ = std::max(from + offset, 0LL);
    return 1;
  }
  unsigned int Read(void* dst, unsigned int size) override {
    const auto count = static_cast<unsigned>(std::clamp(end_ - pos_, 0LL, static_cast<long long>(size)));
    file_.SetPos(STR_SEEK_SET, pos_);
    const unsigned got = file_.Read(dst, count);
    pos_ += got;
    return got;
  }
  unsigned int Write(const void* src, unsigned int size) override {
    const auto count = static_cast<unsigned>(std::clamp(limit_ - pos_, 0LL, static_cast<long long>(size)));
    file_.SetPos(STR_SEEK_SET, pos_);
    const unsigned done = file_.Write(src, count);
    pos_ += done;
    end_ = std::max(end_, pos_);
    return done;
  }
  void Flush() override { file_.Flush(); }

private:
  CQVStream& file_;
  long long pos_ = 0;
  long long end_;
  long long limit_;
};

}  // namespace sheaf
