// sheaf check: reads every object, decodes every stream, and says what is wrong by object number.
#include <cstdio>
#include <memory>
#include <vector>

#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/decode_parms.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/object/array.h"
#include "support/command_line.h"
#include "support/json_values.h"
#include "support/progress.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct CheckOptions {
  std::vector<std::string> files;
  PasswordOptions password;
  bool json = false;
};

struct Problem {
  std::int32_t object;
  std::string what;
};

struct Result {
  const char* status = "clean";
  std::int64_t pages = 0;
  std::int64_t objects = 0;
  std::int64_t streams = 0;
  std::int64_t decoded_bytes = 0;
  std::vector<Problem> problems;
};

class Checker {
public:
  Checker(CPDFDoc& doc, Result& result) : table_(doc.table()), result_(result) {}

  void check_objects() {
    table_.drain_pending();
    Progress progress("objects checked", table_.xref_count);
    // Reading can grow the table, so its size is looked at each turn.
    for (std::uint32_t num = 1; num < table_.xref_count; ++num) {
      const PDF_XREF entry = table_.xref_items[num];
      progress.show(num);
      if (entry.is_known())
        check_object(static_cast<std::int32_t>(num), entry);
    }
  }

private:
  void check_object(std::int32_t num, const PDF_XREF& entry) {
    ++result_.objects;
    if (entry.is_compressed()) {
      // Object streams hold no streams, so that it is enough to pass over their objects' syntax.
      table_.get_references(found_, num);
      found_.clear();
      return;
    }
    const bool has_gen = entry.is_listed() && entry.gen >= 0;
    table_.get_entity(obj_, {num, has_gen ? entry.gen : 0});
    if (obj_.tag == kTagNoValue)
      problem(num, "is no value");
    if (const CPDFStreamRec* rec = obj_.as_stream())
      check_stream(num, *rec);
  }

  void check_stream(std::int32_t num, const CPDFStreamRec& rec) {
    ++result_.streams;
    if (const char* filter = unknown_filter(rec.dict)) {
      problem(num, std::string("no decoder for /") + filter);
      return;
    }
    if (const std::int32_t size = object_stream_size(num, rec)) {
      result_.decoded_bytes += size;
      return;
    }
    const std::unique_ptr<CPDFStream> decoder(table_.make_stream(&rec));
    if (decoder == nullptr) {
      if (!is_empty(rec))
        problem(num, "stream data cannot be read");
      return;
    }
    const std::int64_t total = drain(table_, rec, *decoder, [](const unsigned char*, int) { return true; });
    result_.decoded_bytes += total;
    if (total == 0)
      problem(num, "stream data decode to nothing");
    if (total >= kMostDecoded)
      problem(num, "stream data decode to more than 1 GiB; the rest was not looked at");
  }

  // The decoded size of an object stream, 0 for other streams. It is decoded once, for its objects.
  std::int32_t object_stream_size(std::int32_t num, const CPDFStreamRec& rec) {
    const CPDFObj* const type = rec.dict.get_item(CPDFDictionary::sm_tag_type);
    const PDF_XREF entry = table_.xref_items[num];
    if (type == nullptr || !type->is_name("ObjStm") || !entry.is_listed())
      return 0;
    const PDF_OBJSTM* const objstm = table_.get_objstm_references(entry.offset, num);
    return objstm != nullptr ? objstm->decoded : 0;
  }

  bool is_empty(const CPDFStreamRec& rec) {
    Freed<CPDFObj> length;
    table_.resolve(length, rec.dict.get_item(CPDFDictionary::sm_tag_length));
    return length.tag == kTagInt && length.as_int() == 0;
  }

  // The first filter that has no decoder, or null. Borrowed from `name_`.
  const char* unknown_filter(const CPDFDictionary& dict) {
    Freed<CPDFObj> filters;
    table_.resolve(filters, dict.get_item(CPDFDictionary::sm_tag_filter));
    const CPDFArray* names = filters.as_array();
    if (names == nullptr)
      return unknown_name(filters);
    for (std::int32_t i = 0; i < names->count; ++i) {
      Freed<CPDFObj> name;
      table_.resolve(name, names->get(i));
      if (const char* unknown = unknown_name(name))
        return unknown;
    }
    return nullptr;
  }

