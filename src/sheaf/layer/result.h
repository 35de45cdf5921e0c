// What an operation of the layer gives: its value or its error, data as a block of bytes, and how far it has
// come.
//
//   auto doc = sheaf::Document::open("letter.pdf");
//   if (!doc)
//     return complain(doc.error().message);
//   doc->pages();
//
// Taking the value where there is an error throws a Failure, or ends the program with the message where exceptions
// are not compiled in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "sheaf/base/heap.h"

#if defined(__cpp_exceptions)
#include <exception>
#endif

namespace sheaf {

/// What went wrong. Numbers are kept: they are those of the C interface.
enum class Code : std::int32_t {
  kNone = 0,
  kNoFile = 1,    ///< The file cannot be opened, read or made.
  kEmpty = 2,     ///< It has no bytes.
  kDamaged = 3,   ///< No document could be found in it, or the data asked for cannot be decoded.
  kTooLarge = 4,  ///< Larger than the library reads or writes.
  kNoMemory = 5,
  kNeedsPassword = 6,
  kWrongPassword = 7,
  kUnsupported = 8,     ///< A way of encryption, a colour space or a filter that is not known.
  kNotFound = 9,        ///< There is nothing of that name or index.
  kWrongKind = 10,      ///< A value of another kind than the operation needs.
  kStale = 11,          ///< Another operation changed the object since the value was asked for.
  kOtherDocument = 12,  ///< A value of another document.
  kNotAllowed = 13,     ///< A signature, a certification or the field itself forbids the change.
  kBadValue = 14,       ///< The value is not one that can be set here.
  kFileChanged = 15,    ///< Another program changed the file since it was opened.
  kNotWritten = 16,     ///< The output came short, as on a full disk.
  kCancelled = 17,      ///< The caller's progress function said no.
  kClosed = 18,         ///< The document is closed.
};

/// Why there is no value.
struct Error {
  Code code = Code::kNone;
  std::int32_t object = 0;   ///< Number of the object concerned; 0: none is meant.
  std::int64_t offset = -1;  ///< Byte of the file concerned; -1: none is meant.
  std::string message;       ///< A sentence for people, without the final stop.
};

#if defined(__cpp_exceptions)
/// What `Expected` throws when its value is asked for but it holds an error.
class Failure : public std::exception {
public:
  explicit Failure(Error error) : error_(std::move(error)) {}
  const char* what() const noexcept override { return error_.message.c_str(); }
  const Error& error() const noexcept { return error_; }

private:
  Error error_;
};
#endif

namespace layer {

[[noreturn]] inline void fail(const Error& error) {
#if defined(__cpp_exceptions)
  throw Failure(error);
#else
  std::fprintf(stderr, "sheaf: %s\n", error.message.c_str());
  std::abort();
#endif
}

}  // namespace layer

/// A value or an error. To pass one over without a look is a warning of the compiler.
template <class T>
class [[nodiscard]] Expected {
public:
  Expected(T value) : value_(std::move(value)) {}
  Expected(Error error) : error_(std::move(error)) {}

  explicit operator bool() const { return value_.has_value(); }
  bool has_value() const { return value_.has_value(); }
  /// Without a value: a `Failure`, or the end of the program.
  T& value() & { return value_.has_value() ? *value_ : (layer::fail(error_), *value_); }
  const T& value() const& { return value_.has_value() ? *value_ : (layer::fail(error_), *value_); }
  /// Of a result without a name the value itself, so that a loop over it keeps it.
  T value() && { return std::move(value()); }
  T& operator*() & { return value(); }
  const T& operator*() const& { return value(); }
  T operator*() && { return std::move(value()); }
  T* operator->() { return &value(); }
  const T* operator->() const { return &value(); }
  /// Code::kNone when there is a value.
  const Error& error() const { return error_; }

private:
  std::optional<T> value_;
  Error error_;
};

/// Done, or an error.
template <>
class [[nodiscard]] Expected<void> {
public:
  Expected() = default;
  Expected(Error error) : error_(std::move(error)) {}

  explicit operator bool() const { return error_.code == Code::kNone; }
  bool has_value() const { return error_.code == Code::kNone; }
  void value() const {
    if (error_.code != Code::kNone)
      layer::fail(error_);
  }
  const Error& error() const { return error_; }

private:
  Error error_;
};

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

/// How far work has come.
struct Progress {
  const char* what = "";  ///< "open", "save", "merge", "flatten" or "images".
  double done = 0;   ///< Of `total`: bytes of a scan, objects of a save, pages of a merge or when flattening, rows.
  double total = 0;  ///< 0: not known yet.
};

/// Asked every few milliseconds of work, in the thread that works; false stops the operation, which then gives
/// Code::kCancelled. It must not use the document. A document whose change was stopped can only be closed.
using ProgressFunction = std::function<bool(const Progress&)>;

}  // namespace sheaf
