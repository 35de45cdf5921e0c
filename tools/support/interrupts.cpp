// What a signal handler may do is little: the names that it removes are kept in places of fixed size.
#include "support/interrupts.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

namespace sheaf::tool {

namespace {

constexpr int kEnding[] = {SIGINT, SIGTERM, SIGHUP};
constexpr int kPaths = 4;
constexpr std::size_t kLongestPath = 4096;

// Written by the program, read by the handler: a place is filled before its flag is set.
struct PathSlot {
  char path[kLongestPath];
  volatile std::sig_atomic_t used;
};
PathSlot path_slots[kPaths];
volatile std::sig_atomic_t cuts = 0;
volatile int cut_handle = -1;
volatile long long cut_length = 0;

// Calls only what a handler may call.
void clean_up_and_end(int signal) {
  for (const PathSlot& slot : path_slots) {
    if (slot.used != 0)
      unlink(slot.path);
  }
  if (cuts != 0 && ftruncate(cut_handle, cut_length) != 0) {
    constexpr char kText[] = "sheaf: the file could not be cut back to its old length\n";
    if (write(STDERR_FILENO, kText, sizeof(kText) - 1) < 0)
      _exit(2);
  }
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

// A file opened later must not become standard output by taking its free number.
void open_missing_standard_files() {
  for (int handle = STDIN_FILENO; handle <= STDERR_FILENO; ++handle) {
    if (fcntl(handle, F_GETFD) >= 0)
      continue;
    // Opened the wrong way round, so that its use is an error as it was before.
    const int mode = handle == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    if (open("/dev/null", mode) != handle)
      _exit(2);
  }
}

sigset_t ending_signals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : kEnding)
    sigaddset(&set, signal);
  return set;
}

}  // namespace

void prepare_process() {
  open_missing_standard_files();
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  for (const int signal : kEnding) {
    struct sigaction action = {};
    // What the caller ignores, as nohup does, stays ignored.
    if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
      continue;
    action = {};
    action.sa_handler = clean_up_and_end;
    action.sa_mask = ending_signals();
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
  }
}

bool RemovedOnSignal::watch(const std::string& path) {
  dismiss();
  for (int i = 0; i < kPaths && path.size() < kLongestPath; ++i) {
    if (path_slots[i].used != 0)
      continue;
    std::memcpy(path_slots[i].path, path.c_str(), path.size() + 1);
    path_slots[i].used = 1;
    slot_ = i;
    return true;
  }
  return false;
}

void RemovedOnSignal::dismiss() {
  if (slot_ >= 0)
    path_slots[slot_].used = 0;
  slot_ = -1;
}

void CutOnSignal::watch(int handle, long long length) {
  cut_handle = handle;
  cut_length = length;
  cuts = 1;
}

void CutOnSignal::dismiss() {
  cuts = 0;
}

SignalsHeld::SignalsHeld() : before_{} {
  const sigset_t held = ending_signals();
  sigprocmask(SIG_BLOCK, &held, &before_);
}

SignalsHeld::~SignalsHeld() {
  sigprocmask(SIG_SETMASK, &before_, nullptr);
}

}  // namespace sheaf::tool
