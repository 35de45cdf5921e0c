// Parts of one job, each in a copy of this process: what the documents opened so far hold need not be read again.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace sheaf::tool {

struct PartResult {
  std::string printed;  ///< To standard output.
  int code = 0;         ///< An ExitCode.
};

/// Runs the parts from 0 to `count` - 1 at the same time. What they complain of comes out in their order, what they
/// print is in `results`. False, with a message about `file`, when one of them did not come to its end.
bool run_parts(const std::string& file, int count, const std::function<int(int part)>& run,
               std::vector<PartResult>& results);

}  // namespace sheaf::tool
