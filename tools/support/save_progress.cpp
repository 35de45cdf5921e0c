// The library asks every few milliseconds whether work shall go on, which is often enough to look.
#include "support/save_progress.h"

#include <sys/stat.h>

#include <utility>

namespace sheaf::tool {

SaveProgress::SaveProgress(std::string path, long long before)
    : path_(std::move(path)), before_(before), progress_("MiB written", 0), watch_(look, this) {}

bool SaveProgress::look(void* context) {
  constexpr long long kMebibyte = 1024 * 1024;
  auto& self = *static_cast<SaveProgress*>(context);
  struct stat info = {};
  if (stat(self.path_.c_str(), &info) == 0)
    self.progress_.show((info.st_size - self.before_) / kMebibyte);
  return true;
}

}  // namespace sheaf::tool
