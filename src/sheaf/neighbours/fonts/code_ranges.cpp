// Ranges are sorted by merging their runs, made free of overlaps by a sweep, and searched by bisection.
#include "sheaf/neighbours/fonts/code_ranges.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace sheaf {

namespace {

using Entry = CodeRangeList::Entry;

bool comes_before(const Entry& a, const Entry& b) {
  if (a.bytes != b.bytes)
    return a.bytes < b.bytes;
  return a.range.lo != b.range.lo ? a.range.lo < b.range.lo : a.order < b.order;
}

// Where the run that begins at `from` ends: entries that are in order already.
std::size_t run_end(const Entry* entries, std::size_t from, std::size_t count) {
  std::size_t end = from + 1;
  while (end < count && !comes_before(entries[end], entries[end - 1]))
    ++end;
  return std::min(end, count);
}

// Merges pairs of runs until one is left: maps are written in a few long runs, and most in one. False
// when there is no memory.
bool sort_runs(GrowArray<Entry>& entries) {
  const std::size_t count = entries.size();
  GrowArray<Entry> spare;
  Entry* from = entries.begin();
  if (run_end(from, 0, count) == count)
    return true;
  if (!spare.resize(count))
    return false;
  Entry* to = spare.begin();
  for (std::size_t first_run = 0; first_run < count; std::swap(from, to)) {
    for (std::size_t at = 0; at < count;) {
      const std::size_t middle = run_end(from, at, count);
      const std::size_t end = middle < count ? run_end(from, middle, count) : count;
      std::merge(from + at, from + middle, from + middle, from + end, to + at, comes_before);
      first_run = at == 0 ? end : first_run;
      at = end;
    }
  }
  if (from != entries.begin())
    std::copy(from, from + count, entries.begin());
  return true;
}

// Turns sorted entries that may overlap into pieces that do not: a sweep over the codes, with the
// entries that hold the present code in a heap whose top is the one defined last.
class Sweep {
public:
  Sweep(const GrowArray<Entry>& entries, bool (*rises)(std::uint32_t)) : entries_(entries), rises_(rises) {}

  bool run() {
    while (next_ < entries_.size()) {
      const Entry& entry = entries_[next_];
      const bool emitted = stands_alone() ? emit(entry, entry.range.lo, entry.range.hi) : run_overlaps();
      if (!emitted)
        return false;
    }
    return true;
  }
  const GrowArray<Entry>& pieces() const { return pieces_; }

private:
  // Whether the next entry ends before the one after it, as most do; it is passed then.
  bool stands_alone() {
    const Entry& entry = entries_[next_];
    const Entry* behind = next_ + 1 < entries_.size() ? &entries_[next_ + 1] : nullptr;
    const bool alone = behind == nullptr || behind->bytes != entry.bytes || behind->range.lo > entry.range.hi;
    next_ += alone ? 1 : 0;
    return alone;
  }
  // The next entry and all that hang together with it.
  bool run_overlaps() {
    const std::uint32_t bytes = entries_[next_].bytes;
    std::uint64_t code = entries_[next_].range.lo;
    do {
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
    } while (!open_.empty());
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
  Sweep sweep(entries, rises);
  if (!sort_runs(entries) || !sweep.run())
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

}  // namespace sheaf
