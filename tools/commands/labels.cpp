// sheaf labels: how pages are labelled, as a list of ranges, and set from such a list.
#include <algorithm>
#include <array>
#include <cstdio>
#include <sstream>

#include "sheaf/document/pages/page_labels.h"
#include "support/command_line.h"
#include "support/edit_run.h"
#include "support/json_file.h"
#include "support/json_values.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct LabelsOptions {
  EditTarget target;
  std::string source;
  bool json = false;
};

struct Style {
  char letter;
  const char* name;
};
constexpr std::array<Style, 6> kStyles{
    {{'D', "decimal"}, {'R', "Roman"}, {'r', "roman"}, {'A', "Letters"}, {'a', "letters"}, {'\0', "none"}}};

const char* name_of(char letter) {
  const auto found = std::find_if(kStyles.begin(), kStyles.end(), [=](const Style& s) { return s.letter == letter; });
  return found != kStyles.end() ? found->name : "none";
}

struct Range {
  int page;
  std::string style;
  int start;
  std::string prefix;
};

int list_labels(const LabelsOptions& options) {
  CPDFDoc doc;
  if (!open_document(doc, options.target.file, options.target.password))
    return kExitFailed;
  CPDFPageLabels labels;
  labels.load(doc);
  JsonWriter json;
  begin_report(json, options.target.file).key("labels").begin_array();
  for (std::int32_t i = 0; i < labels.size(); ++i) {
    const PDF_LABEL_RANGE& range = labels.at(i);
    const std::string prefix = utf8_text(range.prefix);
    json.begin_object().key("page").number(range.first + 1).key("style").text(name_of(range.style));
    json.key("start").number(range.start).key("prefix").text(prefix).end_object();
    if (!options.json)
      std::printf("%d %s %d %s\n", range.first + 1, name_of(range.style), range.start, shown(prefix).c_str());
  }
  if (options.json)
    std::printf("%s\n", json.end_array().end_object().str().c_str());
  return was_sound(doc, options.target.file) ? kExitClean : kExitProblems;
}

// Lines of PAGE STYLE START PREFIX, the last two of which may be left out.
void read_lines(const std::string& text, std::vector<Range>& ranges) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty() && line.back() == '\r')
      line.pop_back();
    if (line.empty() || line[0] == '#')
      continue;
    Range range{0, "", 1, ""};
    std::istringstream words(line);
    words >> range.page >> range.style;
    if (words >> range.start && words.get() == ' ')
      std::getline(words, range.prefix);
    ranges.push_back(range);
  }
}

bool read_ranges(const std::string& file, std::vector<Range>& ranges) {
  JsonValue list;
  std::string lines;
  if (!read_list_file(file, "labels", "labels", list, lines))
    return false;
  read_lines(lines, ranges);
  for (const JsonValue& item : list.items)
    ranges.push_back({int_member(item, "page", 0), text_member(item, "style", "decimal"), int_member(item, "start", 1),
                      text_member(item, "prefix")});
  return true;
}

int set_labels(CPDFDoc& doc, const std::string& name, const std::string& source, const std::vector<Range>& ranges) {
  CPDFPageLabels labels;
  for (const Range& range : ranges) {
    const auto style =
        std::find_if(kStyles.begin(), kStyles.end(), [&range](const Style& s) { return range.style == s.name; });
    const bool good = style != kStyles.end() && range.page >= 1 && range.page <= doc.page_count() &&
                      labels.add(range.page - 1, style->letter, range.start, range.prefix.c_str());
    if (good)
      continue;
    complain(source, "page " + std::to_string(range.page) + ": is no range of labels; ranges begin at pages of the " +
                         "document in ascending order, and styles are decimal, Roman, roman, Letters, letters, none");
    return kExitFailed;
  }
  if (!labels.empty() && labels.at(0).first != 0) {
    complain(source, "the first range must begin at page 1");
    return kExitFailed;
  }
  if (labels.store(doc))
    return kExitClean;
  complain(name, "there is no catalogue that can be changed, or not enough memory");
  return kExitFailed;
}

int run_labels(const LabelsOptions& options) {
  if (only_lists(options.target, options.source))
    return list_labels(options);
  std::vector<Range> ranges;
  if (!has_source(options.target, options.source, "the labels") || !read_ranges(options.source, ranges))
    return kExitFailed;
  return run_edit(options.target,
                  [&](CPDFDoc& doc, const std::string& name) { return set_labels(doc, name, options.source, ranges); });
}

const Registration kLabels("labels", "Look", "How pages are labelled", [](Command& command) -> Run {
  auto options = std::make_shared<LabelsOptions>();
  add_edit_or_rewrite(command, options->target);
  command.add_option("--set", options->source, "Labels from a file, as printed here, - for standard input");
  command.add_flag("--json", options->json, "One JSON object");
  return [options] { return run_labels(*options); };
});

}  // namespace

}  // namespace sheaf::tool
