// A file that takes its place when it is complete: the place holds the old file or the new one, never half of one.
#pragma once

#include <string>

#include "sheaf/base/stream_output.h"
#include "sheaf/layer/result.h"

namespace sheaf::layer {

class NewFile {
public:
  NewFile() = default;
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile();

  /// Begins a file beside `path`, in the folder where links of `path` lead.
  Expected<void> open(const std::string& path);
  CQVStreamOutput& stream() { return stream_; }
  /// Brings the bytes to the disk and the file to its place. The mode of a file that is replaced stays.
  Expected<void> commit();

private:
  std::string path_;
  std::string growing_;  // "" once it has its place
  CQVStreamOutput stream_;
};

/// Writes `size` bytes as the file `path`.
Expected<void> write_file(const std::string& path, const void* data, std::size_t size);

}  // namespace sheaf::layer
