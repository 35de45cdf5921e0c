// The page's own markup, style and script, made into bytes of the program while it is built.
#pragma once

#include <string_view>

namespace sheaf::tool {

/// The page in front of the document's data, with the policy that lets no other script run.
extern const std::string_view kPageHead;
/// What follows the data.
extern const std::string_view kPageTail;

}  // namespace sheaf::tool
