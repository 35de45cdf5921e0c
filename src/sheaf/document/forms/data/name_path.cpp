// The levels are kept as offsets into one buffer of the full name.
#include "sheaf/document/forms/data/name_path_internal.h"

namespace sheaf {

bool NamePath::push(std::string_view partial) {
  const std::size_t period = ends_.empty() || partial.empty() || text_.empty() ? 0 : 1;
  if (ends_.size() >= kMostLevels || text_.size() + partial.size() + period > kMostBytes)
    return false;
  if (period != 0)
    text_.push('.');
  for (const char c : partial)
    text_.push(c);
  return ends_.push(text_.size());
}

void NamePath::cut(std::size_t levels) {
  while (ends_.size() > levels)
    ends_.pop();
  const std::size_t size = ends_.empty() ? 0 : ends_.back();
  while (text_.size() > size)
    text_.pop();
}

std::string_view NamePath::level(std::size_t index) const {
  std::size_t first = index == 0 ? 0 : ends_[index - 1];
  if (first != 0 && first < ends_[index])
    ++first;  // the period
  return {text_.begin() + first, ends_[index] - first};
}

const char* NamePath::full() {
  if (!text_.push(0))
    return "";
  text_.pop();  // the byte stays behind the end
  return text_.begin();
}

std::string_view NamePath::split(std::string_view& rest, bool& more) {
  const std::size_t period = rest.find('.');
  const std::string_view first = rest.substr(0, period);
  more = period != std::string_view::npos;
  rest = more ? rest.substr(period + 1) : std::string_view();
  return first;
}

}  // namespace sheaf
