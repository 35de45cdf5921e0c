// What the table keeps to bound its own work and to report on it: which sections were read, what was
// corrected, the true lengths of streams, the memory of the object stream cache, nested calls, and
// how much of a block is allocated ahead. Part of xref_table.h; nothing here is shared by tables.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/heap.h"

/// One correction that the table made on its own while reading.
struct PDF_REPAIR {
  enum Code : std::int32_t {
    kEntryCorrected = 1,
    kSectionUnreadable = 2,
    kTableRebuilt = 3,
    kLengthCorrected = 4,
    kContainerUnlisted = 5
  };
  Code code;
  std::int32_t num;      ///< Object number, 0 when none is meant.
  std::uint32_t offset;  ///< File offset found, or of the section.
};

/// A stream whose stated length is false.
struct PDF_LENGTH {
  std::uint32_t offset;  ///< Where its data begin.
  std::int32_t length;   ///< Up to the first "endstream".
};

namespace sheaf {

/// Offsets of the sections that were read. Chains of sections may loop, so each is read once.
class SectionLog {
public:
  bool has(std::uint32_t offset) const { return std::binary_search(offsets_.begin(), offsets_.end(), offset); }
  /// Without memory the section is not remembered.
  void add(std::uint32_t offset) {
    const std::uint32_t* const place = std::lower_bound(offsets_.begin(), offsets_.end(), offset);
    if (place == offsets_.end() || *place != offset)
      offsets_.insert(static_cast<std::size_t>(place - offsets_.begin()), offset);
  }
  void reset() { offsets_.reset(); }

private:
  GrowArray<std::uint32_t> offsets_;  // ascending
};

/// The numbers of slots that were asked for, for a layer that compares with the table what it holds: as many as it
/// allows; beyond them it looks at everything.
class SlotLog {
public:
  void begin(std::size_t most) {
    numbers_.clear();
    most_ = most;
    overran_ = false;
  }
  void add(std::int32_t num) {
    if (most_ == 0 || overran_ || (!numbers_.empty() && numbers_.back() == num))
      return;
    overran_ = numbers_.size() == most_ || !numbers_.push(num);
  }
  bool overran() const { return overran_; }
  const GrowArray<std::int32_t>& numbers() const { return numbers_; }

private:
  GrowArray<std::int32_t> numbers_;
  std::size_t most_ = 0;  // 0: nobody asks
  bool overran_ = false;
};

/// The numbers that sections list, as used or as free.
class ListedNumbers {
public:
  /// A section says that it lists the numbers below `end`.
  void claim(std::uint32_t end) { claimed_ = std::max(claimed_, end); }
  /// It lists `count` of them. Without memory they are not remembered.
  void add(std::uint32_t first, std::uint32_t count) {
    claim(first + count);
    if (count == 0)
      return;
    if (!runs_.empty() && runs_.back().end == first)
      runs_.back().end += count;
    else if (runs_.push({first, first + count}))
      is_sorted_ = runs_.size() == 1;
  }
  /// Whether a number is in none, though it should be, since higher ones are.
  bool leave_out(std::uint32_t num) { return num < claimed_ && !has(num); }
  bool has(std::uint32_t num) {
    sort();
    const Run* const run = place_of(num);
    return run != runs_.end() && run->first <= num;
  }
  void reset() {
    runs_.reset();
    is_sorted_ = true;
    claimed_ = 0;
  }

private:
  struct Run {
    std::uint32_t first;
    std::uint32_t end;
  };

  // Joins the runs that touch, so that their ends ascend as well.
  void sort() {
    if (is_sorted_)
      return;
    is_sorted_ = true;
    std::sort(runs_.begin(), runs_.end(), [](const Run& a, const Run& b) { return a.first < b.first; });
    std::size_t last = 0;
    for (std::size_t i = 1; i < runs_.size(); ++i) {
      if (runs_[i].first <= runs_[last].end)
        runs_[last].end = std::max(runs_[last].end, runs_[i].end);
      else
        runs_[++last] = runs_[i];
    }
    while (runs_.size() > last + 1)
      runs_.pop();
  }
  /// The first run that ends behind `num`.
  const Run* place_of(std::uint32_t num) const {
    return std::upper_bound(runs_.begin(), runs_.end(), num,
                            [](std::uint32_t wanted, const Run& run) { return wanted < run.end; });
  }

