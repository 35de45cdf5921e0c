// How a document's password is given.
#pragma once

#include <string>

namespace sheaf::tool {

/// At most one of the two.
struct PasswordOptions {
  std::string password;
  std::string password_file;  ///< "-" for standard input.
};

}  // namespace sheaf::tool
