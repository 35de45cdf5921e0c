// How many processes a command may be asked to use.
#pragma once

namespace sheaf::tool {

constexpr int kMostJobs = 256;

}  // namespace sheaf::tool
