// A temporary file in the folder of the target, which `commit` renames. What is replaced waits for the disk.
#include "support/safe_output.h"

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include "sheaf/base/heap.h"
#include "support/inputs.h"
#include "support/messages.h"
#include "support/unnamed_file.h"

namespace sheaf::tool {

namespace {

constexpr unsigned kModeOfNew = 0666;  // less the process's mask

// What a file made by open(2) would have; one made under a temporary name is its owner's only.
mode_t usual_mode() {
  const mode_t mask = umask(0);
  umask(mask);
  return kModeOfNew & ~mask;
}

std::string folder_of(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

// Where a chain of links leads, also when nothing is there yet. Empty when it goes round.
std::string follow_links(std::string path) {
  constexpr int kMostLinks = 40;
  for (int i = 0; i < kMostLinks; ++i) {
    char link[PATH_MAX];
    const ssize_t len = readlink(path.c_str(), link, sizeof(link));
    if (len < 0)
      return path;
    const std::string next(link, static_cast<std::size_t>(len));
    path = next[0] == '/' ? next : folder_of(path) + "/" + next;
  }
  return "";
}

// Access lists and the user's own attributes. What another system's security adds is not ours to copy.
bool keep_attributes(const std::string& from, int to) {
  std::vector<char> names(static_cast<std::size_t>(std::max<ssize_t>(listxattr(from.c_str(), nullptr, 0), 0)));
  const ssize_t len = names.empty() ? 0 : listxattr(from.c_str(), names.data(), names.size());
  bool good = true;
  for (ssize_t at = 0; at < len; at += static_cast<ssize_t>(std::strlen(names.data() + at)) + 1) {
    const char* const name = names.data() + at;
    const bool is_access_list = std::strcmp(name, "system.posix_acl_access") == 0;
    if (!is_access_list && std::strncmp(name, "user.", 5) != 0)
      continue;
    std::vector<char> value(static_cast<std::size_t>(std::max<ssize_t>(getxattr(from.c_str(), name, nullptr, 0), 0)));
    const ssize_t got = getxattr(from.c_str(), name, value.data(), value.size());
    const bool done = got >= 0 && fsetxattr(to, name, value.data(), static_cast<std::size_t>(got), 0) == 0;
    good = good && (done || !is_access_list);
  }
  return good;
}

// The owner comes first, since a change of it takes special bits off the mode.
bool keep_owner_and_mode(const struct stat& old, const std::string& path, int handle) {
  struct stat fresh = {};
  if (fstat(handle, &fresh) != 0)
    return false;
  const bool is_owned =
      (fresh.st_uid == old.st_uid && fresh.st_gid == old.st_gid) || fchown(handle, old.st_uid, old.st_gid) == 0;
  if (!is_owned && fchown(handle, static_cast<uid_t>(-1), old.st_gid) != 0)
    errno = 0;
  // The special bits belong to an owner.
  const mode_t mode = old.st_mode & (is_owned ? 07777u : 0777u);
  return fchmod(handle, mode) == 0 && keep_attributes(path, handle) && is_owned;
}

}  // namespace

SafeOutput::~SafeOutput() {
  stream_.Close();
  if (!name_.empty())
    unlink(name_.c_str());
  if (other_ >= 0)
    close(other_);
}

std::string SafeOutput::name() const {
  return output_name(target_);
}

bool SafeOutput::fail(const std::string& what) {
  complain(name(), what);
  return false;
}

bool SafeOutput::is_allowed(const struct stat& old) {
  if (S_ISDIR(old.st_mode))
    return fail("is a directory; name a file in it");
  if (is_input(old))
    return fail("is one of the inputs; choose another name");
  return true;
}

bool SafeOutput::open_other() {
  other_ = ::open(target_.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
  return other_ >= 0 || fail(std::string("cannot be opened for writing: ") + std::strerror(errno));
}

// Finds out what the target is.
bool SafeOutput::examine() {
  struct stat standard = {};
  const bool has_standard = fstat(STDOUT_FILENO, &standard) == 0;
  struct stat old = {};
  const bool is_standard = target_ == "-";
  const bool exists = is_standard || stat(target_.c_str(), &old) == 0;
  if (is_standard || (exists && has_standard && old.st_dev == standard.st_dev && old.st_ino == standard.st_ino)) {
    claim_standard_output();
    other_ = dup(STDOUT_FILENO);
    return other_ >= 0 || fail(std::string("cannot be opened for writing: ") + std::strerror(errno));
  }
  if (exists && !is_allowed(old))
    return false;
  if (exists && !S_ISREG(old.st_mode))
    return open_other();
  place_ = follow_links(target_);
  if (place_.empty())
    return fail("is a link that leads nowhere; choose another name");
  // A descriptor of this process, not a name that could be replaced.
  if (place_.rfind("/proc/", 0) == 0) {
    place_.clear();
    return open_other();
  }
  if (exists && access(place_.c_str(), W_OK) != 0)
    return fail("is protected against writing; change its mode or choose another name");
  return true;
}

bool SafeOutput::make_named(const std::string& folder) {
  std::string name = folder + "/.sheaf-XXXXXX";
  const SignalsHeld held;
  const int handle = mkostemp(name.data(), O_CLOEXEC);
  if (handle < 0)
    return fail(std::string("no file can be made beside it: ") + std::strerror(errno));
  removal_.watch(name);
  name_ = name;
  stream_.Open(handle);
  return true;
}

bool SafeOutput::open(const std::string& target) {
  target_ = target;
  if (!examine())
    return false;
  if (place_.empty()) {
    const int handle = direct_ ? -1 : make_temporary_file();
    if (handle >= 0)
      stream_.Open(handle);
    return direct_ || handle >= 0;
  }
  const std::string folder = folder_of(place_);
  struct stat old = {};
  const bool replaces = stat(place_.c_str(), &old) == 0;
  const int handle = make_unnamed_file(folder, replaces ? 0600 : kModeOfNew);
  if (handle < 0)
    return make_named(folder);
  stream_.Open(handle);
  return true;
}

bool SafeOutput::open_for_data(const std::string& target) {
  direct_ = true;
  return open(target);
}

std::string SafeOutput::path() const {
  return name_.empty() ? path_of_handle(stream_.handle()) : name_;
}

bool SafeOutput::is_terminal() const {
  return other_ >= 0 && isatty(other_) != 0;
}

bool SafeOutput::put(const void* data, std::size_t size) {
  if (other_ < 0 || !direct_) {
    const auto count = static_cast<unsigned>(size);
    return count == size && stream_.Write(data, count) == count;
  }
  size_ += static_cast<long long>(size);
  return write_all(other_, data, size);
}

bool SafeOutput::copy_of(const std::string& source) {
  const int in = ::open(source.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat info = {};
  if (in < 0 || fstat(in, &info) != 0) {
    complain(source, std::string("cannot be opened: ") + std::strerror(errno));
    return false;
  }
  const bool good = copy_bytes(in, stream_.handle()) >= 0;
  const int reason = errno;
  close(in);
  return good || fail(std::string("the copy could not be written: ") + std::strerror(reason));
}

// Some file systems say only on closing that the bytes found no room.
bool SafeOutput::bring_to_disk(bool replaces) {
  const int again = dup(stream_.handle());
  const bool closed = again >= 0 && close(again) == 0;
  // What is replaced must not be lost before its successor is on the disk. A file that is new can be made again from
  // its inputs, so that nobody has to wait for the disk.
  return closed && (!replaces || fsync(stream_.handle()) == 0);
}

bool SafeOutput::send_copy() {
  const int from = stream_.handle();
  return lseek(from, 0, SEEK_SET) == 0 && copy_bytes(from, other_) >= 0;
}

// Gives a complete file a name that is free. False where the name is taken or names cannot be given this way.
bool SafeOutput::take_free_place() {
  return linkat(AT_FDCWD, path_of_handle(stream_.handle()).c_str(), AT_FDCWD, place_.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

bool SafeOutput::take_place() {
  const SignalsHeld held;
  for (int i = 0; name_.empty(); ++i) {
    // A file cannot be replaced by one without a name, so it has one for a moment.
    constexpr int kMostTries = 100;
    const std::string name = folder_of(place_) + "/.sheaf-" + std::to_string(getpid()) + "-" + std::to_string(i);
    if (linkat(AT_FDCWD, path_of_handle(stream_.handle()).c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0)
      name_ = name;
    else if (errno != EEXIST || i == kMostTries)
      return false;
  }
  if (std::rename(name_.c_str(), place_.c_str()) != 0)
    return false;
  name_.clear();
  removal_.dismiss();
  return true;
}

bool SafeOutput::commit() {
  if (heap_refusals() != 0)
    return fail("there is not enough memory for all that belongs into it; nothing was changed");
  struct stat written = {};
  if (stream_.handle() >= 0 && fstat(stream_.handle(), &written) == 0)
    size_ = written.st_size;
  errno = 0;
  if (place_.empty()) {
    const bool good = (direct_ || send_copy()) && close(other_) == 0;
    other_ = -1;
    stream_.Close();
    return good || fail(std::string("could not be written to its end: ") + std::strerror(errno));
  }
  // What is at the target may have come since the beginning.
  struct stat old = {};
  const bool replaces = stat(place_.c_str(), &old) == 0;
  if (replaces && !is_allowed(old))
    return false;
  if (replaces && !keep_owner_and_mode(old, place_, stream_.handle()))
    warn(target_, "its owner or access list could not be kept; it belongs to you now");
  if (!replaces && !name_.empty())
    fchmod(stream_.handle(), usual_mode());
  const bool good = bring_to_disk(replaces) && ((!replaces && name_.empty() && take_free_place()) || take_place());
  if (!good)
    return fail(std::string("could not be written: ") + std::strerror(errno) + "; nothing was changed");
  stream_.Close();
  return true;
}

bool is_same_file(const std::string& a, const std::string& b) {
  struct stat first = {};
  struct stat second = {};
  return stat(a.c_str(), &first) == 0 && stat(b.c_str(), &second) == 0 && first.st_dev == second.st_dev &&
         first.st_ino == second.st_ino;
}

}  // namespace sheaf::tool
