// Long work that can be stopped from outside. A watch lives as long as one operation and is asked about every few
// milliseconds, from the requests for memory and the reads that all work makes, whether the work shall go on. Once it
// says no, every request for memory of its thread is refused until it goes: the operation then ends
// by the ways that it has for a lack of memory.
#pragma once

#include <cstdint>

namespace sheaf {

class WorkWatch {
public:
  /// False stops the work.
  using Ask = bool (*)(void* context);

  /// Watches this thread. The watch that was there before waits until this one goes.
  WorkWatch(Ask ask, void* context);
  WorkWatch(const WorkWatch&) = delete;
  WorkWatch& operator=(const WorkWatch&) = delete;
  ~WorkWatch();
  bool is_stopped() const { return stopped_; }
  /// Whether the work of this thread is being ended that way.
  static bool is_stopping() { return present_ != nullptr && present_->stopped_; }

  /// How much of the work of this thread is done, of how much, in a unit of the operation's own: said by the loop that
  /// takes most of its time. Costs a few instructions.
  static void at(double done, double total) {
    if (WorkWatch* const watch = present_; watch != nullptr) [[unlikely]] {
      watch->done_ = done;
      watch->total_ = total;
    }
  }
  double done() const { return done_; }
  double total() const { return total_; }  ///< 0: not said yet.

  /// One step of work of this thread; whether it is stopped. Costs a few instructions.
  static bool step() {
    WorkWatch* const watch = present_;
    if (watch == nullptr) [[likely]]
      return false;
    return watch->stopped_ || (--watch->steps_left_ < 0 && watch->ask_if_due());
  }

private:
  bool ask_if_due();

  // Part of the first block of thread-local data, which is reached without a call.
  [[gnu::tls_model("initial-exec")]] static thread_local WorkWatch* present_;

  Ask ask_;
  void* context_;
  WorkWatch* before_;
  double done_ = 0;
  double total_ = 0;
  std::int64_t next_ask_ = 0;  // by the clock, in nanoseconds
  std::int32_t steps_left_ = 0;
  bool stopped_ = false;
};

}  // namespace sheaf
