// What the parts of the Python module share: handles that keep their document, and work without the interpreter's lock.
//
// A document is used by one thread at a time. Long work runs without the lock and marks the document as busy; whoever
// asks it anything meanwhile gets an error, and what is dropped meanwhile waits until the work is done.
#pragma once

#include <pybind11/functional.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "sheaf/sheaf.hpp"

namespace py = pybind11;

struct Owner {
  explicit Owner(sheaf::Document opened) : document(std::move(opened)) {}
  sheaf::Document document;
  bool busy = false;
  std::vector<std::shared_ptr<void>> dropped;  // while it was busy
  py::object source;                           // keeps the bytes or the file alive
};
using OwnerRef = std::shared_ptr<Owner>;

inline void throw_error(sheaf::Code code, const char* message) {
  throw sheaf::Failure({code, 0, -1, message});
}

inline Owner& idle(const OwnerRef& owner) {
  if (owner->busy)
    throw_error(sheaf::Code::kNotAllowed, "another thread is at work on the document");
  return *owner;
}

// Runs `task` without the interpreter's lock.
template <class Task>
auto work(const OwnerRef& owner, Task&& task) {
  struct Mark {
    explicit Mark(Owner& of) : owner(of) { owner.busy = true; }
    ~Mark() {
      owner.busy = false;
      owner.dropped.clear();
    }
    Owner& owner;
  } mark(idle(owner));
  py::gil_scoped_release released;
  return task(owner->document);
}

// Something of a document that borrows from it.
template <class T>
class Held {
public:
  Held(OwnerRef owner, T value) : owner_(std::move(owner)), value_(std::move(value)) {}
  Held(const Held&) = default;
  Held(Held&&) noexcept = default;
  Held& operator=(const Held&) = delete;
  ~Held() {
    if (owner_ != nullptr && owner_->busy)
      owner_->dropped.push_back(std::make_shared<T>(std::move(value_)));
  }
  T& get() {
    idle(owner_);
    return value_;
  }
  const OwnerRef& owner() const { return owner_; }

private:
  OwnerRef owner_;
  T value_;
};

using HeldValue = Held<sheaf::Value>;
using HeldPage = Held<sheaf::Page>;
using HeldPages = Held<sheaf::Pages>;

// A change that came to nothing is an exception.
inline void check(bool good, const OwnerRef& owner) {
  if (!good)
    throw sheaf::Failure(owner->document.failure());
}

// None, bool, int, float, str, Name or a Value.
py::object to_python(const OwnerRef& owner, const sheaf::Value& value);
// A value of the library made of a Python one; a Value of the same document that is an object goes by reference.
sheaf::Object from_python(const py::handle& value);
// Python bytes-like data as a view that the caller's object keeps.
class BytesView {
public:
  explicit BytesView(const py::buffer& buffer) : info_(buffer.request()) {}
  std::string_view text() const {
    return {static_cast<const char*>(info_.ptr), static_cast<std::size_t>(info_.size * info_.itemsize)};
  }
  std::span<const std::uint8_t> bytes() const {
    return {static_cast<const std::uint8_t*>(info_.ptr), static_cast<std::size_t>(info_.size * info_.itemsize)};
  }

private:
  py::buffer_info info_;
};
// A view of the data, which it keeps, without a copy.
py::object memory_of(sheaf::Data data);

void add_values(py::module_& module);
void add_pages(py::module_& module);
void add_parts(py::module_& module);
