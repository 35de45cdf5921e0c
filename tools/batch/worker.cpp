// The child prints into two pipes, which are read as it goes on, so that it never waits for long.
#include "batch/worker.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>

#include "sheaf/base/heap.h"
#include "support/exit_codes.h"
#include "support/messages.h"

namespace sheaf::tool {

namespace {

// What is there now. False at the end.
bool take(int& handle, std::string& text) {
  char block[16384];
  while (handle >= 0) {
    const ssize_t got = read(handle, block, sizeof(block));
    if (got > 0) {
      text.append(block, static_cast<std::size_t>(got));
    } else if (got < 0 && errno == EINTR) {
      continue;
    } else if (got < 0 && errno == EAGAIN) {
      return true;
    } else {
      close(handle);
      handle = -1;
    }
  }
  return false;
}

[[noreturn]] void run_child(const std::string& file, const FileRun& run, const WorkerLimits& limits) {
  std::signal(SIGINT, SIG_DFL);
  if (limits.memory != 0) {
    const rlimit bound{limits.memory, limits.memory};
    setrlimit(RLIMIT_DATA, &bound);
  }
  int code = run(file);
  if (limits.memory != 0 && heap_refusals() != 0) {
    complain(file, "needs more memory than --limit-memory gives; what is said of it may lack something");
    code = kExitFailed;
  }
  if (!finish_standard_output())
    code = kExitFailed;
  _exit(code);
}

}  // namespace

Worker::~Worker() {
  if (process_ <= 0)
    return;
  kill(process_, SIGKILL);
  end();
}

bool Worker::start(const std::string& file, const FileRun& run, const WorkerLimits& limits) {
  int output[2];
  int errors[2];
  if (pipe2(output, O_CLOEXEC) != 0)
    return false;
  if (pipe2(errors, O_CLOEXEC) != 0) {
    close(output[0]);
    close(output[1]);
    return false;
  }
  std::fflush(nullptr);
  process_ = fork();
  if (process_ == 0) {
    dup2(output[1], STDOUT_FILENO);
    dup2(errors[1], STDERR_FILENO);
    run_child(file, run, limits);
  }
  close(output[1]);
  close(errors[1]);
  output_ = output[0];
  errors_ = errors[0];
  fcntl(output_, F_SETFL, O_NONBLOCK);
  fcntl(errors_, F_SETFL, O_NONBLOCK);
  file_ = file;
  limits_ = limits;
  late_ = false;
  printed_.clear();
  complaints_.clear();
  trouble_.clear();
  deadline_ = Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(limits.seconds));
  return process_ > 0;
}

void Worker::keep_time() {
  if (process_ <= 0 || limits_.seconds <= 0 || late_ || Clock::now() < deadline_)
    return;
  late_ = true;
  kill(process_, SIGKILL);
}

bool Worker::collect() {
  const bool has_output = take(output_, printed_);
  const bool has_errors = take(errors_, complaints_);
  if (has_output || has_errors)
    return false;
  end();
  return true;
}

void Worker::end() {
  int status = 0;
  while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
  }
  process_ = 0;
  for (int* handle : {&output_, &errors_}) {
    if (*handle >= 0)
      close(*handle);
    *handle = -1;
  }
  code_ = WIFEXITED(status) ? WEXITSTATUS(status) : int{kExitFailed};
  if (late_)
    trouble_ = "took longer than --limit-time gives";
  else if (WIFSIGNALED(status))
    trouble_ = limits_.memory != 0 ? "needs more memory than --limit-memory gives"
                                   : "ended the process by signal " + std::to_string(WTERMSIG(status));
}

}  // namespace sheaf::tool
