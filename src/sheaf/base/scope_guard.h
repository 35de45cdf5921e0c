// Small guards for values that are released by hand: a guard goes on the line after its value
// is filled, so that no path out of a function can forget the release. None of them allocates.
#pragma once

#include <utility>

#include "sheaf/base/heap.h"

namespace sheaf {

/// Runs `action` at the end of the scope.
template <class Action>
class ScopeGuard {
public:
  explicit ScopeGuard(Action action) : action_(std::move(action)) {}
  ScopeGuard(const ScopeGuard&) = delete;
  ScopeGuard& operator=(const ScopeGuard&) = delete;
  ~ScopeGuard() { action_(); }

private:
  Action action_;
};

/// Owns one block of the QVAlloc family.
template <class T>
class HeapBlock {
public:
  explicit HeapBlock(T* block = nullptr) : block_(block) {}
  HeapBlock(const HeapBlock&) = delete;
  HeapBlock& operator=(const HeapBlock&) = delete;
  ~HeapBlock() { QVFree(block_); }

  T* get() const { return block_; }
  explicit operator bool() const { return block_ != nullptr; }
  T& operator[](std::size_t index) const { return block_[index]; }
  /// Hands the block over to the caller.
  T* release() { return std::exchange(block_, nullptr); }
  /// Releases the block held and takes over `block`.
  void reset(T* block = nullptr) { QVFree(std::exchange(block_, block)); }

private:
  T* block_;
};

/// Holds a plain value and calls its `free()` at the end of the scope.
template <class T>
struct Freed : T {
  Freed() : T{} {}
  Freed(Freed&& other) noexcept : T(static_cast<T&>(other)) { static_cast<T&>(other) = T{}; }
  Freed(const Freed&) = delete;
  Freed& operator=(const Freed&) = delete;
  Freed& operator=(Freed&& other) noexcept {
    T taken = other;
    static_cast<T&>(other) = T{};
    this->free();
    static_cast<T&>(*this) = taken;
    return *this;
  }
  ~Freed() { this->free(); }
};

/// Holds a container and calls its `clear()` at the end of the scope.
template <class T>
struct Cleared : T {
  Cleared() : T{} {}
  Cleared(const Cleared&) = delete;
  Cleared& operator=(const Cleared&) = delete;
  ~Cleared() { this->clear(); }
};

}  // namespace sheaf
