// sheaf show: one object in PDF syntax, or the values of the trailer.
#include <unistd.h>

#include <cstdio>

#include "sheaf/base/scope_guard.h"
#include "support/command_line.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct ShowOptions {
  std::string file;
  PasswordOptions password;
  std::int32_t num = 0;   ///< 0: the trailer values.
  std::int32_t gen = -1;  ///< -1: whichever it has.
};

// Strings may hold any byte, which a terminal must not obey.
std::string for_output(const std::string& syntax) {
  return isatty(STDOUT_FILENO) != 0 ? shown_lines(syntax) : syntax;
}

int show_trailer(CPDFXRefTable& table) {
  table.drain_pending();
  std::printf("<<");
  std::printf("/Size %u", table.xref_count);
  const auto show = [](const char* key, const CPDFObj& value) {
    if (!value.is_null())
      std::printf("\n/%s %s", key, for_output(syntax_text(value)).c_str());
  };
  show("Root", table.root);
  show("Info", table.info);
  show("ID", table.id);
  show("Encrypt", table.encrypt);
  std::printf(">>\n");
  return kExitClean;
}

int run_show(const ShowOptions& options) {
  CPDFDoc doc;
  if (!open_document(doc, options.file, options.password, options.num != 0))
    return kExitFailed;
  if (options.num == 0)
    return show_trailer(doc.table());
  PDF_REF ref{0, 0};
  if (!find_reference(doc, options.file, options.num, options.gen, ref))
    return kExitFailed;
  Freed<CPDFObj> obj = doc.table().object(ref);
  if (obj.is_null()) {
    complain(options.file, "object " + std::to_string(options.num) + " does not exist or cannot be read");
    return kExitFailed;
  }
  std::printf("%s\n", for_output(syntax_text(obj)).c_str());
  if (obj.tag == kTagStream)
    std::printf("stream of object %d\n", static_cast<int>(options.num));
  return kExitClean;
}

const Registration kShow("show", "Look", "An object in PDF syntax, or the trailer", [](CLI::App& command) -> Run {
  auto options = std::make_shared<ShowOptions>();
  add_file(command, options->file);
  add_password(command, options->password);
  command.add_option("NUM", options->num, "Object number")->check(CLI::Range(1, INT32_MAX));
  command.add_option("GEN", options->gen, "Generation")->check(CLI::Range(0, INT32_MAX));
  return [options] { return run_show(*options); };
});

}  // namespace

}  // namespace sheaf::tool
