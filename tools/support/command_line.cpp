// The list of registered commands, and options that several of them have.
#include "support/command_line.h"

#include <algorithm>
#include <cstring>
#include <map>

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
void add_manner(CLI::App& command) {
  Manner& chosen = manner();
  command.add_flag("-q,--quiet", chosen.quiet, "Only data and errors: no reports, warnings and progress");
  command.add_flag("-v,--verbose", chosen.verbose, "Also what is left out by design");
  command
      .add_option("--progress", chosen.progress, "A line on how far the work is; auto: where errors go to a terminal")
      ->type_name("auto|always|never")
      ->transform(CLI::CheckedTransformer(
          std::map<std::string, ProgressWhen>{
              {"auto", ProgressWhen::kAuto}, {"always", ProgressWhen::kAlways}, {"never", ProgressWhen::kNever}},
          CLI::ignore_case));
}

}  // namespace

Registration::Registration(const char* name, const char* group, const char* what, Describe describe) {
  entries().push_back({name, group, what, describe});
}

void add_commands(CLI::App& app, int& code) {
  std::vector<Entry>& all = entries();
  std::sort(all.begin(), all.end(), [](const Entry& a, const Entry& b) { return std::strcmp(a.name, b.name) < 0; });
  for (const Entry& entry : all) {
    CLI::App* const command = app.add_subcommand(entry.name, entry.what)->group(entry.group);
    const Run run = entry.describe(*command);
    add_manner(*command);
    command->callback([run, &code] { code = run(); });
  }
}

void add_file(CLI::App& command, std::string& file) {
  command.add_option("FILE", file, "The document")->required();
}

void add_password(CLI::App& command, PasswordOptions& password) {
  auto* direct = command.add_option("--password", password.password, "User or owner password");
  command.add_option("--password-file", password.password_file, "File that holds the password, - for standard input")
      ->excludes(direct);
}

}  // namespace sheaf::tool
