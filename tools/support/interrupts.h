// Signals: what is half made goes away when the tool is stopped, and a write that cannot be done comes back as an
// error to the command instead of ending the process.
#pragma once

#include <csignal>
#include <string>

namespace sheaf::tool {

/// Called once, first of all: opens what the caller left closed of the three standard files, ignores the signals of a
/// closed pipe and of a file size limit, and cleans up on SIGINT, SIGTERM and SIGHUP before the process ends by them.
void prepare_process();

/// While it lives, a signal that ends the process removes the file `path` first.
class RemovedOnSignal {
public:
  RemovedOnSignal() = default;
  RemovedOnSignal(const RemovedOnSignal&) = delete;
  RemovedOnSignal& operator=(const RemovedOnSignal&) = delete;
  ~RemovedOnSignal() { dismiss(); }
  /// False when no place is left to remember it; at most one path for each object.
  bool watch(const std::string& path);
  void dismiss();

private:
  int slot_ = -1;
};

/// While it lives, a signal that ends the process cuts the file behind `handle` to `length` bytes first.
class CutOnSignal {
public:
  CutOnSignal() = default;
  CutOnSignal(const CutOnSignal&) = delete;
  CutOnSignal& operator=(const CutOnSignal&) = delete;
  ~CutOnSignal() { dismiss(); }
  void watch(int handle, long long length);
  void dismiss();
};

/// While it lives, those signals wait.
class SignalsHeld {
public:
  SignalsHeld();
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;
  ~SignalsHeld();

private:
  sigset_t before_;
};

}  // namespace sheaf::tool
