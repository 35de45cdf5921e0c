// The command line. Each command is in a file of its own in commands/, and registers itself there.
#include "sheaf/version.h"
#include "support/command_line.h"
#include "support/interrupts.h"
#include "support/messages.h"

namespace {

// What was printed counts only when it arrived.
int finished(int code) {
  return sheaf::tool::finish_standard_output() ? code : int{sheaf::tool::kExitFailed};
}

}  // namespace

int main(int argc, char** argv) {
  sheaf::tool::prepare_process();
  CLI::App app("sheaf: the objects of a PDF file, read, checked and changed");
  app.require_subcommand(1);
  app.set_version_flag("--version", std::string("sheaf ") + sheaf_version(), "The version, and nothing else");
  int code = sheaf::tool::kExitClean;
  sheaf::tool::add_commands(app, code);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return finished(app.exit(error) == 0 ? sheaf::tool::kExitClean : sheaf::tool::kExitFailed);
  }
  return finished(code);
}
