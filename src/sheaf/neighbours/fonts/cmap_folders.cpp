// Resource files are named after their maps; only plain names are looked up, so that none leads out of a folder.
#include "sheaf/neighbours/fonts/cmap_folders.h"

#include <dirent.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstring>

#include "sheaf/base/chars.h"
#include "sheaf/base/scope_guard.h"

namespace sheaf {

namespace {

constexpr std::size_t kMostName = 127;

constexpr const char* kSystemFolders[] = {"/usr/share/poppler/cMap", "/usr/local/share/poppler/cMap",
                                          "/usr/share/fonts/cmap"};

bool is_letter(char c) {
  const char lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'z';
}

// Only a plain file: opening anything else could wait for ever.
bool is_file(const char* path) {
  struct stat info;
  return stat(path, &info) == 0 && S_ISREG(info.st_mode);
}

template <class... Parts>
bool join(char* path, std::size_t size, const char* format, Parts... parts) {
  const int len = std::snprintf(path, size, format, parts...);
  return len > 0 && static_cast<std::size_t>(len) < size;
}

bool find_in_folder(const char* folder, const char* name, char* path, std::size_t size) {
  if (join(path, size, "%s/%s", folder, name) && is_file(path))
    return true;
  DIR* const listing = opendir(folder);
  if (listing == nullptr)
    return false;
  const ScopeGuard close([listing] { closedir(listing); });
  for (const dirent* entry = readdir(listing); entry != nullptr; entry = readdir(listing)) {
    if (entry->d_name[0] == '.')
      continue;
    if (join(path, size, "%s/%s/%s", folder, entry->d_name, name) && is_file(path))
      return true;
  }
  return false;
}

}  // namespace

bool is_resource_name(const char* name) {
  const std::size_t len = std::strlen(name);
  if (len == 0 || len > kMostName || name[0] == '.')
    return false;
  for (const char* at = name; *at != 0; ++at) {
    if (!is_letter(*at) && !is_digit(*at) && std::strchr("-_+.", *at) == nullptr)
      return false;
  }
  return true;
}

bool find_resource(const GrowArray<char*>& folders, const char* name, char* path, std::size_t path_size) {
  for (const char* folder : folders) {
    if (find_in_folder(folder, name, path, path_size))
      return true;
  }
  for (const char* folder : kSystemFolders) {
    if (find_in_folder(folder, name, path, path_size))
      return true;
  }
  return false;
}

}  // namespace sheaf
