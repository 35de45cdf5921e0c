// How the parts of a map look, and numbers as people read them.
#pragma once

#include <cstdint>
#include <string>

#include "map/file_map.h"

namespace sheaf::tool {

const char* kind_colour(PartKind kind);
/// Whether a text upon the kind's colour should be white.
bool is_dark(PartKind kind);
const char* filter_colour(const std::string& filters);
const char* revision_colour(std::size_t index);
/// "345 B", "1.5 KiB": with at most that many digits after the point.
std::string size_text(std::int64_t bytes, int most_digits = 1);
/// "1,234,567".
std::string count_text(std::int64_t count);
/// "1 object", "2 objects".
std::string counted(std::int64_t count, const char* one, const char* many);

constexpr char kUnusedHatch[] = "url(#unused)";

}  // namespace sheaf::tool
