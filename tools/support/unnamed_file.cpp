// A file without a name where the system has such, else one that is removed at once.
#include "support/unnamed_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "sheaf/base/temporary_file.h"
#include "support/messages.h"
#include "support/progress.h"

namespace sheaf::tool {

std::string temporary_folder() {
  const char* const chosen = std::getenv("TMPDIR");
  return chosen != nullptr && *chosen != '\0' ? chosen : "/tmp";
}

int make_unnamed_file(const std::string& folder, unsigned mode) {
#ifdef O_TMPFILE
  // Its name is given through /proc, which a small container may lack.
  if (access("/proc/self/fd", X_OK) == 0)
    return open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, mode);
#endif
  errno = EOPNOTSUPP;
  return -1;
}

int make_temporary_file() {
  const std::string folder = temporary_folder();
  int handle = make_unnamed_file(folder, 0600);
  if (handle >= 0)
    return handle;
  std::string name = folder + "/sheaf-XXXXXX";
  handle = open_and_unlink(name.data());
  if (handle < 0)
    complain(folder, std::string("no temporary file can be made in it: ") + std::strerror(errno));
  return handle;
}

std::string path_of_handle(int handle) {
  return "/proc/self/fd/" + std::to_string(handle);
}

bool write_all(int handle, const void* data, std::size_t size) {
  const auto* at = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t put = write(handle, at, size);
    if (put < 0 && errno == EINTR)
      continue;
    if (put <= 0)
      return false;
    at += put;
    size -= static_cast<std::size_t>(put);
  }
  return true;
}

long long copy_bytes(int from, int to) {
  constexpr std::size_t kBlock = 256 * 1024;
  constexpr long long kMebibyte = 1024 * 1024;
  std::vector<char> block(kBlock);
  struct stat info = {};
  const bool has_size = fstat(from, &info) == 0 && S_ISREG(info.st_mode);
  Progress progress("MiB copied", has_size ? info.st_size / kMebibyte : 0);
  long long total = 0;
  for (;;) {
    const ssize_t got = read(from, block.data(), block.size());
    if (got < 0 && errno == EINTR)
      continue;
    if (got == 0)
      return total;
    if (got < 0 || !write_all(to, block.data(), static_cast<std::size_t>(got)))
      return -1;
    total += got;
    progress.show(total / kMebibyte);
  }
}

}  // namespace sheaf::tool
