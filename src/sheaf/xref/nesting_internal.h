// Bounds on requests for objects that lead to further requests.
#pragma once

#include <cstdint>

namespace sheaf {

constexpr int kMostNestedCalls = 32;  // references to references, lengths, object streams

struct DepthGuard {
  explicit DepthGuard(std::int32_t& depth) : depth_(depth) { ++depth_; }
  DepthGuard(const DepthGuard&) = delete;
  DepthGuard& operator=(const DepthGuard&) = delete;
  ~DepthGuard() { --depth_; }
  std::int32_t& depth_;
};

}  // namespace sheaf
