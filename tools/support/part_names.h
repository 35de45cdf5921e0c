// The names of the files into which a document is split.
#pragma once

#include <string>

namespace sheaf::tool {

/// The name of part `part` (from 1) of `parts`. "%d" in the pattern stands for the number, with as many digits as the
/// last part's; "%03d" for one of three digits at least; "%%" for a percent sign. A pattern without a number gets one
/// before its extension when there are several parts.
std::string part_name(const std::string& pattern, int part, int parts);

}  // namespace sheaf::tool
