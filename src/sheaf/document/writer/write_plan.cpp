// Object streams keep the members that they had, or take what comes, a hundred at a time.
#include "sheaf/document/writer/write_plan.h"

#include <algorithm>

#include "sheaf/xref/xref_table.h"

namespace sheaf {

bool WritePlan::append(std::int32_t num, bool member, bool first) {
  const int mark = (member ? kMember : 0) | (first ? kFirst : 0);
  return order_.push(num) && marks_.push(static_cast<std::uint8_t>(mark));
}

// An object stream that is kept keeps its number; of others it is given out with the numbers.
bool WritePlan::plan_streams(CPDFXRefTable& table, PDF_OBJECT_STREAMS wanted, std::int32_t kept_apart) {
  std::int32_t container = 0;
  std::int32_t members = 0;
  for (const std::int32_t num : survey_.objects()) {
    const PDF_XREF& entry = *table.entry(num);
    const bool may = survey_.kind(num) != ObjectSurvey::kStream && num != kept_apart;
    const bool preserved = wanted == PDF_OBJECT_STREAMS::kPreserve && entry.is_compressed();
    if (!may || (wanted != PDF_OBJECT_STREAMS::kGenerate && !preserved)) {
      if (!append(num, false, false))
        return false;
      continue;
    }
    const auto holder = entry.container();
    const bool first = preserved ? holder != container : members % kMembers == 0;
    container = holder;
    ++members;
    const bool stays = preserved && survey_.standing_for(holder) == 0;
    if (!append(num, true, first) || (first && !append_stream(stays ? holder : 0)))
      return false;
  }
  return true;
}

bool WritePlan::plan_numbers(CPDFXRefTable& table, bool renumber) {
  next_ = renumber ? 1 : object_num(std::max(table.xref_count, table.next_obj_num));
  for (const std::int32_t num : order_) {
    if (!set_number(num, renumber ? next_++ : num))
      return false;
  }
  for (std::int32_t& stream : streams_) {
    if (renumber || stream == 0)
      stream = next_++;
  }
  if (renumber)
    return true;
  // What is after the last object in use is not needed.
  std::int32_t last = 0;
  for (const std::int32_t num : order_)
    last = std::max(last, num);
  for (const std::int32_t stream : streams_)
    last = std::max(last, stream);
  next_ = last + 1;
  return true;
}

bool WritePlan::make(CPDFXRefTable& table, const PDF_WRITE_OPTIONS& options, std::int32_t kept_apart) {
  const PDF_OBJECT_STREAMS wanted = options.readable ? PDF_OBJECT_STREAMS::kDisable : options.object_streams;
  return plan_streams(table, wanted, kept_apart) && plan_numbers(table, options.renumber);
}

}  // namespace sheaf
