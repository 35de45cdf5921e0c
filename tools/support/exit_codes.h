// What the tool's exit code says. Data go to standard output, messages to standard error.
#pragma once

namespace sheaf::tool {

enum ExitCode : int {
  kExitClean = 0,     ///< Done, and nothing to report.
  kExitProblems = 1,  ///< Done, with problems reported.
  kExitFailed = 2,    ///< Could not be done.
};

}  // namespace sheaf::tool
