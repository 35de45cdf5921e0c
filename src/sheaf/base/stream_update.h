// A file that is open for changes while other programs may see it too: what it looked like when this
// stream last left it is kept, so that a change by anyone else is noticed before it is written over.
#pragma once

#include "sheaf/base/stream.h"

class CQVStreamUpdate : public CQVStreamFile {
public:
  /// Copies `path` and opens the file for reading and writing. False when it cannot be opened.
  bool OpenForUpdate(const char* path);
  unsigned int Write(const void* src, unsigned int size) override;
  void Flush() override;

  /// The file's length in bytes, counted from its first one. Other than `GetLen` it is not cut to 32 bits.
  long long length() const;
  /// Whether the file is still what this stream left: the same one under its path, of that length
  /// and time of change. Bytes written through this stream count as its own.
  bool is_untouched();
  /// Cuts the file to `size` bytes, counted from its first one. False when it is not untouched, or when
  /// the system refuses.
  bool cut_to(long long size);
  /// Brings the file's bytes to the disk. False when the system refuses.
  bool sync();

private:
  // By which two states of a file are known from each other.
  struct State {
    std::uint64_t device;
    std::uint64_t inode;
    long long size;
    long long seconds;
    long nanoseconds;
    bool operator==(const State&) const = default;
  };

  bool read_state(State& state) const;
  bool is_still_at_its_path() const;

  State left_{};            // as this stream left it
  bool writing_ = false;    // bytes of this stream may not be in the file yet
  bool overtaken_ = false;  // another program's change was there when this one began to write
};
