// sheaf show: values in PDF syntax: one object, the trailer, what a path leads to, all objects, or the table of them.
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/paths/file_trailer.h"
#include "sheaf/document/paths/object_path.h"
#include "support/command_line.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct ShowOptions {
  std::string file;
  PasswordOptions password;
  std::string what;       ///< An object number or a path; empty: the trailer.
  std::int32_t gen = -1;  ///< -1: whichever it has.
  bool all = false;
  bool xref = false;
};

// Strings may hold any byte, which a terminal must not obey.
std::string for_output(const std::string& syntax) {
  static const bool terminal = isatty(STDOUT_FILENO) != 0;
  return terminal ? shown_lines(syntax) : syntax;
}

int show_trailer(CPDFDoc& doc) {
  Cleared<CPDFDictionary> trailer;
  read_trailer(doc, trailer);
  std::printf("<<");
  const char* line_end = "";
  for (const char* key : {"Size", "Root", "Info", "ID", "Encrypt"}) {
    if (trailer.get_item(key) == nullptr)
      continue;
    std::printf("%s/%s %s", line_end, key, for_output(syntax_text(*trailer.get_item(key))).c_str());
    line_end = "\n";
  }
  Freed<CPDFObj> others;
  others.take_dict(new CPDFDictionary);
  read_other_trailer_keys(doc, *others.as_dict());
  constexpr std::size_t kBrackets = 2;
  const std::string text = syntax_text(others);
  if (others.as_dict()->count != 0)
    std::printf("\n%s", for_output(text.substr(kBrackets, text.size() - 2 * kBrackets)).c_str());
  std::printf(">>\n");
  return kExitClean;
}

bool is_number(const std::string& text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

void print_value(const CPDFObj& value, const PDF_REF& ref) {
  std::printf("%s\n", for_output(syntax_text(value)).c_str());
  if (value.tag == kTagStream)
    std::printf("stream of object %d\n", ref.num);
}

int show_object(CPDFDoc& doc, const ShowOptions& options, std::int32_t num) {
  PDF_REF ref{0, 0};
  if (!find_reference(doc, options.file, num, options.gen, ref))
    return kExitFailed;
  Freed<CPDFObj> obj = doc.table().object(ref);
  if (obj.is_null()) {
    complain(options.file, "object " + std::to_string(num) + " does not exist or cannot be read");
    return kExitFailed;
  }
  print_value(obj, ref);
  return kExitClean;
}

int show_path(CPDFDoc& doc, const ShowOptions& options) {
  Freed<CPDFObj> value;
  const PathResult result = find_path(doc, options.what, value);
  if (!result.found) {
    const std::string passed = options.what.substr(0, result.passed);
    complain(options.file, passed.empty()
                               ? "paths begin with \"trailer\" or an object number from 1 to 2147483647, as in "
                                 "trailer/Root/Pages"
                               : "there is nothing at \"" + options.what + "\"; the way ends at \"" + passed + "\"");
    return kExitFailed;
  }
  print_value(value, result.object);
  return kExitClean;
}

// Every object as its file would have it, streams by their dictionaries.
int show_all(CPDFDoc& doc) {
  CPDFXRefTable& table = doc.table();
  table.drain_pending();
  for (std::uint32_t num = 1; num < table.xref_count; ++num) {
    if (!table.xref_items[num].is_known())
      continue;
    Freed<CPDFObj> obj;
    const PDF_REF ref = doc.reference_to(object_num(num));
    table.get_stored(obj, ref);
    std::printf("%d %d obj\n%s\n%sendobj\n", ref.num, ref.gen, for_output(syntax_text(obj)).c_str(),
                obj.tag == kTagStream ? "stream\n" : "");
  }
  std::printf("trailer\n");
  return show_trailer(doc);
}

// Where each object is.
int show_xref(CPDFDoc& doc) {
  CPDFXRefTable& table = doc.table();
  table.drain_pending();
  std::printf("%8s %5s  %s\n", "object", "gen", "place");
  for (std::uint32_t num = 0; num < table.xref_count; ++num) {
    const PDF_XREF& item = table.xref_items[num];
    if (item.is_compressed())
      std::printf("%8u %5d  object stream %u, index %d\n", num, 0, item.offset, item.gen);
    else if (item.is_in_file())
      std::printf("%8u %5d  offset %lld%s\n", num, std::max(table.known_generation(num), 0),
                  static_cast<long long>(item.offset) + doc.header_offset(),
                  item.is_found() ? ", found by scanning" : "");
    else if (item.is_in_memory())
      std::printf("%8u %5d  made anew when the file was opened\n", num, item.gen);
  }
  return kExitClean;
}

int run_show(const ShowOptions& options) {
  const bool whole = options.what.empty() && !options.all;
  CPDFDoc doc;
  if (!open_document(doc, options.file, options.password, !whole))
    return kExitFailed;
  if (options.all)
    return show_all(doc);
  if (options.xref)
    return show_xref(doc);
  if (options.what.empty())
    return show_trailer(doc);
  constexpr std::size_t kMostDigits = 9;
  if (is_number(options.what) && options.what.size() <= kMostDigits && std::stoi(options.what) > 0)
    return show_object(doc, options, std::stoi(options.what));
  return show_path(doc, options);
}

const Registration kShow("show", "Look", "An object in PDF syntax, the trailer, or what a path leads to",
                         [](Command& command) -> Run {
                           auto options = std::make_shared<ShowOptions>();
                           add_file(command, options->file);
                           add_password(command, options->password);
                           command.add_option("NUM", options->what,
                                              "Object number, or a path such as trailer/Root/Pages/Kids/0");
                           command.add_option("GEN", options->gen, "Generation")->check(Range{0, INT32_MAX});
                           auto* all = command.add_flag("--all", options->all, "All objects");
                           command.add_flag("--xref", options->xref, "Where each object is in the file")->excludes(all);
                           return [options] { return run_show(*options); };
                         });

}  // namespace

}  // namespace sheaf::tool
