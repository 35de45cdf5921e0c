// Pipes are copied into a file without a name, since documents are read from their end.
#include "support/inputs.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <utility>
#include <vector>

#include "sheaf/base/stream.h"
#include "support/messages.h"
#include "support/unnamed_file.h"

namespace sheaf::tool {

namespace {

using Identity = std::pair<dev_t, ino_t>;

std::vector<Identity>& noted() {
  static std::vector<Identity> all;
  return all;
}

bool can_be_spoilt(const struct stat& file) {
  return S_ISREG(file.st_mode) || S_ISBLK(file.st_mode);
}

bool note(const struct stat& file, const std::string& name) {
  if (!can_be_spoilt(file))
    return true;
  struct stat output = {};
  if (fstat(STDOUT_FILENO, &output) == 0 && output.st_dev == file.st_dev && output.st_ino == file.st_ino) {
    complain(input_name(name), "standard output goes to this file, which is an input; choose another name");
    return false;
  }
  const Identity identity{file.st_dev, file.st_ino};
  if (std::find(noted().begin(), noted().end(), identity) == noted().end())
    noted().push_back(identity);
  return true;
}

// A temporary file without a name that has all that a pipe gives; -1, with a message, on failure.
int take_pipe(const std::string& file) {
  const int from = file == "-" ? dup(STDIN_FILENO) : open(file.c_str(), O_RDONLY | O_CLOEXEC);
  int handle = from >= 0 ? make_temporary_file() : -1;
  if (from < 0 || (handle >= 0 && copy_bytes(from, handle) < 0)) {
    complain(input_name(file), std::string("could not be read to its end: ") + std::strerror(errno));
    if (handle >= 0)
      close(handle);
    handle = -1;
  }
  if (from >= 0)
    close(from);
  return handle;
}

}  // namespace

bool note_input(const std::string& file) {
  struct stat info = {};
  const int known = file == "-" ? fstat(STDIN_FILENO, &info) : stat(file.c_str(), &info);
  return known != 0 || note(info, file);
}

bool is_input(const struct stat& file) {
  return can_be_spoilt(file) &&
         std::find(noted().begin(), noted().end(), Identity{file.st_dev, file.st_ino}) != noted().end();
}

bool input_path(const std::string& file, std::string& path) {
  struct stat info = {};
  const bool is_standard = file == "-";
  const bool exists = !is_standard && stat(file.c_str(), &info) == 0;
  if (exists && S_ISDIR(info.st_mode)) {
    complain(file, "is a directory; name a file in it");
    return false;
  }
  if (!note_input(file))
    return false;
  path = file;
  if (!is_standard && !(exists && (S_ISFIFO(info.st_mode) || S_ISSOCK(info.st_mode))))
    return true;
  // What a pipe gave is kept, since it gives it once; the descriptors are open until the process ends.
  static std::map<std::string, int> taken;
  const auto known = taken.find(file);
  const int handle = known != taken.end() ? known->second : take_pipe(file);
  if (handle < 0)
    return false;
  taken[file] = handle;
  path = path_of_handle(handle);
  return true;
}

bool read_input(const std::string& file, std::string& bytes) {
  std::string path;
  if (!input_path(file, path))
    return false;
  CQVStreamFile stream;
  stream.Open(path.c_str());
  if (stream.file == nullptr) {
    complain(input_name(file), "cannot be opened; check the path and its permissions");
    return false;
  }
  bytes.clear();
  char block[1 << 16];
  for (unsigned got = 1; got != 0;) {
    got = stream.Read(block, sizeof(block));
    bytes.append(block, got);
  }
  if (std::ferror(stream.file) == 0)
    return true;
  complain(input_name(file), std::string("could not be read to its end: ") + std::strerror(errno));
  return false;
}

}  // namespace sheaf::tool
