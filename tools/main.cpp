// The command line. Each command is in a file of its own in commands/, and registers itself there.
#include <algorithm>
#include <cstdio>
#include <new>

#include <CLI/CLI.hpp>

#include "sheaf/base/heap.h"
#include "sheaf/version.h"
#include "support/command_line.h"
#include "support/interrupts.h"
#include "support/messages.h"

namespace {

using namespace sheaf::tool;

// What was printed counts only when it arrived, and when no part of it was left out for want of memory.
int finished(int code) {
  if (!finish_standard_output())
    return kExitFailed;
  if (code == kExitFailed || sheaf::heap_refusals() == 0)
    return code;
  std::fputs("sheaf: there was not enough memory for everything; parts may be missing\n", stderr);
  return kExitProblems;
}

// An error in the command line, in the form of all other messages.
std::string describe(const CLI::App* app, const CLI::Error& error) {
  const auto used = app->get_subcommands();
  const std::string command = used.empty() ? "" : " " + used.front()->get_name();
  return "sheaf:" + (command.empty() ? "" : command + ":") + " " + shown_lines(error.what()) + "; `sheaf" + command +
         " --help` lists what can be given\n";
}

// The parser would say of an unknown command only that there is none.
bool knows_command(const CLI::App& app, int argc, char** argv) {
  const auto commands = app.get_subcommands([](const CLI::App*) { return true; });
  if (argc < 2 || argv[1][0] == '-' ||
      std::any_of(commands.begin(), commands.end(), [&](const CLI::App* one) { return one->get_name() == argv[1]; }))
    return true;
  complain(argv[1], "is no command; `sheaf --help` lists them");
  return false;
}

int run(int argc, char** argv) {
  CLI::App app("sheaf: the objects of a PDF file, read, checked and changed");
  app.require_subcommand(1);
  app.set_version_flag("--version", std::string("sheaf ") + sheaf_version(), "The version, and nothing else");
  app.failure_message(describe);
  int code = kExitClean;
  add_commands(app, argc > 1 ? argv[1] : "", code);
  if (!knows_command(app, argc, argv))
    return kExitFailed;
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return finished(app.exit(error) == 0 ? kExitClean : kExitFailed);
  }
  return finished(code);
}

}  // namespace

int main(int argc, char** argv) {
  prepare_process();
  std::set_new_handler([] {
    sheaf::note_heap_refusal();
    throw std::bad_alloc();
  });
  try {
    return run(argc, argv);
  } catch (const std::bad_alloc&) {
    std::fputs("sheaf: there is not enough memory; nothing more was done\n", stderr);
  } catch (...) {
    std::fputs("sheaf: stopped by a fault of its own; nothing more was done\n", stderr);
  }
  return kExitFailed;
}
