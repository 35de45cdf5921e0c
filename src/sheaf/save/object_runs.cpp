// The list grows by fixed steps, and by half once it is long.
#include "sheaf/save/object_runs_internal.h"

namespace sheaf {

bool ObjectRuns::append(std::int32_t first, std::int32_t count) {
  if (count_ >= capacity_) {
    const std::int32_t capacity = capacity_ + step_;
    void* grown = QVRealloc(items_, static_cast<std::size_t>(capacity) * sizeof(PDF_RUN));
    if (grown == nullptr)
      return false;
    items_ = static_cast<PDF_RUN*>(grown);
    capacity_ = capacity;
    // A document with many gaps would otherwise reallocate once for every few runs.
    if (capacity_ >= 64 * step_)
      step_ = capacity_ / 2;
  }
  items_[count_++] = {first, count};
  return true;
}

std::int32_t ObjectRuns::size_value() const {
  if (count_ == 0)
    return 1;
  const PDF_RUN& last = items_[count_ - 1];
  return last.first + last.count;
}

void ObjectRuns::fill_index(CPDFArray& index) const {
  for (const PDF_RUN& run : *this) {
    index.append_int(run.first);
    index.append_int(run.count);
  }
}

}  // namespace sheaf
