// The frame of the tests with faults on demand. Each scenario runs with the first, second, third ...
// request for memory refused, and with each read, write and seek coming short or failing in turn,
// until a run meets no fault. Nothing may crash or be lost, and a step that says it succeeded must
// have succeeded. The count of the points where a fault was tried is printed.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>

#include "support/failing_heap.h"
#include "support/faulty_stream.h"
#include "support/string_stream.h"

using namespace sheaf;

// One run: the streams are the scenario's only way to the bytes.
struct Trial {
  Trial(const std::string& bytes, int counted, long long faulty, Fault fault)
      : in(bytes), source(in, counted, faulty, fault), target(out, counted, faulty, fault) {}
  StringStream in;
  StringStream out{""};
  FaultyStream source;
  FaultyStream target;
};

struct Scenario {
  const char* name;
  std::string bytes;
  /// Does the work and says whether every step reported success. All it holds is released then.
  std::function<bool(Trial&)> work;
  /// Looks at the bytes left by a run that reported success.
  std::function<void(Trial&)> check_good;
  /// Looks at the bytes left by a run that did not.
  std::function<void(Trial&)> check_failed;
};

inline void check_bytes(const Scenario& scenario, Trial& run, bool good) {
  if (good)
    scenario.check_good(run);
  else
    scenario.check_failed(run);
}

// The count of the requests that could be refused.
inline long long refuse_each_request(const Scenario& scenario) {
  for (long long request = 1;; ++request) {
    SCOPED_TRACE(std::string(scenario.name) + ", request " + std::to_string(request) + " refused");
    Trial run(scenario.bytes, 0, 0, Fault::kNothing);
    bool good = false;
    long long held = 0;
    bool refused = false;
    {
      FailingHeap heap(request);
      good = scenario.work(run);
      held = heap.held;
      refused = heap.has_refused();
    }
    EXPECT_EQ(held, 0);
    check_bytes(scenario, run, good);
    if (!refused) {
      EXPECT_TRUE(good);
      return request - 1;
    }
    if (testing::Test::HasFailure())
      return request;
  }
}

// The count of the operations that could fail; `source_fails` or else the target.
inline long long fail_each_operation(const Scenario& scenario, int operations, bool source_fails) {
  long long points = 0;
  for (const Fault fault : {Fault::kShort, Fault::kNothing, Fault::kDead}) {
    for (long long operation = 1;; ++operation, ++points) {
      SCOPED_TRACE(std::string(scenario.name) + (source_fails ? ", source" : ", target") + ", operation " +
                   std::to_string(operation) + " of mask " + std::to_string(operations) + " with fault " +
                   std::to_string(static_cast<int>(fault)));
      Trial run(scenario.bytes, operations, operation, fault);
      (source_fails ? run.target : run.source).repair();
      const bool good = scenario.work(run);
      check_bytes(scenario, run, good);
      if (!(source_fails ? run.source : run.target).has_failed()) {
        EXPECT_TRUE(good);
        break;
      }
      if (testing::Test::HasFailure())
        return points;
    }
  }
  return points;
}

inline void report(const char* name, const char* what, long long points) {
  std::printf("%s: %lld %s\n", name, points, what);
  testing::Test::RecordProperty(what, static_cast<int>(points));
}

inline void any_bytes(Trial&) {}
