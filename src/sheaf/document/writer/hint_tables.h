// The hint tables of a linearized file as they are written (ISO 32000-1, Annex F.4).
#pragma once

#include <cstdint>

#include "sheaf/base/stream.h"
#include "sheaf/document/writer/linear_plan.h"

namespace sheaf {

/// What the tables say of places. Offsets count as if the hint stream were not there.
class UnitPlaces {
public:
  /// `starts`, borrowed, say where each unit begins behind `base`, and the last where all end.
  UnitPlaces(const GrowArray<std::uint32_t>& starts, std::uint32_t base) : starts_(starts), base_(base) {}

  std::uint32_t start(std::size_t unit) const { return base_ + starts_[unit]; }
  std::uint32_t length(std::size_t unit) const { return starts_[unit + 1] - starts_[unit]; }
  std::uint32_t length(LinearPlan::Part part) const {
    return part.count != 0 ? starts_[part.first + part.count] - starts_[part.first] : 0;
  }

private:
  const GrowArray<std::uint32_t>& starts_;
  std::uint32_t base_;
};

/// The three tables, one after the other.
struct HintTables {
  CQVStreamMem data;
  std::uint32_t shared_at = 0;    ///< Where the table of shared objects begins.
  std::uint32_t outlines_at = 0;  ///< Where that of outlines does; 0: no outline.

  void make(const LinearPlan& plan, const UnitPlaces& places);
};

}  // namespace sheaf
