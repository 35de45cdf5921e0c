// The output side of CPDFObj::write: collects small pieces of syntax, separates tokens only where
// the syntax asks for it, and breaks lines so that they stay readable.
#pragma once

#include <cstdint>
#include <cstring>

#include "base/chars.h"
#include "base/stream.h"

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
    ++column_;
  }
  void put(const char* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
      put(bytes[i]);
  }
  void text(const char* text) { put(text, std::strlen(text)); }
  void line_end() {
    put('\n');
    column_ = 0;
  }
  /// To be called in front of a token that begins with `first`.
  void separate(char first) {
    if (column_ > kLongLine)
      line_end();
    else if (is_regular(last_) && is_regular(first))
      put(' ');
  }
  /// Whatever follows must be separated, as behind an empty name.
  void keep_apart() { last_ = '0'; }
  void flush() {
    if (used_ != 0)
      out_->Write(bytes_, used_);
    used_ = 0;
  }

private:
  static constexpr unsigned kSize = 1024;
  static constexpr unsigned kLongLine = 96;

  CQVStream* out_;
  unsigned used_ = 0;
  unsigned column_ = 0;
  char last_ = '\n';
  char bytes_[kSize];
};
