// A file without a name from its first moment where the file system can, else one that loses its name at once.
#include "sheaf/base/temporary_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "sheaf/base/heap.h"

namespace sheaf {

namespace {

// `name` is a pattern for file systems where a file must have a name at first.
int make_unnamed(const char* folder, char* name) {
#ifdef O_TMPFILE
  const int handle = open(folder, O_TMPFILE | O_EXCL | O_RDWR | O_CLOEXEC, 0600);
  if (handle >= 0)
    return handle;
#endif
  return open_and_unlink(name);
}

}  // namespace

int open_and_unlink(char* pattern) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, &before);
  const int handle = mkostemp(pattern, O_CLOEXEC);
  const int error = errno;
  if (handle >= 0)
    unlink(pattern);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  errno = error;
  return handle;
}

std::FILE* open_unnamed_file(const char* folder) {
  const char* const base = folder != nullptr ? folder : std::getenv("TMPDIR");
  const char* const where = base != nullptr && *base != 0 ? base : "/tmp";
  constexpr char kName[] = "/sheaf-XXXXXX";
  const std::size_t len = std::strlen(where);
  auto* const path = static_cast<char*>(QVAlloc(len + sizeof(kName)));
  if (path == nullptr)
    return nullptr;
  std::memcpy(path, where, len);
  std::memcpy(path + len, kName, sizeof(kName));
  const int handle = make_unnamed(where, path);
  QVFree(path);
  std::FILE* const file = handle >= 0 ? fdopen(handle, "w+b") : nullptr;
  if (file == nullptr && handle >= 0)
    close(handle);
  return file;
}

}  // namespace sheaf
