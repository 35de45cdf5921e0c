// A stream that shows how much has been written to the one behind it.
#pragma once

#include "sheaf/base/stream.h"
#include "support/progress.h"

namespace sheaf::tool {

class ProgressStream : public CQVStream {
public:
  /// `target` is borrowed.
  explicit ProgressStream(CQVStream& target) : target_(target), progress_("MiB written", 0) {}
  long long GetLen() const override { return target_.GetLen(); }
  long long GetPos() const override { return target_.GetPos(); }
  int SetPos(STR_SEEK whence, long long offset) override { return target_.SetPos(whence, offset); }
  unsigned int Read(void* dst, unsigned int size) override { return target_.Read(dst, size); }
  unsigned int Write(const void* src, unsigned int size) override {
    constexpr long long kMebibyte = 1024 * 1024;
    written_ += size;
    progress_.show(written_ / kMebibyte);
    return target_.Write(src, size);
  }
  void Flush() override { target_.Flush(); }

private:
  CQVStream& target_;
  Progress progress_;
  long long written_ = 0;
};

}  // namespace sheaf::tool
