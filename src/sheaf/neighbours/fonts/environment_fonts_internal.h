// What one copy of the environment has taken from the shared shelf of fonts.
#pragma once

#include <cstdint>

namespace sheaf {

/// Uses by folded name, ascending.
struct FontUses {
  struct Use {
    char* name;
    std::int32_t count;
  };
  Use* items;
  std::int32_t count;
  std::int32_t capacity;

  /// An empty list from the QVAlloc family, or null.
  static FontUses* create();
};

}  // namespace sheaf
