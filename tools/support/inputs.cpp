#include "support/inputs.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

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
  static int taken = -1;  // what standard input gave; open until the process ends
  if (!note_input(file))
    return false;
  path = file;
  if (file != "-")
    return true;
  if (taken < 0) {
    taken = make_temporary_file();
    if (taken >= 0 && copy_bytes(STDIN_FILENO, taken) < 0) {
      complain(input_name(file), std::string("could not be read to its end: ") + std::strerror(errno));
      close(taken);
      taken = -1;
    }
  }
  path = path_of_handle(taken);
  return taken >= 0;
}

}  // namespace sheaf::tool
