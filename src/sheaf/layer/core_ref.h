// A share in what a document owns: pages, forms and the like stay safe to ask after their document is gone. Part of
// the headers of the layer.
#pragma once

#include <utility>

namespace sheaf::layer {

class Core;
void keep_core(Core* core);
void drop_core(Core* core);

class CoreRef {
public:
  explicit CoreRef(Core* core = nullptr) : core_(core) {
    if (core_ != nullptr)
      keep_core(core_);
  }
  CoreRef(const CoreRef& other) : CoreRef(other.core_) {}
  CoreRef(CoreRef&& other) noexcept : core_(std::exchange(other.core_, nullptr)) {}
  CoreRef& operator=(CoreRef other) noexcept {
    std::swap(core_, other.core_);
    return *this;
  }
  ~CoreRef() {
    if (core_ != nullptr)
      drop_core(core_);
  }
  Core* operator->() const { return core_; }
  Core& operator*() const { return *core_; }
  Core* get() const { return core_; }

private:
  Core* core_;
};

}  // namespace sheaf::layer
