// Names from documents lose what a path or a device could be made of.
#include "support/safe_names.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "support/messages.h"
#include "support/utf8_steps.h"

namespace sheaf::tool {

namespace {

constexpr std::size_t kMostBytes = 200;  // of a name; file systems take 255, and a number may follow

std::string lower(std::string text) {
  for (char& c : text)
    c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return text;
}

// What the systems that know devices by file names take for one, with any extension.
bool is_device(const std::string& name) {
  const std::string stem = lower(name.substr(0, name.find('.')));
  for (const char* device : {"con", "prn", "aux", "nul"}) {
    if (stem == device)
      return true;
  }
  const bool numbered = stem.size() == 4 && stem[3] >= '0' && stem[3] <= '9';
  return numbered && (stem.compare(0, 3, "com") == 0 || stem.compare(0, 3, "lpt") == 0);
}

// The last part of a path of any system, with characters that no system forbids in names.
std::string base_of(const std::string& name) {
  const std::string base = name.substr(std::min(name.find_last_of("/\\:") + 1, name.size()));
  std::string out;
  for (std::size_t at = 0; at < base.size();) {
    const Utf8Step step = utf8_step(std::string_view(base).substr(at));
    const bool bad = !step.is_valid || is_unprintable(step.character) ||
                     std::string_view("<>\"|?*").find(base[at]) != std::string_view::npos;
    if (out.size() + step.bytes > kMostBytes)
      break;
    out += bad ? "_" : base.substr(at, step.bytes);
    at += step.bytes;
  }
  while (!out.empty() && (out.back() == '.' || out.back() == ' '))
    out.pop_back();
  out.erase(0, out.find_first_not_of(". "));
  return out.empty() ? "attachment" : is_device(out) ? "_" + out : out;
}

}  // namespace

std::string SafeNames::path_for(const std::string& name) {
  const std::string base = base_of(name);
  const std::size_t dot = base.rfind('.');
  const std::string stem = base.substr(0, dot);
  const std::string extension = dot != std::string::npos ? base.substr(dot) : "";
  struct stat there = {};
  for (int& number = numbers_[lower(base)];;) {
    ++number;
    std::string chosen = base;
    if (number != 1)
      chosen = (stem + " (").append(std::to_string(number)).append(")").append(extension);
    std::string path = folder_ + "/" + chosen;
    if (lstat(path.c_str(), &there) != 0 && taken_.insert(lower(chosen)).second)
      return path;
  }
}

bool make_folder(const std::string& folder) {
  if (folder.empty() || mkdir(folder.c_str(), 0777) == 0 || errno == EEXIST)
    return true;
  complain(folder, std::string("the folder cannot be made: ") + std::strerror(errno));
  return false;
}

}  // namespace sheaf::tool
