// When a watch is asked: by the clock, which is looked at once in some steps.
#include "sheaf/base/work_watch.h"

#include <ctime>

namespace sheaf {

namespace {

constexpr std::int32_t kStepsBetweenLooks = 64;
constexpr std::int64_t kNanosecondsBetweenAsks = 4'000'000;
constexpr std::int64_t kNanoseconds = 1'000'000'000;

std::int64_t now() {
  std::timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return std::int64_t{time.tv_sec} * kNanoseconds + time.tv_nsec;
}

}  // namespace

thread_local WorkWatch* WorkWatch::present_ = nullptr;

WorkWatch::WorkWatch(Ask ask, void* context) : ask_(ask), context_(context), before_(present_) {
  present_ = this;
}

WorkWatch::~WorkWatch() {
  present_ = before_;
}

bool WorkWatch::ask_if_due() {
  steps_left_ = kStepsBetweenLooks;
  const std::int64_t time = now();
  if (time < next_ask_)
    return false;
  // What the one who is asked does is not part of the work.
  present_ = nullptr;
  stopped_ = !ask_(context_);
  present_ = this;
  next_ask_ = now() + kNanosecondsBetweenAsks;
  return stopped_;
}

}  // namespace sheaf