  GrowArray<Run> runs_;
  bool is_sorted_ = true;
  std::uint32_t claimed_ = 0;
};

/// The first corrections that were made, in their order, and of which kinds there were any.
class RepairLog {
public:
  std::size_t size() const { return repairs_.size(); }
  const PDF_REPAIR& operator[](std::size_t index) const { return repairs_[index]; }
  const PDF_REPAIR* begin() const { return repairs_.begin(); }
  const PDF_REPAIR* end() const { return repairs_.end(); }
  void note(PDF_REPAIR::Code code, std::int32_t num, std::uint32_t offset) {
    kinds_ |= 1u << code;
    if (repairs_.size() >= kMost || !repairs_.push({code, num, offset}))
      ++left_out_;
  }
  /// Whether there was any of this kind, whatever the list holds: decisions hang on this.
  bool has(PDF_REPAIR::Code code) const { return (kinds_ >> code & 1) != 0; }
  /// How many were made that the list does not hold.
  std::int64_t left_out() const { return left_out_; }
  void reset() {
    repairs_.reset();
    kinds_ = 0;
    left_out_ = 0;
  }

private:
  static constexpr std::size_t kMost = 1024;  // reports need no more
  std::uint32_t kinds_ = 0;
  std::int64_t left_out_ = 0;
  GrowArray<PDF_REPAIR> repairs_;
};

/// True lengths of streams whose "Length" is not followed by endstream.
class StreamLengths {
public:
  bool checked = false;      ///< If set, a "Length" that is not followed by endstream is ignored.
  std::int64_t scanned = 0;  ///< Bytes searched for ends.

  std::size_t size() const { return count_; }
  /// The length of the data at `offset`, or 0 when it was not found to be false.
  std::int32_t find(std::uint32_t offset) const { return slots_.empty() ? 0 : slots_[slot_of(offset)].length; }
  /// `offset` is not known yet, `length` above 0. False without memory.
  bool add(std::uint32_t offset, std::int32_t length) {
    if ((count_ + 1) * 4 > slots_.size() * 3 && !widen())
      return false;
    slots_[slot_of(offset)] = {offset, length};
    ++count_;
    return true;
  }
  /// Forgets the lengths found; `checked` stays.
  void reset() {
    slots_.reset();
    count_ = 0;
    scanned = 0;
  }

private:
  // The slot of `offset`, or the free one that it would get. The count of slots is a power of two, and some are free.
  std::size_t slot_of(std::uint32_t offset) const {
    constexpr std::uint32_t kSpread = 0x9E3779B1;  // streams of equal size must not meet in few slots
    const std::size_t last = slots_.size() - 1;
    std::size_t at = (offset * kSpread >> 7) & last;
    while (slots_[at].length != 0 && slots_[at].offset != offset)
      at = (at + 1) & last;
    return at;
  }
  bool widen() {
    constexpr std::size_t kFirst = 64;
    GrowArray<PDF_LENGTH> before;
    before.swap(slots_);
    if (!slots_.resize(before.empty() ? kFirst : before.size() * 2)) {
      before.swap(slots_);
      return false;
    }
    for (const PDF_LENGTH& known : before) {
      if (known.length != 0)
        slots_[slot_of(known.offset)] = known;
    }
    return true;
  }

  GrowArray<PDF_LENGTH> slots_;  // by offset, from the place that it is spread to on; a length of 0: free
  std::size_t count_ = 0;
};

/// The memory that the objects of decoded object streams take, as estimated.
struct ObjStmBudget {
  std::int64_t limit = 16 << 20;  ///< Bytes that they may take together.
  std::int64_t held = 0;          ///< What they take now,
  std::int64_t lists = 0;         ///< and what of it are lists of references.
  std::int64_t loaded = 0;        ///< All that was decoded,
  std::int64_t reloaded = 0;      ///< and all that was decoded again.
  std::uint32_t hand = 0;         ///< Index in the cache at which the search for objects to release goes on.

