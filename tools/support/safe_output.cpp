// A temporary file in the folder of the target, which `commit` renames. What is replaced waits for the disk.
#include "support/safe_output.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

// What a file made by open(2) would have; mkstemp gives it to its owner only.
mode_t usual_mode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

SafeOutput::~SafeOutput() {
  stream_.Close();
  if (!path_.empty())
    unlink(path_.c_str());
}

bool SafeOutput::open(const std::string& target) {
  target_ = target;
  std::vector<char> name(target.begin(), target.end());
  for (const char c : std::string(".XXXXXX"))
    name.push_back(c);
  name.push_back('\0');
  const int handle = mkstemp(name.data());
  if (handle < 0) {
    complain(target, std::string("no file can be created beside it: ") + std::strerror(errno));
    return false;
  }
  path_ = name.data();
  stream_.Open(handle);
  return true;
}

bool SafeOutput::copy_of(const std::string& source) {
  std::FILE* const in = std::fopen(source.c_str(), "rb");
  if (in == nullptr) {
    complain(source, "cannot be opened; check the path and its permissions");
    return false;
  }
  std::vector<char> block(256 * 1024);
  bool good = true;
  for (std::size_t got = std::fread(block.data(), 1, block.size(), in); got != 0 && good;
       got = std::fread(block.data(), 1, block.size(), in))
    good = stream_.Write(block.data(), static_cast<unsigned>(got)) == got;
  good = good && std::ferror(in) == 0;
  std::fclose(in);
  if (!good)
    complain(target_, std::string("the copy could not be written: ") + std::strerror(errno));
  return good;
}

bool SafeOutput::commit() {
  const int handle = stream_.handle();
  struct stat written = {};
  bool good = fstat(handle, &written) == 0;
  size_ = written.st_size;
  struct stat old = {};
  const bool replaces = stat(target_.c_str(), &old) == 0;
  good = good && fchmod(handle, replaces ? old.st_mode & 07777 : usual_mode()) == 0;
  // What is replaced must not be lost before its successor is on the disk. A file that is new can be
  // made again from its inputs, so that nobody has to wait for the disk.
  good = good && (!replaces || fsync(handle) == 0);
  good = good && std::rename(path_.c_str(), target_.c_str()) == 0;
  if (!good) {
    complain(target_, std::string("could not be written: ") + std::strerror(errno) + "; nothing was changed");
    return false;
  }
  path_.clear();
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
