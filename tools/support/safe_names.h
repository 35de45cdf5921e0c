// Names of files that come from documents, made fit for a folder.
#pragma once

#include <map>
#include <set>
#include <string>

namespace sheaf::tool {

/// Gives the files that are written into one folder their names.
class SafeNames {
public:
  explicit SafeNames(std::string folder) : folder_(std::move(folder)) {}
  /// A path in the folder for a file that its document calls `name`: the last part of `name` without anything that
  /// leads elsewhere, names a device or cannot be shown, and with a number where the name is taken, also by a file that
  /// is there already or that differs in small and capital letters only.
  std::string path_for(const std::string& name);

private:
  std::string folder_;
  std::set<std::string> taken_;
  std::map<std::string, int> numbers_;  // the last one tried, by name
};

/// Makes a folder unless it is there. False, with a message, on failure.
bool make_folder(const std::string& folder);

}  // namespace sheaf::tool
