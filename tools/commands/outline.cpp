// sheaf outline: the entries of the outline with the pages that they lead to, and an outline set from a list of them.
#include <algorithm>
#include <cstdio>
#include <sstream>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/outline/outline.h"
#include "sheaf/object/array.h"
#include "support/command_line.h"
#include "support/edit_run.h"
#include "support/json_file.h"
#include "support/json_values.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct OutlineOptions {
  EditTarget target;
  std::string source;
  bool json = false;
};

// The name and the numbers of an explicit destination.
void put_view(JsonWriter& json, const CPDFObj& place) {
  json.key("view").begin_array();
  const CPDFArray* const items = place.as_array();
  for (std::int32_t i = 1; i < items->count; ++i) {
    const CPDFObj& item = items->items[i];
    if (item.as_name() != nullptr)
      json.text(item.as_name());
    else if (item.is_number())
      json.real(to_double(item.to_real()));
    else
      json.null();
  }
  json.end_array();
}

void put_entry(JsonWriter& json, const PDF_OUTLINE_ENTRY& entry) {
  json.begin_object().key("level").number(entry.level).key("title").text(utf8_text(entry.title));
  json.key("object").number(entry.ref.num).key("open").flag(entry.open).key("page");
  entry.page >= 0 ? json.number(entry.page + 1) : json.null();
  if (entry.place.as_array() != nullptr)
    put_view(json, entry.place);
  if (entry.uri.tag == kTagString)
    json.key("uri").text(utf8_text(entry.uri.as_string()));
  json.end_object();
}

int list_outline(const OutlineOptions& options) {
  CPDFDoc doc;
  CPDFOutline outline;
  if (!open_document(doc, options.target.file, options.target.password))
    return kExitFailed;
  if (!outline.load(doc)) {
    complain(options.target.file, "there is not enough memory");
    return kExitFailed;
  }
  JsonWriter json;
  begin_report(json, options.target.file).key("entries").begin_array();
  for (std::int32_t i = 0; i < outline.size(); ++i) {
    const PDF_OUTLINE_ENTRY& entry = outline.at(i);
    if (options.json) {
      put_entry(json, entry);
      continue;
    }
    const std::string where = entry.page >= 0               ? std::to_string(entry.page + 1)
                              : entry.uri.tag == kTagString ? utf8_text(entry.uri.as_string())
                              : entry.has_target            ? "elsewhere"
                                                            : "-";
    std::printf("%*s%s  %s\n", 2 * std::min(entry.level, 40), "", shown(utf8_text(entry.title)).c_str(),
                shown(where).c_str());
  }
  if (options.json)
    std::printf("%s\n", json.end_array().end_object().str().c_str());
  return was_sound(doc, options.target.file) ? kExitClean : kExitProblems;
}

// A view such as ["XYZ", 0, 700, null]; the whole page without one.
bool read_view(const JsonValue& item, CPDFArray& view) {
  const JsonValue* const list = item.member("view");
  if (list == nullptr) {
    view.append_name("Fit");
    return true;
  }
  constexpr std::size_t kMost = 5;
  if (list->kind != JsonValue::Kind::kArray || list->items.empty() || list->items.size() > kMost ||
      list->items[0].kind != JsonValue::Kind::kText)
    return false;
  view.append_name(list->items[0].text.c_str());
  for (std::size_t i = 1; i < list->items.size(); ++i) {
    double number = 0;
    const CPDFObj nothing{};
    if (list->items[i].kind == JsonValue::Kind::kNull)
      view.append(&nothing);
    else if (!read_number(list->items[i], number) || !(number > -1e9 && number < 1e9))
      return false;
    else
      view.append_real(static_cast<QVFIX>(number * static_cast<double>(kFixOne)));
  }
  return true;
}

