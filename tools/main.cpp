// The command line: options and help. Each command's work is in a file of its own.
#include <CLI/CLI.hpp>

#include "commands.h"

namespace {

void add_file(CLI::App& command, std::string& file) {
  command.add_option("FILE", file, "The document")->required();
}

void add_password(CLI::App& command, PasswordOptions& password) {
  auto* direct = command.add_option("--password", password.password, "User or owner password");
  command.add_option("--password-file", password.password_file, "File that holds the password, - for standard input")
      ->excludes(direct);
}

// Registers a command whose options live as long as the program.
template <class Options>
CLI::App* add_command(CLI::App& app, const char* name, const char* what, Options& options, int (*run)(const Options&),
                      int& code) {
  CLI::App* command = app.add_subcommand(name, what);
  add_password(*command, options.password);
  command->callback([&options, &code, run] { code = run(options); });
  return command;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("sheaf: the objects of a PDF file, read, checked and changed");
  app.require_subcommand(1);
  int code = kExitClean;

  InfoOptions info;
  CLI::App* command = add_command(app, "info", "What a document is", info, run_info, code);
  add_file(*command, info.file);
  command->add_flag("--json", info.json, "One JSON object");

  ShowOptions show;
  command = add_command(app, "show", "An object in PDF syntax, or the trailer", show, run_show, code);
  add_file(*command, show.file);
  command->add_option("NUM", show.num, "Object number")->check(CLI::PositiveNumber);
  command->add_option("GEN", show.gen, "Generation")->check(CLI::NonNegativeNumber);

  StreamOptions stream;
  command = add_command(app, "stream", "The data of a stream", stream, run_stream, code);
  add_file(*command, stream.file);
  command->add_option("NUM", stream.num, "Object number")->required()->check(CLI::PositiveNumber);
  command->add_flag("--raw", stream.raw, "As stored, the filters still on");
  command->add_option("-o,--output", stream.output, "Write to this file");

  PagesOptions pages;
  command = add_command(app, "pages", "The pages with their sizes", pages, run_pages, code);
  add_file(*command, pages.file);
  command->add_flag("--json", pages.json, "One JSON object");

  CheckOptions check;
  command = add_command(app, "check", "Read every object and decode every stream", check, run_check, code);
  command->add_option("FILE", check.files, "The documents")->required();
  command->add_flag("--json", check.json, "One JSON object a file");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kExitClean : kExitFailed;
  }
  return code;
}
