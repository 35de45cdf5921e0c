#include "safe_output.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "tool_support.h"

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
  std::FILE* const file = handle >= 0 ? fdopen(handle, "w+b") : nullptr;
  if (file == nullptr) {
    complain(target, std::string("no file can be created beside it: ") + std::strerror(errno));
    return false;
  }
  path_ = name.data();
  stream_.file = file;
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
    good = std::fwrite(block.data(), 1, got, stream_.file) == got;
  good = good && std::ferror(in) == 0 && std::fflush(stream_.file) == 0;
  std::fclose(in);
  if (!good)
    complain(target_, std::string("the copy could not be written: ") + std::strerror(errno));
  return good;
}

bool SafeOutput::commit() {
  std::FILE* const file = stream_.file;
  bool good = std::fflush(file) == 0 && std::fseek(file, 0, SEEK_END) == 0;
  size_ = std::ftell(file);
  struct stat old = {};
  const mode_t mode = stat(target_.c_str(), &old) == 0 ? old.st_mode & 07777 : usual_mode();
  good = good && fchmod(fileno(file), mode) == 0 && fsync(fileno(file)) == 0;
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
