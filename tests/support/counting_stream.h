// A stream that records which bytes are read, and how often it was asked.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "sheaf/base/stream.h"

using namespace sheaf;

class CountingStream : public CQVStream {
public:
  explicit CountingStream(CQVStream& source) : source_(source) {}
  long long GetLen() const override { return source_.GetLen(); }
  long long GetPos() const override { return source_.GetPos(); }
  int SetPos(STR_SEEK whence, long long offset) override { return source_.SetPos(whence, offset); }
  unsigned int Read(void* dst, unsigned int size) override {
    const long long from = source_.GetPos();
    const unsigned got = source_.Read(dst, size);
    ++reads;
    bytes += got;
    ranges.push_back({from, from + got});
    return got;
  }
  unsigned int Write(const void* src, unsigned int size) override { return source_.Write(src, size); }
  /// How many reads began at `offset`.
  int reads_at(long long offset) const {
    return static_cast<int>(
        std::count_if(ranges.begin(), ranges.end(), [offset](const auto& range) { return range.first == offset; }));
  }
  long long last_byte() const {
    long long last = 0;
    for (const auto& range : ranges)
      last = std::max(last, range.second);
    return last;
  }

  std::int64_t reads = 0;
  std::int64_t bytes = 0;
  std::vector<std::pair<long long, long long>> ranges;

private:
  CQVStream& source_;
};
