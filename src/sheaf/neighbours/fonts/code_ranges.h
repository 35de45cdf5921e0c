// What a character map says about codes: ranges of codes of one to four bytes, each with the value
// of its first code. Ranges are stored as such however wide they are, sorted and free of overlaps,
// so that a lookup is one bisection.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sheaf/base/grow_array.h"

namespace sheaf {

constexpr int kMostCodeBytes = 4;

}  // namespace sheaf

/// Codes `lo` to `hi` of one length.
struct PDF_CODE_RANGE {
  std::uint32_t lo;
  std::uint32_t hi;
  std::uint32_t value;
};

namespace sheaf {

/// Collects ranges in the order in which a map defines them.
class CodeRangeList {
public:
  struct Entry {
    PDF_CODE_RANGE range;
    std::uint32_t bytes;  ///< Length of the codes.
    std::uint32_t order;  ///< Where two ranges overlap, the greater one holds.
  };
  /// No real map comes near; what a hostile one defines beyond is ignored.
  static constexpr std::size_t kMostEntries = std::size_t{1} << 18;

  /// Adds codes of `bytes` (1 to 4) bytes; a range that runs backwards is ignored.
  void add(int bytes, const PDF_CODE_RANGE& range);
  bool empty() const { return entries_.empty(); }
  GrowArray<Entry>& entries() { return entries_; }

private:
  GrowArray<Entry> entries_;
};

/// The finished table; immutable, and so free to be read from several threads.
class CodeRanges {
public:
  CodeRanges() = default;
  CodeRanges(const CodeRanges&) = delete;
  CodeRanges& operator=(const CodeRanges&) = delete;
  ~CodeRanges() { QVFree(items_); }

  /// Takes the ranges of `list`, which is sorted on the way; later ones cover earlier ones. `rises`
  /// says whether a value rises with the code or holds for the whole range. False, and an empty
  /// table, when there is no memory.
  bool build(CodeRangeList& list, bool (*rises)(std::uint32_t value));
  /// The range that holds `code` of `bytes` bytes, or null. Allocates nothing.
  const PDF_CODE_RANGE* find(std::uint32_t code, int bytes) const;
  /// Whether there are codes of this length.
  bool has_length(int bytes) const { return starts_[bytes] != starts_[bytes - 1]; }

private:
  PDF_CODE_RANGE* items_ = nullptr;
  std::uint32_t starts_[kMostCodeBytes + 1]{};  // ranges of n-byte codes begin at starts_[n - 1]
};

}  // namespace sheaf
