// The command line. Each command is in a file of its own in commands/, and registers itself there.
#include "sheaf/version.h"
#include "support/command_line.h"

int main(int argc, char** argv) {
  CLI::App app("sheaf: the objects of a PDF file, read, checked and changed");
  app.require_subcommand(1);
  app.set_version_flag("--version", std::string("sheaf ") + sheaf_version(), "The version, and nothing else");
  int code = sheaf::tool::kExitClean;
  sheaf::tool::add_commands(app, code);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? sheaf::tool::kExitClean : sheaf::tool::kExitFailed;
  }
  return code;
}
