// The command line: options and help. Each command's work is in a file of its own.
#include <CLI/CLI.hpp>

#include "commands.h"
#include "sheaf/version.h"

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

void add_rewrite_options(CLI::App& command, RewriteOptions& options) {
  add_file(command, options.file);
  command.add_option("OUT", options.output, "The file to write")->required();
  command.add_flag("--deterministic-id", options.deterministic_id, "The same input gives the same bytes");
}

void add_changes(CLI::App& command, ChangeOptions& changes) {
  command.add_option("--set", changes.settings, "KEY=TEXT of the document information")->allow_extra_args(false);
  command.add_option("--attach", changes.attachments, "Embed a file")->allow_extra_args(false);
}

void add_text(CLI::App& command, TextOptions& text) {
  auto* file = command.add_option("--text", text.file, "Set a UTF-8 text into pages");
  const auto add_flag = [&command, file](const char* name, bool& flag, const char* what) {
    command.add_flag(name, flag, what)->needs(file);
  };
  command.add_option("--font", text.fonts, "Family, full or PostScript name; further ones fill gaps")
      ->allow_extra_args(false)
      ->needs(file);
  command.add_option("--font-folder", text.folders, "A folder with further fonts")
      ->allow_extra_args(false)
      ->needs(file);
  add_flag("--bold", text.bold, "Synthetic bold");
  add_flag("--italic", text.italic, "Synthetic italic");
  add_flag("--no-embed", text.no_embed, "Leave the font programs out");
  add_flag("--vertical", text.vertical, "Columns from right to left");
  command.add_option("--size", text.size, "Points")->check(CLI::Range(1.0, 400.0))->needs(file);
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("sheaf: the objects of a PDF file, read, checked and changed");
  app.require_subcommand(1);
  app.set_version_flag("--version", std::string("sheaf ") + sheaf_version(), "The version, and nothing else");
  int code = kExitClean;

  InfoOptions info;
  CLI::App* command = add_command(app, "info", "What a document is", info, run_info, code);
  add_file(*command, info.file);
  command->add_flag("--json", info.json, "One JSON object");

  ShowOptions show;
  command = add_command(app, "show", "An object in PDF syntax, or the trailer", show, run_show, code);
  add_file(*command, show.file);
  command->add_option("NUM", show.num, "Object number")->check(CLI::Range(1, INT32_MAX));
  command->add_option("GEN", show.gen, "Generation")->check(CLI::Range(0, INT32_MAX));

  StreamOptions stream;
  command = add_command(app, "stream", "The data of a stream", stream, run_stream, code);
  add_file(*command, stream.file);
  command->add_option("NUM", stream.num, "Object number")->required()->check(CLI::Range(1, INT32_MAX));
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

  RewriteOptions rewrite;
  command = add_command(app, "rewrite", "A complete new file of what is still used", rewrite, run_rewrite, code);
  add_rewrite_options(*command, rewrite);
  auto* decrypt = command->add_flag("--decrypt", rewrite.decrypt, "Take the encryption off");
  auto* encrypt = command->add_option("--encrypt", rewrite.encrypt, "Encrypt anew")
                      ->check(CLI::IsMember({"aes256", "aes128", "rc4"}))
                      ->excludes(decrypt);
  command->add_option("--user-password", rewrite.user_password, "Opens the new file")->needs(encrypt);
  command->add_option("--owner-password", rewrite.owner_password, "Grants everything")->needs(encrypt);
  command
      ->add_option("--permissions", rewrite.permissions,
                   "Names with commas: print, modify, copy, annotate, fill, "
                   "access, assemble, print-high, all or none")
      ->needs(encrypt);
  command->add_flag("--clear-metadata", rewrite.clear_metadata, "Leave metadata readable")->needs(encrypt);

  RewriteOptions repair;
  command = add_command(app, "repair", "A sound new file of a damaged one", repair, run_repair, code);
  add_rewrite_options(*command, repair);

  UpdateOptions update;
  command = add_command(app, "update", "Change a document behind its old content", update, run_update, code);
  add_file(*command, update.file);
  auto* output = command->add_option("-o,--output", update.output, "Change a copy");
  command->add_flag("--in-place", update.in_place, "Change the file itself")->excludes(output);
  auto* classic = command->add_flag("--classic", update.classic, "End in a classic table");
  command->add_flag("--stream", update.stream, "End in a cross-reference stream")->excludes(classic);
  command->add_flag("--seal", update.seal, "Seal the update, as for a signature");
  command->add_option("--saves", update.saves, "Save this many times in one run")->check(CLI::Range(1, 100000));
  add_changes(*command, update.changes);

  NewOptions fresh;
  command = app.add_subcommand("new", "A new document");
  command->callback([&fresh, &code] { code = run_new(fresh); });
  command->add_option("OUT", fresh.output, "The file to write")->required();
  command->add_option("--image", fresh.images, "A page for each of these JPEG, JPEG 2000, PNG or PNM files");
  add_changes(*command, fresh.changes);
  add_text(*command, fresh.text);

  PdfaOptions pdfa;
  command = add_command(app, "pdfa", "Whether header and trailer are as PDF/A-1 asks", pdfa, run_pdfa, code);
  add_file(*command, pdfa.file);

  MergeOptions merge;
  command = app.add_subcommand("merge", "Pages of several documents in one");
  command->callback([&merge, &code] { code = run_merge(merge); });
  command->add_option("OUT", merge.output, "The file to write")->required();
  command->add_option("IN", merge.inputs, "FILE or FILE:RANGES, such as a.pdf:1-5,8,r1,z-1")->required();
  command->add_option("--password", merge.passwords, "One for each input, in order; the last one serves the rest")
      ->allow_extra_args(false);

  SplitOptions split;
  command = add_command(app, "split", "One document into several", split, run_split, code);
  add_file(*command, split.file);
  command->add_option("-o,--output", split.pattern, "Name of the parts, %d for their number")->required();
  command->add_option("--every", split.every, "Pages a part")->check(CLI::Range(1, 1000000));

  ImagesOptions images;
  command = add_command(app, "images", "The images of a document", images, run_images, code);
  add_file(*command, images.file);
  command->add_option("-d,--directory", images.folder, "Write them into this folder");
  command->add_flag("--json", images.json, "One JSON object");

  AnnotsOptions annots;
  command = add_command(app, "annots", "The annotations by page, references resolved", annots, run_annots, code);
  add_file(*command, annots.file);
  command->add_flag("--json", annots.json, "One JSON object");

  FieldsOptions fields;
  command = add_command(app, "fields", "The form's fields with their values", fields, run_fields, code);
  add_file(*command, fields.file);
  command->add_flag("--json", fields.json, "One JSON object");

  FontsOptions fonts;
  command = add_command(app, "fonts", "The fonts, embedded or not, with their encodings", fonts, run_fonts, code);
  add_file(*command, fonts.file);
  command->add_flag("--json", fonts.json, "One JSON object");

  MapOptions map;
  command =
      add_command(app, "map", "A picture of the file's bytes: kinds, filters, saves, leftovers", map, run_map, code);
  add_file(*command, map.file);
  command->add_option("-o,--output", map.output, "The SVG file to write; else standard output");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kExitClean : kExitFailed;
  }
  return code;
}
