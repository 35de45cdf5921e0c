// Runs of consecutive object numbers, the form in which cross-reference sections list objects.
#pragma once

#include <cstdint>

#include "sheaf/base/heap.h"
#include "sheaf/object/array.h"

/// A stretch of consecutive object numbers.
struct PDF_RUN {
  std::int32_t first;
  std::int32_t count;
};

namespace sheaf {

/// A list of runs in ascending order; its block grows by whole steps of pairs.
class ObjectRuns {
public:
  explicit ObjectRuns(std::int32_t step) : step_(step) {}
  ObjectRuns(const ObjectRuns&) = delete;
  ObjectRuns& operator=(const ObjectRuns&) = delete;
  ~ObjectRuns() { QVFree(items_); }

  /// False when there is no memory; the list then stays as it was.
  bool append(std::int32_t first, std::int32_t count);
  const PDF_RUN* begin() const { return items_; }
  const PDF_RUN* end() const { return items_ + count_; }
  /// `first` + `count` of the last run: the value for "Size".
  std::int32_t size_value() const;
  /// The array for "Index".
  void fill_index(CPDFArray& index) const;

private:
  PDF_RUN* items_ = nullptr;
  std::int32_t count_ = 0;
  std::int32_t capacity_ = 0;
  std::int32_t step_;
};

}  // namespace sheaf
