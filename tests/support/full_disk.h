// A disk that is full, as a limit on the files of this process.
#pragma once

#include <sys/resource.h>

#include <csignal>

/// While it lives, files of this process cannot grow beyond `bytes`.
class FullDisk {
public:
  explicit FullDisk(long long bytes) {
    getrlimit(RLIMIT_FSIZE, &old_);
    old_action_ = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{static_cast<rlim_t>(bytes), old_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &old_);
    std::signal(SIGXFSZ, old_action_);
  }

private:
  rlimit old_{};
  void (*old_action_)(int) = nullptr;
};
