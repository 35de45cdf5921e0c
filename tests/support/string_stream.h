// A growing stream whose bytes do not come from the library's heap, so that a heap that fails does
// not touch them.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>

#include "sheaf/base/stream.h"

using namespace sheaf;

class StringStream : public CQVStream {
public:
  explicit StringStream(std::string content) : bytes(std::move(content)) {}
  long long GetLen() const override { return static_cast<long long>(bytes.size()) - base_offset; }
  long long GetPos() const override { return static_cast<long long>(pos_) - base_offset; }
  int SetPos(STR_SEEK whence, long long offset) override {
    const long long from = whence == STR_SEEK_SET   ? base_offset
                           : whence == STR_SEEK_CUR ? static_cast<long long>(pos_)
                                                    : static_cast<long long>(bytes.size());
    pos_ = static_cast<std::size_t>(std::clamp(from + offset, 0LL, static_cast<long long>(bytes.size())));
    return 1;
  }
  unsigned int Read(void* dst, unsigned int size) override {
    const std::size_t count = std::min<std::size_t>(size, bytes.size() - pos_);
    std::memcpy(dst, bytes.data() + pos_, count);
    pos_ += count;
    return static_cast<unsigned>(count);
  }
  unsigned int Write(const void* src, unsigned int size) override {
    bytes.resize(std::max(bytes.size(), pos_ + size));
    std::memcpy(bytes.data() + pos_, src, size);
    pos_ += size;
    return size;
  }

  std::string bytes;

private:
  std::size_t pos_ = 0;
};
