// The output side of CPDFObj::write: collects small pieces of syntax, separates tokens only where
// the syntax asks for it, and breaks lines so that they stay readable.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

#include "sheaf/base/chars.h"
#include "sheaf/base/stream.h"

namespace sheaf {

class PrintBuffer {
public:
  explicit PrintBuffer(CQVStream* out) : out_(out) {}
  PrintBuffer(const PrintBuffer&) = delete;
  PrintBuffer& operator=(const PrintBuffer&) = delete;
  ~PrintBuffer() { flush(); }

  void put(char c) {
    if (used_ == kSize)
      flush();
    bytes_[used_++] = c;
    last_ = c;
  }
  void text(std::string_view text) {
    if (text.empty())
      return;
    if (text.size() > kSize - used_)
      flush();
    last_ = text.back();
    if (text.size() > kSize) {
      out_->Write(text.data(), static_cast<unsigned>(text.size()));
      written_ += text.size();
      return;
    }
    std::memcpy(bytes_ + used_, text.data(), text.size());
    used_ += static_cast<unsigned>(text.size());
  }
  /// Room for `count` characters, up to kRoom, which `close` takes over once they are filled in.
  char* open(unsigned count) {
    if (count > kSize - used_)
      flush();
    return bytes_ + used_;
  }
  void close(const char* end) {
    used_ = static_cast<unsigned>(end - bytes_);
    last_ = end[-1];
  }
  void line_end() {
    put('\n');
    line_start_ = position();
  }
  /// To be called before a token that begins with `first`.
  void separate(char first) {
    if (position() - line_start_ > kLongLine)
      line_end();
    else if (is_regular(last_) && is_regular(first))
      put(' ');
  }
  /// Whatever follows must be separated, as after an empty name.
  void keep_apart() { last_ = '0'; }
  void flush() {
    if (used_ != 0)
      out_->Write(bytes_, used_);
    written_ += used_;
    used_ = 0;
  }

  static constexpr unsigned kRoom = 1024;

private:
  static constexpr unsigned kSize = 4096;
  static constexpr std::uint64_t kLongLine = 96;
  static_assert(kRoom <= kSize);

  std::uint64_t position() const { return written_ + used_; }

  CQVStream* out_;
  unsigned used_ = 0;
  char last_ = '\n';
  std::uint64_t written_ = 0;     // bytes handed to the stream
  std::uint64_t line_start_ = 0;  // counted as `position` counts
  char bytes_[kSize];
};

}  // namespace sheaf
