// The list of registered commands, and options that several of them have.
#include "support/command_line.h"

#include <algorithm>
#include <cstring>

#include <CLI/CLI.hpp>

#include "support/messages.h"

namespace sheaf::tool {

namespace {

struct Entry {
  const char* name;
  const char* group;
  const char* what;
  Registration::Describe describe;
};

// Made by the first registration, since the order of initialisation over files is open.
std::vector<Entry>& entries() {
  static std::vector<Entry> all;
  return all;
}

// What every command takes.
void add_manner(Command& command) {
  Manner& chosen = manner();
  command.add_flag("-q,--quiet", chosen.quiet, "Only data and errors: no reports, warnings and progress");
  command.add_flag("-v,--verbose", chosen.verbose, "Also what is left out by design");
  command.add_choice<ProgressWhen>(
      "--progress", chosen.progress,
      {{"auto", ProgressWhen::kAuto}, {"always", ProgressWhen::kAlways}, {"never", ProgressWhen::kNever}},
      "A line on how far the work is; auto: where errors go to a terminal");
}

}  // namespace

Registration::Registration(const char* name, const char* group, const char* what, Describe describe) {
  entries().push_back({name, group, what, describe});
}

Option* Option::required() {
  option_.required();
  return this;
}

Option* Option::needs(Option* other) {
  option_.needs(&other->option_);
  return this;
}

Option* Option::excludes(Option* other) {
  option_.excludes(&other->option_);
  return this;
}

Option* Option::check(const Range<int>& range) {
  option_.check(CLI::Range(range.least, range.most));
  return this;
}

Option* Option::check(const Range<double>& range) {
  option_.check(CLI::Range(range.least, range.most));
  return this;
}

Option* Option::check(const IsMember& members) {
  option_.check(CLI::IsMember(members.words));
  return this;
}

Option* Option::check(const std::function<std::string(const std::string&)>& complaint) {
  option_.check(complaint);
  return this;
}

Option* Option::type_name(const std::string& word) {
  option_.type_name(word);
  return this;
}

Option* Option::delimiter(char mark) {
  option_.delimiter(mark);
  return this;
}

Option* Option::one_at_a_time() {
  option_.allow_extra_args(false);
  return this;
}

template <class T>
Option* Command::add(const std::string& name, T& value, const std::string& what) {
  return &options_.emplace_back(*app_.add_option(name, value, what));
}

Option* Command::add_option(const std::string& name, std::string& value, const std::string& what) {
  return add(name, value, what);
}

Option* Command::add_option(const std::string& name, std::vector<std::string>& value, const std::string& what) {
  return add(name, value, what);
}

Option* Command::add_option(const std::string& name, int& value, const std::string& what) {
  return add(name, value, what);
}

Option* Command::add_option(const std::string& name, double& value, const std::string& what) {
  return add(name, value, what);
}

Option* Command::add_flag(const std::string& name, bool& value, const std::string& what) {
  return &options_.emplace_back(*app_.add_flag(name, value, what));
}

Option* Command::add_size(const std::string& name, std::uint64_t& value, const Range<std::uint64_t>& range,
                          const std::string& what) {
  CLI::Option* const option = app_.add_option(name, value, what);
  option->transform(CLI::AsSizeValue(false))->check(CLI::Range(range.least, range.most));
  return &options_.emplace_back(*option);
}

Option* Command::add_words(const std::string& name, const std::vector<std::string>& words,
                           const std::function<void(std::size_t)>& choose, const std::string& what) {
  const auto take = [words, choose](const std::string& word) {
    choose(static_cast<std::size_t>(std::find(words.begin(), words.end(), word) - words.begin()));
  };
  std::string shown;
  for (const std::string& word : words)
    shown += (shown.empty() ? "" : "|") + word;
  CLI::Option* const option = app_.add_option_function<std::string>(name, take, what);
  option->type_name(shown)->transform(CLI::IsMember(words, CLI::ignore_case));
  return &options_.emplace_back(*option);
}

void add_commands(CLI::App& app, const std::string& chosen, int& code) {
  std::vector<Entry>& all = entries();
  std::sort(all.begin(), all.end(), [](const Entry& a, const Entry& b) { return std::strcmp(a.name, b.name) < 0; });
  // One that is there needs no others beside it: each takes its time and memory at every start.
  const bool is_there = std::any_of(all.begin(), all.end(), [&](const Entry& entry) { return chosen == entry.name; });
  for (const Entry& entry : all) {
    if (is_there && chosen != entry.name)
      continue;
    CLI::App* const described = app.add_subcommand(entry.name, entry.what)->group(entry.group);
    if (chosen != entry.name)
      continue;
    Command command(*described);
    const Run run = entry.describe(command);
    add_manner(command);
    described->callback([run, &code] { code = run(); });
  }
}

void add_file(Command& command, std::string& file) {
  command.add_option("FILE", file, "The document")->required();
}

void add_password(Command& command, PasswordOptions& password) {
  auto* direct = command.add_option("--password", password.password, "User or owner password");
  command.add_option("--password-file", password.password_file, "File that holds the password, - for standard input")
      ->excludes(direct);
}

}  // namespace sheaf::tool
