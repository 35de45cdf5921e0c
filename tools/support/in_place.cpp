// The file is locked, opened afresh, and locked again when another process has replaced it meanwhile.
#include "support/in_place.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "support/messages.h"

namespace sheaf::tool {

InPlace::~InPlace() {
  cut_.dismiss();
  if (handle_ >= 0)
    close(handle_);
}

// Whether the name still leads to the file that was locked: a replacement is another file, with locks of its own.
bool InPlace::is_still_there() const {
  struct stat named = {};
  struct stat locked = {};
  return stat(file_.c_str(), &named) == 0 && fstat(handle_, &locked) == 0 && named.st_dev == locked.st_dev &&
         named.st_ino == locked.st_ino;
}

bool InPlace::lock(bool waits) {
  const int kind = LOCK_EX | (waits ? 0 : LOCK_NB);
  while (flock(handle_, kind) != 0) {
    if (errno == EINTR)
      continue;
    if (errno == EWOULDBLOCK) {
      complain(file_, "is being changed by another process; try again later, or leave out --no-wait");
      return false;
    }
    warn(file_, "its file system has no locks; nothing else may change it now");
    break;
  }
  return true;
}

bool InPlace::begin(const std::string& file, bool waits) {
  file_ = file;
  do {
    if (handle_ >= 0)
      close(handle_);
    handle_ = open(file.c_str(), O_RDWR | O_CLOEXEC);
    struct stat info = {};
    if (handle_ < 0 || fstat(handle_, &info) != 0) {
      complain(file, std::string("cannot be opened for changing: ") + std::strerror(errno));
      return false;
    }
    if (!S_ISREG(info.st_mode)) {
      complain(file, "is no regular file that could be changed in place");
      return false;
    }
    if (!lock(waits))
      return false;
  } while (!is_still_there());
  struct stat info = {};
  if (fstat(handle_, &info) != 0)
    return false;
  before_ = info.st_size;
  cut_.watch(handle_, before_);
  return true;
}

bool InPlace::finish(long long length) {
  struct stat info = {};
  const bool whole = fstat(handle_, &info) == 0 && info.st_size == length && fsync(handle_) == 0;
  cut_.dismiss();
  if (whole)
    return true;
  const bool undone = ftruncate(handle_, before_) == 0;
  complain(file_, std::string("the update could not be written to its end; ") +
                      (undone ? "the file is as it was" : "the file could not be cut back to its old length"));
  return false;
}

}  // namespace sheaf::tool