  const char* unknown_name(const CPDFObj& name) {
    const char* text = name.as_text();
    if (text == nullptr || find_decoder(text) != nullptr)
      return nullptr;
    name_ = text;
    return name_.c_str();
  }

  void problem(std::int32_t num, const std::string& what) { result_.problems.push_back({num, what}); }

  CPDFXRefTable& table_;
  Result& result_;
  Freed<CPDFObj> obj_;
  ReferenceList found_;
  std::string name_;
};

void print_json(const std::string& file, CPDFDoc& doc, const Result& result) {
  JsonWriter json;
  begin_report(json, file).key("status").text(result.status);
  json.key("pages").number(result.pages).key("objects").number(result.objects);
  json.key("streams").number(result.streams).key("decoded_bytes").number(result.decoded_bytes);
  json.key("problems").begin_array();
  for (const Problem& problem : result.problems)
    json.begin_object().key("object").number(problem.object).key("what").text(problem.what).end_object();
  json.end_array().key("repairs").begin_array();
  for (const PDF_DOC_REPAIR& repair : doc.repairs()) {
    json.begin_object().key("code").text(repair.code).key("object").number(repair.num);
    json.key("offset").number(repair.offset).key("action").text(repair.action).end_object();
  }
  json.end_array().end_object();
  std::printf("%s\n", json.str().c_str());
}

void print_text(const std::string& file, CPDFDoc& doc, const Result& result) {
  std::printf("%s: %s, %lld pages, %lld objects, %lld streams, %lld bytes decoded\n", shown(input_name(file)).c_str(),
              result.status, static_cast<long long>(result.pages), static_cast<long long>(result.objects),
              static_cast<long long>(result.streams), static_cast<long long>(result.decoded_bytes));
  for (const PDF_DOC_REPAIR& repair : doc.repairs())
    std::printf("  repaired (%s): object %d, offset %u: %s\n", repair.code, repair.num, repair.offset, repair.action);
  for (const Problem& problem : result.problems)
    std::printf("  object %d: %s\n", problem.object, shown(problem.what).c_str());
}

int check_file(const std::string& file, const CheckOptions& options) {
  CPDFDoc doc;
  Result result;
  int code = kExitClean;
  if (!open_document(doc, file, options.password, false)) {
    result.status = "unreadable";
    code = kExitFailed;
  } else if (!doc.is_readable()) {
    result.status = "unreadable";
    result.pages = doc.page_count();
    result.problems.push_back({0, password_trouble(doc)});
    code = kExitFailed;
  } else {
    result.pages = doc.page_count();
    Checker(doc, result).check_objects();
    if (!result.problems.empty())
      result.status = "problems";
    else if (doc.status() != PDF_OPEN::kClean || !doc.repairs().empty())
      result.status = "repaired";
    code = doc.status() == PDF_OPEN::kClean && result.problems.empty() && doc.repairs().empty() ? kExitClean
                                                                                                : kExitProblems;
  }
  if (options.json)
    print_json(file, doc, result);
  else if (!manner().quiet || code != kExitClean)
    print_text(file, doc, result);
  return code;
}

int run_check(const CheckOptions& options) {
  int worst = kExitClean;
  for (const std::string& file : options.files) {
    const int code = check_file(file, options);
    worst = code > worst ? code : worst;
  }
  return worst;
}

const Registration kCheck("check", "Look", "Read every object and decode every stream", [](CLI::App& command) -> Run {
  auto options = std::make_shared<CheckOptions>();
  command.add_option("FILE", options->files, "The documents")->required();
  add_password(command, options->password);
  command.add_flag("--json", options->json, "One JSON object a file");
  return [options] { return run_check(*options); };
});

}  // namespace

}  // namespace sheaf::tool
