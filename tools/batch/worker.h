// One file in a process of its own: what becomes of it does no harm to the others, and its time and memory have limits.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace sheaf::tool {

/// Looks at one file, prints about it, and gives an ExitCode.
using FileRun = std::function<int(const std::string& file)>;

struct WorkerLimits {
  double seconds = 0;        ///< By the clock; 0: none.
  std::uint64_t memory = 0;  ///< Bytes; 0: none.
};

class Worker {
public:
  using Clock = std::chrono::steady_clock;

  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;
  Worker() = default;
  ~Worker();

  /// Starts on `file`. False when the system gives no process.
  bool start(const std::string& file, const FileRun& run, const WorkerLimits& limits);
  bool is_busy() const { return process_ > 0; }
  /// Ends the process when its time is up.
  void keep_time();
  /// Takes what was printed, when the handles have something. True when the process has ended: its results are then
  /// valid until the next start.
  bool collect();

  int output() const { return output_; }
  int errors() const { return errors_; }
  const std::string& file() const { return file_; }
  const std::string& printed() const { return printed_; }
  const std::string& complaints() const { return complaints_; }
  /// What ended the process before it was done; empty when nothing did.
  const std::string& trouble() const { return trouble_; }
  int code() const { return code_; }

private:
  void end();

  pid_t process_ = 0;
  int output_ = -1;
  int errors_ = -1;
  bool late_ = false;
  Clock::time_point deadline_;
  WorkerLimits limits_;
  std::string file_;
  std::string printed_;
  std::string complaints_;
  std::string trouble_;
  int code_ = 0;
};

}  // namespace sheaf::tool
