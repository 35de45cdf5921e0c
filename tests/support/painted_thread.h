// A thread whose stack is painted before it starts, so that what it used can be measured after it.
#pragma once

#include <pthread.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <vector>

#include "support/sanitizer.h"

constexpr bool kStacksAreReal = !kUnderSanitizer;

struct StackUse {
  bool done = false;      ///< What the work answered.
  std::size_t bytes = 0;  ///< From the top of the stack to the deepest byte written, the thread's own data with it.
};

/// Runs `work` on a thread of its own with far more stack than it should need.
inline StackUse run_on_painted_stack(const std::function<bool()>& work) {
  constexpr std::size_t kRoom = 4 << 20;
  constexpr unsigned char kPaint = 0xA5;
  struct Job {
    const std::function<bool()>& work;
    bool done;
  } job{work, false};
  auto* const stack = static_cast<unsigned char*>(std::aligned_alloc(4096, kRoom));
  std::fill_n(stack, kRoom, kPaint);
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstack(&attributes, stack, kRoom);
  pthread_t thread;
  const auto run = [](void* context) -> void* {
    auto* const started = static_cast<Job*>(context);
    started->done = started->work();
    return nullptr;
  };
  StackUse use;
  if (pthread_create(&thread, &attributes, run, &job) == 0) {
    pthread_join(thread, nullptr);
    const auto* const deepest = std::find_if(stack, stack + kRoom, [](unsigned char byte) { return byte != kPaint; });
    use = {job.done, static_cast<std::size_t>(stack + kRoom - deepest)};
  }
  pthread_attr_destroy(&attributes);
  std::free(stack);
  return use;
}