// Adds one entry of the list. Where nothing says so, it is at the level of the one in front.
bool add_entry(CPDFDoc& doc, CPDFOutline& outline, const JsonValue& item) {
  const std::string title = text_member(item, "title");
  const JsonValue* const open = item.member("open");
  const JsonValue* const page = item.member("page");
  const int level = int_member(item, "level", outline.empty() ? 0 : outline.at(outline.size() - 1).level);
  const int object = int_member(item, "object", 0);
  const PDF_REF from = object > 0 ? doc.reference_to(object) : PDF_REF{0, 0};
  if (item.kind != JsonValue::Kind::kObject || !outline.add(level, title.c_str(), open == nullptr || open->flag, from))
    return false;
  if (page != nullptr && page->kind == JsonValue::Kind::kNumber) {
    Cleared<CPDFArray> view;
    return read_view(item, view) && outline.lead_to_page(doc, int_member(item, "page", 0) - 1, view);
  }
  const std::string uri = text_member(item, "uri");
  return uri.empty() || outline.lead_to_uri(uri.c_str());
}

int set_outline(CPDFDoc& doc, const std::string& name, const std::string& source, const JsonValue& list) {
  CPDFOutline outline;
  for (std::size_t i = 0; i < list.items.size(); ++i) {
    if (add_entry(doc, outline, list.items[i]))
      continue;
    complain(source,
             "entry " + std::to_string(i + 1) +
                 " is no entry: it needs a \"title\", a \"level\" at most one below the entry in front, a \"page\" " +
                 "of the document, and a \"view\" such as [\"XYZ\", 0, 700, null]");
    return kExitFailed;
  }
  if (outline.store(doc))
    return kExitClean;
  complain(name, "there is no catalogue that can be changed, or not enough memory");
  return kExitFailed;
}

JsonValue member(const char* name, JsonValue::Kind kind, const std::string& text) {
  JsonValue value;
  value.kind = kind;
  value.name = name;
  value.text = text;
  return value;
}

// Lines as they are printed here: two spaces for each level, the title, two spaces, and a page or an address.
JsonValue read_lines(const std::string& text) {
  using Kind = JsonValue::Kind;
  JsonValue list;
  list.kind = Kind::kArray;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty() && line.back() == '\r')
      line.pop_back();
    const std::size_t start = line.find_first_not_of(' ');
    if (start == std::string::npos)
      continue;
    const std::size_t gap = line.rfind("  ");
    const bool has_target = gap != std::string::npos && gap > start;
    const std::string target = has_target ? line.substr(gap + 2) : "-";
    const std::string title = line.substr(start, has_target ? gap - start : std::string::npos);
    JsonValue entry;
    entry.kind = Kind::kObject;
    entry.items.push_back(member("level", Kind::kNumber, std::to_string(start / 2)));
    entry.items.push_back(member("title", Kind::kText, title));
    if (target.find_first_not_of("0123456789") == std::string::npos)
      entry.items.push_back(member("page", Kind::kNumber, target));
    else if (target.find(':') != std::string::npos)
      entry.items.push_back(member("uri", Kind::kText, target));
    list.items.push_back(entry);
  }
  return list;
}

// The entries of a file in either form. False, with a message.
bool read_entries(const std::string& file, JsonValue& list) {
  std::string lines;
  if (!read_list_file(file, "outline", "entries", list, lines))
    return false;
  if (list.kind != JsonValue::Kind::kArray)
    list = read_lines(lines);
  return true;
}

int run_outline(const OutlineOptions& options) {
  if (only_lists(options.target, options.source))
    return list_outline(options);
  JsonValue list;
  if (!has_source(options.target, options.source, "the outline") || !read_entries(options.source, list))
    return kExitFailed;
  return run_edit(options.target,
                  [&](CPDFDoc& doc, const std::string& name) { return set_outline(doc, name, options.source, list); });
}

const Registration kOutline("outline", "Look", "The outline, also called bookmarks", [](Command& command) -> Run {
  auto options = std::make_shared<OutlineOptions>();
  add_edit_or_rewrite(command, options->target);
  command.add_option("--set", options->source,
                     "The outline from a file, as it is printed here or by --json, - for standard input");
  command.add_flag("--json", options->json, "One JSON object");
  return [options] { return run_outline(*options); };
});

}  // namespace

}  // namespace sheaf::tool
