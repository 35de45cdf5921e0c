// The range of the next code; ranges are indexed by first byte, since most maps have one for each.
#include "sheaf/neighbours/fonts/codespaces.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace sheaf {

namespace {

using Range = Codespaces::Range;

// How many bytes of `text` match the range from its first byte on.
int matched_bytes(const Range& range, const std::uint8_t* text, int len) {
  const int most = std::min<int>(range.bytes, len);
  int matched = 0;
  while (matched < most && range.lo[matched] <= text[matched] && text[matched] <= range.hi[matched])
    ++matched;
  return matched;
}

std::uint32_t big_endian(const std::uint8_t* text, int bytes) {
  std::uint32_t code = 0;
  for (int i = 0; i < bytes; ++i)
    code = code << 8 | text[i];
  return code;
}

}  // namespace

void Codespaces::add(int bytes, std::uint32_t lo, std::uint32_t hi) {
  if (bytes < 1 || bytes > kMostCodeBytes || ranges_.size() == kMostRanges)
    return;
  Range range{};
  range.bytes = static_cast<std::uint8_t>(bytes);
  for (int i = 0; i < bytes; ++i) {
    const int shift = 8 * (bytes - 1 - i);
    range.lo[i] = static_cast<std::uint8_t>(lo >> shift);
    range.hi[i] = static_cast<std::uint8_t>(hi >> shift);
    if (range.lo[i] > range.hi[i])
      return;
  }
  const bool is_known = std::any_of(ranges_.begin(), ranges_.end(), [&range](const Range& other) {
    return std::memcmp(&range, &other, sizeof(Range)) == 0;
  });
  if (!is_known)
    ranges_.push(range);
}

void Codespaces::add_all(const Codespaces& other) {
  for (const Range& range : other.ranges_)
    add(range.bytes, big_endian(range.lo, range.bytes), big_endian(range.hi, range.bytes));
}

void Codespaces::finish() {
  std::sort(ranges_.begin(), ranges_.end(), [](const Range& a, const Range& b) { return a.bytes < b.bytes; });
  std::fill(std::begin(by_first_), std::end(by_first_), 0);
  for (std::size_t i = 0; i < ranges_.size(); ++i) {
    for (unsigned first = ranges_[i].lo[0]; first <= ranges_[i].hi[0]; ++first)
      by_first_[first] = by_first_[first] == 0 ? static_cast<std::uint16_t>(i + 1) : kSeveral;
  }
}

int Codespaces::next(const std::uint8_t* text, int len, std::uint32_t& code, bool& valid) const {
  code = 0;
  valid = false;
  if (len < 1)
    return 0;
  const Range* range = find_valid(text, len);
  valid = range != nullptr;
  const int bytes = valid ? range->bytes : invalid_bytes(text, len);
  code = big_endian(text, bytes);
  return bytes;
}

const Range* Codespaces::find_valid(const std::uint8_t* text, int len) const {
  const std::uint16_t place = by_first_[text[0]];
  if (place == 0)
    return nullptr;
  if (place != kSeveral) {
    const Range& only = ranges_[place - 1u];
    return matched_bytes(only, text, len) == only.bytes ? &only : nullptr;
  }
  for (const Range& range : ranges_) {
    if (matched_bytes(range, text, len) == range.bytes)
      return &range;
  }
  return nullptr;
}

int Codespaces::invalid_bytes(const std::uint8_t* text, int len) const {
  int best = 1;
  int most = -1;
  for (const Range& range : ranges_) {
    const int matched = matched_bytes(range, text, len);
    if (matched > most) {
      most = matched;
      best = range.bytes;
    }
  }
  return std::min(best, len);
}

}  // namespace sheaf
