// A number for each object number, 0 for those that have none: what walks remember of objects.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/visited_set.h"

namespace sheaf {

class NumberMap {
public:
  std::int32_t get(std::int32_t num) const {
    return num > 0 && static_cast<std::size_t>(num) < values_.size() ? values_[num] : 0;
  }
  /// False when `num` is beyond what files have, or there is no memory.
  bool set(std::int32_t num, std::int32_t value) {
    if (num < 1 || num > VisitedSet::kMostNum)
      return false;
    const auto at = static_cast<std::size_t>(num);
    if (at >= values_.size() && !values_.resize(at + at / 2 + 64))
      return false;
    values_[at] = value;
    return true;
  }
  bool empty() const { return values_.empty(); }
  void clear() { values_.clear(); }
  void reset() { values_.reset(); }

private:
  GrowArray<std::int32_t> values_;
};

}  // namespace sheaf
