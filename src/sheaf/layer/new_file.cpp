// The growing file has a name of its own beside its target, and goes with every failure.
#include "sheaf/layer/new_file_internal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "sheaf/base/scope_guard.h"

namespace sheaf::layer {

namespace {

Error not_written(const std::string& path, const char* what) {
  return {Code::kNotWritten, 0, -1, path + " " + what + ": " + std::strerror(errno)};
}

// The mode of the file at `path`, or that of a new file.
mode_t mode_for(const std::string& path) {
  struct stat old = {};
  if (stat(path.c_str(), &old) == 0)
    return old.st_mode & 07777;
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

NewFile::~NewFile() {
  if (!growing_.empty())
    unlink(growing_.c_str());
}

Expected<void> NewFile::open(const std::string& path) {
  char* const real = realpath(path.c_str(), nullptr);
  const ScopeGuard release([real] { std::free(real); });
  path_ = real != nullptr ? real : path;
  std::string name = path_ + ".XXXXXX";
  const int handle = mkostemp(name.data(), O_CLOEXEC);
  if (handle < 0)
    return Error{Code::kNoFile, 0, -1, path + " cannot be made: " + std::strerror(errno)};
  growing_ = name;
  stream_.Open(handle);
  return {};
}

Expected<void> NewFile::commit() {
  const int handle = stream_.handle();
  if (fchmod(handle, mode_for(path_)) != 0 || fsync(handle) != 0)
    return not_written(path_, "cannot be brought to the disk");
  stream_.Close();
  if (std::rename(growing_.c_str(), path_.c_str()) != 0)
    return not_written(path_, "cannot be replaced");
  growing_.clear();
  return {};
}

Expected<void> write_file(const std::string& path, const void* data, std::size_t size) {
  NewFile file;
  if (Expected<void> opened = file.open(path); !opened)
    return opened;
  constexpr std::size_t kPiece = std::size_t{1} << 30;
  for (std::size_t done = 0; done < size;) {
    const auto piece = static_cast<unsigned>(std::min(size - done, kPiece));
    if (file.stream().Write(static_cast<const char*>(data) + done, piece) != piece)
      return not_written(path, "could not be written to its end");
    done += piece;
  }
  return file.commit();
}

}  // namespace sheaf::layer
