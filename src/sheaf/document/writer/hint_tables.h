// The hint tables of a linearized file as they are written (ISO 32000-1, Annex F.4).
#pragma once

#include <cstdint>

#include "sheaf/base/stream.h"
#include "sheaf/document/writer/linear_plan.h"

namespace sheaf {

/// What the tables say of places. Offsets count as if the hint stream were not there.
class UnitPlaces {
public:
  /// `lengths`, borrowed, are those of the units, by index; `starts` their offsets.
  UnitPlaces(const GrowArray<std::uint32_t>& starts, const GrowArray<std::uint32_t>& lengths)
      : starts_(starts), lengths_(lengths) {}

  std::uint32_t start(std::size_t unit) const { return unit < starts_.size() ? starts_[unit] : 0; }
  std::uint32_t length(std::size_t unit) const { return lengths_[unit]; }
  std::uint32_t length(LinearPlan::Part part) const {
    std::uint32_t sum = 0;
    for (std::size_t i = part.first; i < part.first + part.count; ++i)
      sum += lengths_[i];
    return sum;
  }

private:
  const GrowArray<std::uint32_t>& starts_;
  const GrowArray<std::uint32_t>& lengths_;
};

/// The three tables, one behind the other.
struct HintTables {
  CQVStreamMem data;
  std::uint32_t shared_at = 0;    ///< Where the table of shared objects begins.
  std::uint32_t outlines_at = 0;  ///< Where that of outlines does; 0: there is none.

  void make(const LinearPlan& plan, const UnitPlaces& places);
};

}  // namespace sheaf
