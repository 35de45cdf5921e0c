// How far a save is that the tool does not write itself: how much its file has grown.
#pragma once

#include <string>

#include "sheaf/base/work_watch.h"
#include "support/progress.h"

namespace sheaf::tool {

class SaveProgress {
public:
  /// Looks at the size of the file at `path` from time to time as long as it lives; `before` is its length at the
  /// start.
  SaveProgress(std::string path, long long before);

private:
  static bool look(void* context);

  std::string path_;
  long long before_;
  Progress progress_;
  WorkWatch watch_;
};

}  // namespace sheaf::tool
