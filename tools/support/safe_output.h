// Output that is safe: a new file grows beside its target and takes its name only when it is
// complete, so that the target is always the old or the new file.
#pragma once

#include <string>

#include "sheaf/base/stream_output.h"

namespace sheaf::tool {

class SafeOutput {
public:
  SafeOutput() = default;
  SafeOutput(const SafeOutput&) = delete;
  SafeOutput& operator=(const SafeOutput&) = delete;
  ~SafeOutput();

  /// Creates the file beside `target`. False, with a message, when that cannot be done.
  bool open(const std::string& target);
  /// Starts with a copy of `source`. False, with a message, on failure.
  bool copy_of(const std::string& source);
  CQVStreamOutput& stream() { return stream_; }
  const std::string& path() const { return path_; }
  /// Brings the bytes to the disk and gives the file its name. False, with a message, on failure:
  /// the target is then as it was.
  bool commit();
  long long size() const { return size_; }

private:
  std::string target_;
  std::string path_;
  CQVStreamOutput stream_;
  long long size_ = 0;
};

/// Whether two paths name the same file.
bool is_same_file(const std::string& a, const std::string& b);

}  // namespace sheaf::tool
