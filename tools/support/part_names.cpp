// Digits are as many as the last part needs, unless the pattern asks for more.
#include "support/part_names.h"

#include <algorithm>

namespace sheaf::tool {

namespace {

constexpr std::size_t kMostDigits = 9;

// The digits that the mark at `at`, after a percent sign, asks for, and its end; false when it is no mark.
bool read_mark(const std::string& pattern, std::size_t at, std::size_t& digits, std::size_t& end) {
  end = at;
  digits = 0;
  for (; end < pattern.size() && pattern[end] >= '0' && pattern[end] <= '9'; ++end)
    digits = std::min(digits * 10 + static_cast<std::size_t>(pattern[end] - '0'), kMostDigits);
  return end < pattern.size() && pattern[end] == 'd';
}

std::string number_text(int number, std::size_t digits) {
  std::string text = std::to_string(number);
  if (text.size() < digits)
    text.insert(0, digits - text.size(), '0');
  return text;
}

// Where a number belongs in a name that has none.
std::size_t end_of_stem(const std::string& name) {
  const std::size_t slash = name.rfind('/');
  const std::size_t dot = name.rfind('.');
  const std::size_t begin = slash == std::string::npos ? 0 : slash + 1;
  return dot == std::string::npos || dot <= begin ? name.size() : dot;
}

}  // namespace

std::string part_name(const std::string& pattern, int part, int parts) {
  const std::size_t usual = std::to_string(parts).size();
  std::string name;
  bool has_number = false;
  for (std::size_t at = 0; at < pattern.size(); ++at) {
    std::size_t digits = 0;
    std::size_t end = 0;
    if (pattern[at] == '%' && at + 1 < pattern.size() && pattern[at + 1] == '%') {
      name += '%';
      ++at;
    } else if (pattern[at] == '%' && read_mark(pattern, at + 1, digits, end)) {
      name += number_text(part, digits != 0 ? digits : usual);
      has_number = true;
      at = end;
    } else {
      name += pattern[at];
    }
  }
  if (!has_number && parts > 1)
    name.insert(end_of_stem(name), "-" + number_text(part, usual));
  return name;
}

}  // namespace sheaf::tool
