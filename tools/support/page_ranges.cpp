// Parses the ranges one by one; the first that is wrong is the error.
#include "support/page_ranges.h"

#include <unistd.h>

#include <algorithm>

#include "support/messages.h"

namespace sheaf::tool {

namespace {

// A page number from 1, or 0 when `text` is not one.
int read_page(const std::string& text, int count) {
  if (text == "z")
    return count;
  const bool from_end = !text.empty() && text[0] == 'r';
  const std::string digits = from_end ? text.substr(1) : text;
  const bool sound = !digits.empty() && digits.size() <= 9 &&
                     std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; });
  if (!sound)
    return 0;
  const int number = std::stoi(digits);
  const int page = from_end ? count + 1 - number : number;
  return number >= 1 && page >= 1 && page <= count ? page : 0;
}

// Every second page from `first` on.
void add_every_second(int first, int count, std::vector<std::int32_t>& pages) {
  for (int page = first; page <= count; page += 2)
    pages.push_back(page - 1);
}

}  // namespace

bool read_page_ranges(const std::string& ranges, int count, std::vector<std::int32_t>& pages, std::string& trouble) {
  std::size_t at = 0;
  while (at <= ranges.size()) {
    const std::size_t end = std::min(ranges.find(',', at), ranges.size());
    const std::string part = ranges.substr(at, end - at);
    at = end + 1;
    if (part == "odd" || part == "even") {
      add_every_second(part == "odd" ? 1 : 2, count, pages);
      continue;
    }
    const std::size_t dash = part.find('-');
    const bool is_open = dash != std::string::npos && dash + 1 == part.size();
    const int first = read_page(part.substr(0, dash), count);
    const int last = dash == std::string::npos ? first : is_open ? count : read_page(part.substr(dash + 1), count);
    if (first == 0 || last == 0) {
      trouble = part;
      return false;
    }
    for (int page = first;; page += first <= last ? 1 : -1) {
      pages.push_back(page - 1);
      if (page == last)
        break;
    }
  }
  return true;
}

bool select_pages(const std::string& ranges, const std::string& file, int count, std::vector<std::int32_t>& pages) {
  std::string trouble;
  if (ranges.empty()) {
    for (int page = 0; page < count; ++page)
      pages.push_back(page);
    return true;
  }
  if (read_page_ranges(ranges, count, pages, trouble))
    return true;
  complain(file, "has no pages \"" + trouble + "\"; it has " + std::to_string(count) +
                     ", and ranges look like 1-5,8,3-,r1,z-1,odd,even");
  return false;
}

FileRanges parse_file_ranges(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string::npos || colon == 0 || access(text.c_str(), F_OK) == 0)
    return {text, ""};
  return {text.substr(0, colon), text.substr(colon + 1)};
}

}  // namespace sheaf::tool
