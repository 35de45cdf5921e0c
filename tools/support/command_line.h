// How a command makes itself known to the tool. Each file in commands/ holds its options, its work and one
// Registration, whose function adds the options to the command line and gives what runs the command.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "support/exit_codes.h"
#include "support/password_options.h"

namespace sheaf::tool {

/// Runs a command with the options that were read; the result is an ExitCode.
using Run = std::function<int()>;

/// Declared at namespace scope, once for each command.
class Registration {
public:
  using Describe = Run (*)(CLI::App& command);

  /// `group` is the heading in the help under which the command is listed. All texts are literals.
  Registration(const char* name, const char* group, const char* what, Describe describe);
};

/// Adds all commands that registered, by name. `code` gets the exit code of the one that runs.
void add_commands(CLI::App& app, int& code);

/// The FILE that most commands read.
void add_file(CLI::App& command, std::string& file);
/// --password and --password-file.
void add_password(CLI::App& command, PasswordOptions& password);

}  // namespace sheaf::tool
