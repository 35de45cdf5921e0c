// A file's bytes by position, through a window that slides: what a scan of a whole file looks at.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "sheaf/base/stream.h"

namespace sheaf::tool {

class ByteWindow {
public:
  /// `stream` is borrowed and must outlive the window.
  explicit ByteWindow(CQVStream& stream);

  std::int64_t size() const { return size_; }
  /// The byte at `pos`, 0 outside of the file.
  char at(std::int64_t pos) {
    if (pos < start_ || pos >= start_ + len_)
      load(pos);
    return pos >= start_ && pos < start_ + len_ ? bytes_[static_cast<std::size_t>(pos - start_)] : '\0';
  }
  /// Whether `text` is at `pos`.
  bool has(std::int64_t pos, std::string_view text);
  /// The first place of `text` from `from` on, -1 when it does not occur before `end`.
  std::int64_t find(std::string_view text, std::int64_t from, std::int64_t end);
  /// The first position from `pos` on that holds no white space (NUL counts), or the end.
  std::int64_t skip_space(std::int64_t pos);

private:
  void load(std::int64_t pos);

  CQVStream& stream_;
  std::int64_t size_;
  std::int64_t start_ = 0;
  std::int64_t len_ = 0;
  std::vector<char> bytes_;
};

}  // namespace sheaf::tool
