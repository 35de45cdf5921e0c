// Colours by kind, filter and revision, and sizes in the largest fitting unit.
#include "map/map_style.h"

#include <cstdio>
#include <iterator>

namespace sheaf::tool {

namespace {

struct KindStyle {
  const char* colour;
  bool dark;
};

// In the order of PartKind. Neighbours differ in lightness too, for those who see colours alike.
constexpr KindStyle kKinds[] = {
    {"#1d4f91", true},  {"#7fb0e3", false}, {"#e39a2d", false}, {"#3c9a6a", true},
    {"#8d74c4", true},  {"#57b5b2", false}, {"#b3bcc8", false}, {"#353b45", true},
    {"#d08c8c", false}, {"#f0dc50", false}, {"#eceff3", false},
};
static_assert(std::size(kKinds) == kPartKinds);

struct FilterStyle {
  const char* name;
  const char* colour;
};
constexpr FilterStyle kFilters[] = {
    {"Flate", "#3f7cac"}, {"Fl", "#3f7cac"},    {"DCT", "#2f9e57"}, {"JPX", "#93b733"},       {"CCITT", "#b5651d"},
    {"CCF", "#b5651d"},   {"JBIG2", "#c0392b"}, {"LZW", "#9b59b6"}, {"RunLength", "#d4a017"}, {"RL", "#d4a017"},
    {"ASCII", "#7f8c8d"}, {"A85", "#7f8c8d"},   {"AHx", "#7f8c8d"}, {"Crypt", "#34495e"},
};
constexpr char kNoFilter[] = "#c9ced6";
constexpr char kOtherFilter[] = "#e0559b";

constexpr const char* kRevisions[] = {"#c9d2dd", "#d1495b", "#edae49", "#00798c", "#66a182", "#8e6c8a", "#2e4057"};

}  // namespace

const char* kind_colour(PartKind kind) {
  return kKinds[static_cast<std::size_t>(kind)].colour;
}

bool is_dark(PartKind kind) {
  return kKinds[static_cast<std::size_t>(kind)].dark;
}

// The last filter of a chain says what the data are.
const char* filter_colour(const std::string& filters) {
  if (filters.empty())
    return kNoFilter;
  const std::string last = filters.substr(filters.rfind(' ') + 1);
  for (const FilterStyle& style : kFilters) {
    if (last.starts_with(style.name))
      return style.colour;
  }
  return kOtherFilter;
}

const char* revision_colour(std::size_t index) {
  constexpr std::size_t kUpdates = std::size(kRevisions) - 1;
  return index == 0 ? kRevisions[0] : kRevisions[1 + (index - 1) % kUpdates];
}

std::string size_text(std::int64_t bytes, int most_digits) {
  static const char* const units[] = {"KiB", "MiB", "GiB"};
  constexpr double kStep = 1024;
  constexpr double kMostShown = 1000;  // four digits are harder to read than the next unit
  if (bytes < 1024)
    return std::to_string(bytes) + " B";
  double value = static_cast<double>(bytes) / kStep;
  std::size_t unit = 0;
  for (; value >= kMostShown && unit + 1 < std::size(units); ++unit)
    value /= kStep;
  char text[32];
  std::snprintf(text, sizeof text, "%.*f", value < 100 ? most_digits : 0, value);
  std::string shown = text;
  if (shown.find('.') != std::string::npos) {
    shown.erase(shown.find_last_not_of('0') + 1);
    if (shown.back() == '.')
      shown.pop_back();
  }
  return shown + " " + units[unit];
}

std::string count_text(std::int64_t count) {
  std::string text = std::to_string(count);
  for (std::size_t at = text.size(); at > 3; at -= 3)
    text.insert(at - 3, ",");
  return text;
}

std::string counted(std::int64_t count, const char* one, const char* many) {
  return count_text(count) + " " + (count == 1 ? one : many);
}

}  // namespace sheaf::tool
