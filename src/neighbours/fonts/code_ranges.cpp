#include "neighbours/fonts/code_ranges.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

using Entry = CodeRangeList::Entry;

bool comes_before(const Entry& a, const Entry& b) {
  if (a.bytes != b.bytes)
    return a.bytes < b.bytes;
  return a.range.lo != b.range.lo ? a.range.lo < b.range.lo : a.order < b.order;
}

bool is_sorted_and_apart(const GrowArray<Entry>& entries) {
  for (std::size_t i = 1; i < entries.size(); ++i) {
    const Entry& last = entries[i - 1];
    if (entries[i].bytes < last.bytes || (entries[i].bytes == last.bytes && entries[i].range.lo <= last.range.hi))
      return false;
  }
  return true;
}

// Turns sorted entries that may overlap into pieces that do not: a sweep over the codes, with the
// entries that hold the present code in a heap whose top is the one defined last.
class Sweep {
public:
  Sweep(const GrowArray<Entry>& entries, bool (*rises)(std::uint32_t)) : entries_(entries), rises_(rises) {}

  bool run() {
    while (next_ < entries_.size()) {
      if (!run_length())
        return false;
    }
    return true;
  }
  const GrowArray<Entry>& pieces() const { return pieces_; }

private:
  // The entries of one code length.
  bool run_length() {
    const std::uint32_t bytes = entries_[next_].bytes;
    std::uint64_t code = 0;
    while (has_next(bytes) || !open_.empty()) {
      if (open_.empty())
        code = entries_[next_].range.lo;
      for (; has_next(bytes) && entries_[next_].range.lo <= code; ++next_) {
        if (!open(next_))
          return false;
      }
      const Entry& top = entries_[open_[0]];
      if (top.range.hi < code) {
        close_top();
        continue;
      }
      std::uint64_t last = top.range.hi;
      if (has_next(bytes))
        last = std::min<std::uint64_t>(last, std::uint64_t{entries_[next_].range.lo} - 1);
      if (!emit(top, static_cast<std::uint32_t>(code), static_cast<std::uint32_t>(last)))
        return false;
      code = last + 1;
    }
    return true;
  }
  bool has_next(std::uint32_t bytes) const { return next_ < entries_.size() && entries_[next_].bytes == bytes; }
  bool defined_before(std::size_t a, std::size_t b) const { return entries_[a].order < entries_[b].order; }
  bool open(std::size_t index) {
    if (!open_.push(index))
      return false;
    std::push_heap(open_.begin(), open_.end(), [this](std::size_t a, std::size_t b) { return defined_before(a, b); });
    return true;
  }
  void close_top() {
    std::pop_heap(open_.begin(), open_.end(), [this](std::size_t a, std::size_t b) { return defined_before(a, b); });
    open_.pop();
  }
  bool emit(const Entry& from, std::uint32_t lo, std::uint32_t hi) {
    const bool rising = rises_(from.range.value);
    const std::uint32_t value = from.range.value + (rising ? lo - from.range.lo : 0);
    if (!pieces_.empty() && pieces_.back().bytes == from.bytes) {
      PDF_CODE_RANGE& last = pieces_.back().range;
      const bool goes_on = value == last.value + (rising ? lo - last.lo : 0) && rises_(last.value) == rising;
      if (lo - 1 == last.hi && goes_on) {
        last.hi = hi;
        return true;
      }
    }
    return pieces_.push({{lo, hi, value}, from.bytes, 0});
  }

  const GrowArray<Entry>& entries_;
  bool (*rises_)(std::uint32_t);
  std::size_t next_ = 0;
  GrowArray<std::size_t> open_;
  GrowArray<Entry> pieces_;
};

}  // namespace

void CodeRangeList::add(int bytes, const PDF_CODE_RANGE& range) {
  if (bytes < 1 || bytes > kMostCodeBytes || range.lo > range.hi || entries_.size() == kMostEntries)
    return;
  entries_.push({range, static_cast<std::uint32_t>(bytes), static_cast<std::uint32_t>(entries_.size())});
}

bool CodeRanges::build(CodeRangeList& list, bool (*rises)(std::uint32_t value)) {
  GrowArray<Entry>& entries = list.entries();
  if (!is_sorted_and_apart(entries))
    std::sort(entries.begin(), entries.end(), comes_before);
  Sweep sweep(entries, rises);
  if (!sweep.run())
    return false;
  const GrowArray<Entry>& pieces = sweep.pieces();
  QVFree(items_);
  std::fill(std::begin(starts_), std::end(starts_), 0);
  items_ = static_cast<PDF_CODE_RANGE*>(QVAlloc(pieces.size() * sizeof(PDF_CODE_RANGE)));
  if (items_ == nullptr)
    return false;
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    items_[i] = pieces[i].range;
    ++starts_[pieces[i].bytes];
  }
  for (int bytes = 1; bytes <= kMostCodeBytes; ++bytes)
    starts_[bytes] += starts_[bytes - 1];
  return true;
}

const PDF_CODE_RANGE* CodeRanges::find(std::uint32_t code, int bytes) const {
  if (bytes < 1 || bytes > kMostCodeBytes || !has_length(bytes))
    return nullptr;
  const PDF_CODE_RANGE* range = items_ + starts_[bytes - 1];
  // Without branches on the outcome, which no processor foresees.
  for (std::uint32_t left = starts_[bytes] - starts_[bytes - 1]; left > 1;) {
    const std::uint32_t half = left / 2;
    range += range[half].lo <= code ? half : 0;
    left -= half;
  }
  return range->lo <= code && code <= range->hi ? range : nullptr;
}
