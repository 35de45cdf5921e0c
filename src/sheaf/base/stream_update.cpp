// Compares size, time and identity of the file with those kept, each time before it writes.
#include "sheaf/base/stream_update.h"

#include <sys/stat.h>
#include <unistd.h>

bool CQVStreamUpdate::OpenForUpdate(const char* name) {
  Open(name);
  if (file != nullptr)
    std::fclose(file);
  file = std::fopen(name, "r+b");
  writing_ = overtaken_ = false;
  if (file == nullptr)
    return false;
  // What a full disk refuses must not wait here to be written after the file was cut.
  std::setvbuf(file, nullptr, _IONBF, 0);
  return read_state(left_);
}

bool CQVStreamUpdate::read_state(State& state) const {
  struct stat info = {};
  if (file == nullptr || fstat(fileno(file), &info) != 0)
    return false;
  state = {static_cast<std::uint64_t>(info.st_dev), static_cast<std::uint64_t>(info.st_ino), info.st_size,
           info.st_mtim.tv_sec, info.st_mtim.tv_nsec};
  return true;
}

bool CQVStreamUpdate::is_still_at_its_path() const {
  struct stat info = {};
  return path != nullptr && stat(path, &info) == 0 && static_cast<std::uint64_t>(info.st_dev) == left_.device &&
         static_cast<std::uint64_t>(info.st_ino) == left_.inode;
}

long long CQVStreamUpdate::length() const {
  State now{};
  if (file == nullptr)
    return 0;
  std::fflush(file);
  return read_state(now) ? now.size : 0;
}

// The first write since the file was left looks at it: from here on its time of change is this stream's.
unsigned int CQVStreamUpdate::Write(const void* src, unsigned int size) {
  if (!writing_) {
    State now{};
    overtaken_ = overtaken_ || !read_state(now) || !(now == left_);
    writing_ = true;
  }
  return CQVStreamFile::Write(src, size);
}

void CQVStreamUpdate::Flush() {
  if (file == nullptr)
    return;
  CQVStreamFile::Flush();
  if (writing_ && !overtaken_)
    read_state(left_);
  writing_ = false;
}

bool CQVStreamUpdate::is_untouched() {
  if (writing_)
    Flush();
  State now{};
  return !overtaken_ && read_state(now) && now == left_ && is_still_at_its_path();
}

bool CQVStreamUpdate::cut_to(long long size) {
  if (!is_untouched())
    return false;
  const bool done = ftruncate(fileno(file), size) == 0;
  std::rewind(file);
  read_state(left_);
  return done;
}

bool CQVStreamUpdate::sync() {
  Flush();
  return file != nullptr && fsync(fileno(file)) == 0;
}
