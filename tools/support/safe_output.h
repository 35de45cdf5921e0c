// The one way in which the tool writes files. A regular file grows without a name beside its target and takes the
// target's place only when it is complete, so that the target is always the old or the new file; links are followed,
// and the owner, mode and access lists of a replaced file stay. Anything else (a pipe, a device, standard output by
// "-") gets a copy when the file is complete. No file that the command reads is written over.
#pragma once

#include <sys/stat.h>

#include <string>

#include "sheaf/base/stream_output.h"
#include "support/interrupts.h"

namespace sheaf::tool {

class SafeOutput {
public:
  SafeOutput() = default;
  SafeOutput(const SafeOutput&) = delete;
  SafeOutput& operator=(const SafeOutput&) = delete;
  ~SafeOutput();

  /// Begins the file for `target`. False, with a message, when that cannot be done.
  bool open(const std::string& target);
  /// The same for data that are written from start to end by `put`, which then go straight to what is no regular file.
  bool open_for_data(const std::string& target);
  /// Starts with a copy of `source`. False, with a message, on failure.
  bool copy_of(const std::string& source);
  CQVStreamOutput& stream() { return stream_; }
  /// Opens the growing file by name.
  std::string path() const;
  /// Whether what is put goes to a terminal.
  bool is_terminal() const;
  /// Adds data after what was put before. False, without a message, on failure.
  bool put(const void* data, std::size_t size);
  /// Brings the bytes to their target. False, with a message, on failure: a regular target is then as it was.
  bool commit();
  long long size() const { return size_; }
  /// The target as messages call it.
  std::string name() const;

private:
  bool examine();
  bool open_other();
  bool make_named(const std::string& folder);
  bool is_allowed(const struct stat& old);
  bool send_copy();
  bool bring_to_disk(bool replaces);
  bool take_place();
  bool take_free_place();
  bool fail(const std::string& what);

  std::string target_;
  std::string place_;    // where the links of the target lead; empty: it is no regular file
  std::string name_;     // of the growing file, where it must have one
  int other_ = -1;       // the target that is no regular file
  bool direct_ = false;  // its data go straight to it
  CQVStreamOutput stream_;
  RemovedOnSignal removal_;
  long long size_ = 0;
};

/// Whether two paths name the same file.
bool is_same_file(const std::string& a, const std::string& b);

}  // namespace sheaf::tool
