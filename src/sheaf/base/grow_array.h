// A growing block of plain values in the QVAlloc family: the list to use unless its growth is fixed by the interface.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "sheaf/base/heap.h"

namespace sheaf {

template <class T>
class GrowArray {
  static_assert(std::is_trivially_copyable_v<T>);

public:
  GrowArray() = default;
  GrowArray(const GrowArray&) = delete;
  GrowArray& operator=(const GrowArray&) = delete;
  ~GrowArray() { QVFree(items_); }

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  /// The size for those who count as object numbers and page indices do.
  std::int32_t count() const { return static_cast<std::int32_t>(size_); }
  /// `index` is from 0 and below the size, of whatever type.
  template <std::integral Index>
  T& operator[](Index index) {
    return items_[index];
  }
  template <std::integral Index>
  const T& operator[](Index index) const {
    return items_[index];
  }
  T* begin() { return items_; }
  T* end() { return items_ + size_; }
  const T* begin() const { return items_; }
  const T* end() const { return items_ + size_; }
  T& back() { return items_[size_ - 1]; }

  /// False when there is no memory; the array then stays as it was.
  bool push(const T& value) {
    const T copy = value;  // `value` may lie in the block that moves
    if (size_ == capacity_ && !reserve(capacity_ < kFirst ? kFirst : capacity_ * 2))
      return false;
    items_[size_++] = copy;
    return true;
  }
  /// Puts a value before the one at `place`. False when there is no memory.
  bool insert(std::size_t place, const T& value) {
    const T copy = value;
    if (!push(copy))
      return false;
    for (std::size_t i = size_ - 1; i > place; --i)
      items_[i] = items_[i - 1];
    items_[place] = copy;
    return true;
  }
  void pop() { --size_; }
  void clear() { size_ = 0; }
  void reset() {
    QVFree(items_);
    items_ = nullptr;
    size_ = capacity_ = 0;
  }
  void swap(GrowArray& other) {
    std::swap(items_, other.items_);
    std::swap(size_, other.size_);
    std::swap(capacity_, other.capacity_);
  }
  /// Hands the block over, cut to its size; the array is then empty. The caller releases it with QVFree.
  T* release() {
    void* const cut = size_ != 0 ? QVRealloc(items_, size_ * sizeof(T)) : nullptr;
    T* const block = cut != nullptr ? static_cast<T*>(cut) : items_;
    items_ = nullptr;
    size_ = capacity_ = 0;
    return block;
  }
  /// Makes the size `size`, new values zeroed. False when there is no memory.
  bool resize(std::size_t size) {
    if (size > capacity_ && !reserve(size))
      return false;
    for (std::size_t i = size_; i < size; ++i)
      items_[i] = T{};
    size_ = size;
    return true;
  }
  /// The same for values that are all about to be written: new ones are not set, and the block grows by half or more.
  bool resize_unset(std::size_t size) {
    if (size > capacity_ && !reserve(size > capacity_ + capacity_ / 2 ? size : capacity_ + capacity_ / 2))
      return false;
    size_ = size;
    return true;
  }

private:
  static constexpr std::size_t kFirst = 16;

  bool reserve(std::size_t capacity) {
    if (capacity > SIZE_MAX / sizeof(T))
      return false;
    void* grown = QVRealloc(items_, capacity * sizeof(T));
    if (grown == nullptr)
      return false;
    items_ = static_cast<T*>(grown);
    capacity_ = capacity;
    return true;
  }

  T* items_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace sheaf
