// A line on how far the work is: on a terminal it is written over again and again, elsewhere each tenth is a line.
#pragma once

#include <cstdint>

namespace sheaf::tool {

class Progress {
public:
  /// `what` is a literal such as "objects"; `total` is how many there are, 0 when nobody knows.
  Progress(const char* what, std::int64_t total);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();
  /// Says that `done` of the work is done. Cheap: most calls show nothing.
  void show(std::int64_t done);

private:
  const char* what_;
  std::int64_t total_;
  std::int64_t step_;
  std::int64_t next_ = 0;
  bool wanted_;
  bool on_terminal_;
  bool has_line_ = false;
};

}  // namespace sheaf::tool
