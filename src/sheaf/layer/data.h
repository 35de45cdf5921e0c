// Bytes that the library hands out as a whole.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>

#include "sheaf/base/heap.h"

namespace sheaf {

/// Owns one block of bytes. Moves and does not copy.
class Data {
public:
  Data() = default;
  /// Takes over a block of the QVAlloc family.
  Data(std::uint8_t* block, std::size_t size) : block_(block), size_(size) {}
  Data(Data&& other) noexcept : block_(std::exchange(other.block_, nullptr)), size_(std::exchange(other.size_, 0)) {}
  Data& operator=(Data&& other) noexcept {
    std::swap(block_, other.block_);
    std::swap(size_, other.size_);
    return *this;
  }
  Data(const Data&) = delete;
  Data& operator=(const Data&) = delete;
  ~Data() { QVFree(block_); }

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  /// Borrowed; valid as long as this lives.
  const std::uint8_t* data() const& { return block_; }
  std::span<const std::uint8_t> bytes() const& { return {block_, size_}; }
  std::string_view text() const& { return {reinterpret_cast<const char*>(block_), size_}; }
  const std::uint8_t* data() const&& = delete;
  std::span<const std::uint8_t> bytes() const&& = delete;
  std::string_view text() const&& = delete;
  /// Hands the block over; it is released with QVFree.
  std::uint8_t* release() {
    size_ = 0;
    return std::exchange(block_, nullptr);
  }

private:
  std::uint8_t* block_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace sheaf
