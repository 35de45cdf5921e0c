// sheaf diff: what differs between two documents, or between two revisions of one.
#include <charconv>
#include <cstdio>

#include "sheaf/document/diff/doc_diff.h"
#include "support/command_line.h"
#include "support/json_values.h"
#include "support/revision_documents.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct DiffOptions {
  std::string file;
  std::string other;
  PasswordOptions password;
  std::string other_password;
  std::string revisions;  ///< "1..2".
  bool objects = false;
  bool json = false;
};

constexpr std::size_t kMostShown = 120;  // characters of a value in a line

class Report : public CPDFDiffSink {
public:
  explicit Report(bool json) : json_(json) {}

  void page(std::int32_t a, std::int32_t b, std::uint32_t what) override {
    struct Row {
      std::uint32_t bit;
      const char* name;
    };
    static constexpr Row kRows[] = {{kPageContentDiffers, "content"},
                                    {kPageBoxesDiffer, "boxes"},
                                    {kPageRotationDiffers, "rotation"},
                                    {kPageResourcesDiffer, "resources"},
                                    {kPageAnnotationsDiffer, "annotations"}};
    ++count_;
    if (json_) {
      pages_.begin_object().key("a");
      a >= 0 ? pages_.number(a + 1) : pages_.null();
      pages_.key("b");
      b >= 0 ? pages_.number(b + 1) : pages_.null();
      pages_.key("changed").begin_array();
      for (const Row& row : kRows) {
        if ((what & row.bit) != 0)
          pages_.text(row.name);
      }
      pages_.end_array().end_object();
      return;
    }
    std::string names;
    for (const Row& row : kRows)
      names += (what & row.bit) != 0 ? (names.empty() ? "" : ", ") + std::string(row.name) : "";
    if (a < 0)
      std::printf("+ page %d\n", b + 1);
    else if (b < 0)
      std::printf("- page %d\n", a + 1);
    else
      std::printf("~ page %d%s: %s\n", a + 1, a != b ? (" (now " + std::to_string(b + 1) + ")").c_str() : "",
                  names.c_str());
  }

  void value(std::string_view path, const CPDFObj* a, const CPDFObj* b) override {
    ++count_;
    if (json_) {
      values_.begin_object().key("path").text(path).key("a");
      a != nullptr ? values_.text(syntax_text(*a)) : values_.null();
      values_.key("b");
      b != nullptr ? values_.text(syntax_text(*b)) : values_.null();
      values_.end_object();
      return;
    }
    const std::string where = shown(std::string(path));
    if (a == nullptr)
      std::printf("+ %s %s\n", where.c_str(), short_text(*b).c_str());
    else if (b == nullptr)
      std::printf("- %s %s\n", where.c_str(), short_text(*a).c_str());
    else if (a->tag == kTagStream && b->tag == kTagStream)
      std::printf("~ %s: the data of the stream\n", where.c_str());
    else
      std::printf("~ %s %s -> %s\n", where.c_str(), short_text(*a).c_str(), short_text(*b).c_str());
  }

  void object(std::int32_t num, std::string_view kind, const CPDFObj& a, const CPDFObj& b) override {
    ++count_;
    const char* const what = a.is_null() ? "added" : b.is_null() ? "removed" : "changed";
    if (json_)
      objects_.begin_object().key("object").number(num).key("kind").text(kind).key("what").text(what).end_object();
    else
      std::printf("%c object %d %s\n",
                  a.is_null()   ? '+'
                  : b.is_null() ? '-'
                                : '~',
                  num, shown(std::string(kind)).c_str());
  }

  int finish(const DiffOptions& options) {
    if (json_) {
      JsonWriter json;
      begin_report(json, options.file);
      write_file_name(json, "other", options.other.empty() ? options.file : options.other);
      json.key("same").flag(count_ == 0).key("pages").raw("[" + pages_.str() + "]");
      json.key("values").raw("[" + values_.str() + "]").key("objects").raw("[" + objects_.str() + "]").end_object();
      std::printf("%s\n", json.str().c_str());
    }
    return count_ == 0 ? kExitClean : kExitProblems;
  }

private:
  static std::string short_text(const CPDFObj& value) {
    const std::string text = shown(syntax_text(value));
    return text.size() <= kMostShown ? text : text.substr(0, kMostShown) + "...";
  }

  bool json_;
  std::int64_t count_ = 0;
  JsonWriter pages_;
  JsonWriter values_;
  JsonWriter objects_;
};

int compare(CPDFDoc& a, CPDFDoc& b, bool objects, const DiffOptions& options) {
  Report report(options.json);
  CPDFDocDiff diff(a, b, report);
  diff.pages();
  diff.tree();
  if (objects)
    diff.objects();
  return report.finish(options);
}

// "1..2", in the order of the file; "2" and "2.." go up to the last one.
bool read_pair(const DiffOptions& options, std::size_t count, std::size_t (&pair)[2]) {
  const std::string& text = options.revisions;
  const std::size_t dots = std::min(text.find(".."), text.size());
  const std::string parts[] = {text.substr(0, dots), dots < text.size() ? text.substr(dots + 2) : ""};
  pair[1] = count;
  for (int i = 0; i < 2; ++i) {
    if (i == 1 && parts[i].empty())
      break;
    const char* const end = parts[i].data() + parts[i].size();
    const auto read = std::from_chars(parts[i].data(), end, pair[i]);
    if (read.ec != std::errc() || read.ptr != end || pair[i] < 1 || pair[i] > count) {
      complain(options.file, "has no revisions \"" + text + "\"; it has " + std::to_string(count) +
                                 ", and two of them are given as 1..2");
      return false;
    }
  }
  return true;
}

int compare_revisions(const DiffOptions& options) {
  GrowArray<long long> ends;
  std::size_t pair[2];
  if (!read_revisions(options.file, ends) || !read_pair(options, ends.size(), pair))
    return kExitFailed;
  RevisionDocument a;
  RevisionDocument b;
  const auto open = [&](RevisionDocument& one, std::size_t number) {
    return one.open(options.file, ends[number - 1], input_name(options.file) + ", revision " + std::to_string(number),
                    options.password);
  };
  if (!open(a, pair[0]) || !open(b, pair[1]))
    return kExitFailed;
  return compare(a.doc(), b.doc(), true, options);
}

int run_diff(const DiffOptions& options) {
  if (!options.revisions.empty())
    return compare_revisions(options);
  if (options.other.empty()) {
    complain(options.file, "needs something to be compared with: give a second file, or --revision 1..2");
    return kExitFailed;
  }
  CPDFDoc a;
  CPDFDoc b;
  const PasswordOptions second{options.other_password.empty() ? options.password.password : options.other_password,
                               options.other_password.empty() ? options.password.password_file : ""};
  if (!open_document(a, options.file, options.password) || !open_document(b, options.other, second))
    return kExitFailed;
  return compare(a, b, options.objects, options);
}

const Registration kDiff(
    "diff", "Look", "What differs between two documents or revisions", [](Command& command) -> Run {
      auto options = std::make_shared<DiffOptions>();
      add_file(command, options->file);
      auto* other = command.add_option("OTHER", options->other, "The document to compare it with");
      add_password(command, options->password);
      command.add_option("--other-password", options->other_password, "That of the other document");
      command.add_option("--revision", options->revisions, "Two revisions of FILE, such as 1..2")->excludes(other);
      command.add_flag("--objects", options->objects, "Also objects of the same number");
      command.add_flag("--json", options->json, "One JSON object");
      return [options] { return run_diff(*options); };
    });

}  // namespace

}  // namespace sheaf::tool
