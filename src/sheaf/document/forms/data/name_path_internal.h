// Full names as paths: the partial names between the periods, each below the one before.
#pragma once

#include <string_view>

#include "sheaf/base/grow_array.h"

namespace sheaf {

/// The names that are open while a tree of fields is read or written.
class NamePath {
public:
  /// Goes down one level. False when there is no memory or the path is too long or too deep.
  bool push(std::string_view partial);
  /// Goes up until `levels` are left.
  void cut(std::size_t levels);
  std::size_t levels() const { return ends_.size(); }
  std::string_view level(std::size_t index) const;
  /// The full name, 0-terminated. Borrowed; valid until the path changes.
  const char* full();

  /// The first partial name of `rest`, which becomes what is after its period; `more` says whether there is something.
  static std::string_view split(std::string_view& rest, bool& more);

private:
  static constexpr std::size_t kMostLevels = 256;
  static constexpr std::size_t kMostBytes = std::size_t{1} << 16;

  GrowArray<char> text_;
  GrowArray<std::size_t> ends_;
};

}  // namespace sheaf
