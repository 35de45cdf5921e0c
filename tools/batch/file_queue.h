// The files of a run over many: named one by one, in folders, and in lists, without those of an earlier run.
#pragma once

#include <cstddef>
#include <fstream>
#include <string>
#include <unordered_set>
#include <vector>

namespace sheaf::tool {

/// Gives one file after the other. A list is read as far as it is needed, so that millions of names take no memory.
class FileQueue {
public:
  /// `files` may be folders, whose files with names in ".pdf" are taken, those of folders in them too, in the order of
  /// their names. `list` is a file with a name on each line, "-" for standard input, or empty. False, with a message,
  /// when the list cannot be read.
  bool open(const std::vector<std::string>& files, const std::string& list);
  /// Leaves out the files that `results`, the lines of JSON of an earlier run, has. A file that is not there has none;
  /// a last line that was cut off counts for nothing. False, with a message, when it cannot be read.
  bool skip(const std::string& results);
  /// The next file; false after the last one.
  bool next(std::string& file);

private:
  bool next_named(std::string& file);
  void open_folder(const std::string& folder);

  std::vector<std::string> waiting_;  // in the order from the last to the first
  std::ifstream list_;
  std::istream* names_ = nullptr;
  std::unordered_set<std::string> done_;
};

/// Whether `path` is a folder.
bool is_folder(const std::string& path);

}  // namespace sheaf::tool
