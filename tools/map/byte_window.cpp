// The window is reloaded when a position lies outside it.
#include "map/byte_window.h"

#include <algorithm>

#include "sheaf/base/chars.h"

namespace sheaf::tool {

namespace {

constexpr std::int64_t kWindow = 64 * 1024;
constexpr std::int64_t kBehind = 256;  // kept before a position, for looks backwards

}  // namespace

ByteWindow::ByteWindow(CQVStream& stream)
    : stream_(stream), size_(stream.GetLen()), bytes_(static_cast<std::size_t>(kWindow)) {}

void ByteWindow::load(std::int64_t pos) {
  if (pos < 0 || pos >= size_)
    return;
  start_ = std::max<std::int64_t>(pos - kBehind, 0);
  stream_.SetPos(CQVStream::STR_SEEK_SET, start_);
  len_ = stream_.Read(bytes_.data(), static_cast<unsigned>(kWindow));
}

bool ByteWindow::has(std::int64_t pos, std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (at(pos + static_cast<std::int64_t>(i)) != text[i])
      return false;
  }
  return true;
}

std::int64_t ByteWindow::find(std::string_view text, std::int64_t from, std::int64_t end) {
  const auto size = static_cast<std::int64_t>(text.size());
  end = std::min(end, size_);
  for (std::int64_t pos = std::max<std::int64_t>(from, 0); pos + size <= end;) {
    at(pos);
    if (start_ + len_ < pos + size && start_ + len_ < size_)
      load(pos);
    const std::int64_t available = std::min(start_ + len_, end) - pos;
    if (available < size)
      return -1;
    const std::string_view here(bytes_.data() + (pos - start_), static_cast<std::size_t>(available));
    if (const std::size_t hit = here.find(text); hit != std::string_view::npos)
      return pos + static_cast<std::int64_t>(hit);
    pos += available - size + 1;
  }
  return -1;
}

std::int64_t ByteWindow::skip_space(std::int64_t pos) {
  while (pos < size_ && is_wide_space(at(pos)))
    ++pos;
  return std::min(pos, size_);
}

}  // namespace sheaf::tool
