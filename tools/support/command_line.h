// How a command makes itself known to the tool, and describes its options. Each file in commands/ holds its options,
// its work and one Registration, whose function adds the options to the command and gives what runs it. The library
// that reads the command line is included by two sources only: each that included it would take five times as long to
// compile.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/exit_codes.h"
#include "support/password_options.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace sheaf::tool {

/// The least and the greatest value of a number.
template <class T>
struct Range {
  T least;
  T most;
};
Range(int, int)->Range<int>;
Range(double, double)->Range<double>;

/// The words, or whole numbers as words, that a value can be.
struct IsMember {
  IsMember(std::initializer_list<std::string> given) : words(given) {}
  explicit IsMember(std::vector<std::string> given) : words(std::move(given)) {}
  std::vector<std::string> words;
};

/// What an option's value has to be. Each call narrows it and gives the option itself.
class Option {
public:
  explicit Option(CLI::Option& option) : option_(option) {}

  Option* required();
  /// Only together with `other`, or only without it.
  Option* needs(Option* other);
  Option* excludes(Option* other);
  Option* check(const Range<int>& range);
  Option* check(const Range<double>& range);
  Option* check(const IsMember& members);
  /// `complaint` gives what is wrong with a text, "" when nothing is.
  Option* check(const std::function<std::string(const std::string&)>& complaint);
  /// The word in the help in place of the value's type.
  Option* type_name(const std::string& word);
  /// One value each time that the option is given, so that what follows is not taken for another.
  Option* one_at_a_time();
  /// Several values in one word, with `mark` between them.
  Option* delimiter(char mark);

private:
  CLI::Option& option_;
};

/// A command while its options are described.
class Command {
public:
  explicit Command(CLI::App& app) : app_(app) {}

  /// An option by its names, as in "-o,--output", or an argument by its place, as in "FILE". `value` outlives the run
  /// of the command. The result belongs to the command.
  Option* add_option(const std::string& name, std::string& value, const std::string& what);
  Option* add_option(const std::string& name, std::vector<std::string>& value, const std::string& what);
  Option* add_option(const std::string& name, int& value, const std::string& what);
  Option* add_option(const std::string& name, double& value, const std::string& what);
  Option* add_flag(const std::string& name, bool& value, const std::string& what);
  /// A word that stands for a value, in any case of letters.
  template <class T>
  Option* add_choice(const std::string& name, T& value, const std::vector<std::pair<std::string, T>>& choices,
                     const std::string& what) {
    std::vector<std::string> words;
    std::vector<T> values;
    for (const auto& [word, meaning] : choices) {
      words.push_back(word);
      values.push_back(meaning);
    }
    return add_words(
        name, words, [&value, values](std::size_t index) { value = values[index]; }, what);
  }

  /// A count of bytes, with a unit such as 64MiB where one is given.
  Option* add_size(const std::string& name, std::uint64_t& value, const Range<std::uint64_t>& range,
                   const std::string& what);

private:
  Option* add_words(const std::string& name, const std::vector<std::string>& words,
                    const std::function<void(std::size_t)>& choose, const std::string& what);
  template <class T>
  Option* add(const std::string& name, T& value, const std::string& what);

  CLI::App& app_;
  std::deque<Option> options_;
};

/// Runs a command with the options that were read; the result is an ExitCode.
using Run = std::function<int()>;

/// Declared at namespace scope, once for each command.
class Registration {
public:
  using Describe = Run (*)(Command& command);

  /// `group` is the heading in the help under which the command is listed. All texts are literals.
  Registration(const char* name, const char* group, const char* what, Describe describe);
};

/// Adds the command called `chosen`, or all that registered where there is none, undescribed: describing all of them
/// would take longer than reading a document does. `code` gets the exit code of the one that runs.
void add_commands(CLI::App& app, const std::string& chosen, int& code);

/// The FILE that most commands read.
void add_file(Command& command, std::string& file);
/// --password and --password-file.
void add_password(Command& command, PasswordOptions& password);

}  // namespace sheaf::tool