  bool fits(std::int64_t weight) const { return held + weight <= limit; }
  /// A document that is read criss-cross would only decode the same streams again and again; such a
  /// one is held as a whole in the end.
  bool is_useless() const { return reloaded > kMostReloads * loaded; }
  void note_load(std::int64_t weight, bool again) { (again ? reloaded : loaded) += weight; }
  /// Lists serve every walk, and are kept longer than texts; but some room is left for these.
  bool has_many_lists() const { return lists > limit / 4 * 3; }
  /// The document is going to be read from its beginning once more, which is not criss-cross.
  void start_again() { reloaded = 0; }
  /// Nothing is held any more; `limit` stays.
  void reset() {
    held = lists = loaded = reloaded = 0;
    hand = 0;
  }

private:
  static constexpr std::int64_t kMostReloads = 4;  // times that everything may be decoded again
};

/// Counts calls of one kind that are nested in one another. A cycle of references ends at the limit.
class Nesting {
public:
  explicit constexpr Nesting(std::int32_t most) : most_(most) {}
  bool is_full() const { return depth_ >= most_; }

  /// One call, as long as it lives.
  class Call {
  public:
    explicit Call(Nesting& nesting) : nesting_(nesting) { ++nesting_.depth_; }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    ~Call() { --nesting_.depth_; }

  private:
    Nesting& nesting_;
  };

private:
  std::int32_t most_;
  std::int32_t depth_ = 0;
};

/// Streams that are made for one another's parameters, and what the outermost of them has cost.
class StreamWork {
public:
  bool is_nested() const { return depth_ > 0; }
  /// Whether one more stream would be too deep, or too much work for the one that needs it.
  bool is_spent(std::int32_t most_deep, std::int64_t most_work) const {
    return depth_ >= most_deep || (is_nested() && work_ > most_work);
  }
  std::int64_t done() const { return work_; }
  /// Where the data of the innermost one are in the file; 0 when they are elsewhere.
  std::uint32_t place() const { return place_; }
  /// Adds decoded bytes.
  void add(std::int64_t bytes) { work_ += bytes; }

  /// The making of one stream, as long as it lives; `cost` counts when it is nested.
  class Stream {
  public:
    Stream(StreamWork& work, std::int64_t cost, std::uint32_t place) : work_(work), outer_(work.place_) {
      work_.place_ = place;
      work_.work_ = work_.is_nested() ? work_.work_ + cost : 0;
      ++work_.depth_;
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    ~Stream() {
      --work_.depth_;
      work_.place_ = outer_;
    }

  private:
    StreamWork& work_;
    std::uint32_t outer_;
  };

private:
  std::int32_t depth_ = 0;
  std::int64_t work_ = 0;
  std::uint32_t place_ = 0;
};

/// How many values a block of the QVAlloc family really holds, where the count that is seen grows by
/// small fixed steps: the block itself grows by half, so that it is not moved at each step.
class Room {
public:
  /// False without memory; the block then stays as it was.
  template <class T>
  bool reach(T*& block, std::uint32_t count) {
    return count <= held_ || grow(block, std::max(count, held_ + held_ / 2));
  }
  /// The same with a growth of the caller's own: `count` values, if more than are held.
  template <class T>
  bool grow(T*& block, std::uint32_t count) {
    if (count <= held_)
      return true;
    void* const grown = QVRealloc(block, std::size_t{count} * sizeof(T));
    if (grown == nullptr)
      return false;
    block = static_cast<T*>(grown);
    held_ = count;
    return true;
  }
  std::uint32_t held() const { return held_; }
  void reset() { held_ = 0; }

private:
  std::uint32_t held_ = 0;
};

/// A place in a list by object number, 0 for none.
class NumberIndex {
public:
  bool reaches(std::uint32_t num) const { return num < places_.size(); }
  /// Makes the index reach `num`. False when the number is too high to be indexed, or without memory.
  bool extend_to(std::uint32_t num) {
    return reaches(num) || (num < kLimit && places_.resize(std::max(rounded(num), places_.size() * 2)));
  }
  std::int32_t get(std::uint32_t num) const { return places_[num]; }
  void set(std::uint32_t num, std::int32_t place) { places_[num] = place; }
  void reset() { places_.reset(); }

private:
  static constexpr std::size_t kStep = 1024;
  static constexpr std::uint32_t kLimit = 1u << 26;
  static constexpr std::size_t rounded(std::uint32_t num) { return (num / kStep + 1) * kStep; }

  GrowArray<std::int32_t> places_;
};

}  // namespace sheaf
