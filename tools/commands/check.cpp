// sheaf check: reads every object, decodes every stream, and says what is wrong by object number.
#include <cstdio>
#include <cstring>
#include <memory>

#include "batch/batch.h"
#include "support/command_line.h"
#include "support/document_check.h"
#include "support/json_values.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct CheckOptions {
  BatchOptions batch;
  PasswordOptions password;
  bool json = false;
};

void print_json(const std::string& file, CPDFDoc& doc, const CheckResult& result) {
  JsonWriter json;
  begin_report(json, file).key("status").text(result.status);
  json.key("pages").number(result.pages).key("objects").number(result.objects);
  json.key("streams").number(result.streams).key("decoded_bytes").number(result.decoded_bytes);
  json.key("problems").begin_array();
  for (const Problem& problem : result.problems)
    json.begin_object().key("object").number(problem.object).key("what").text(problem.what).end_object();
  json.end_array();
  put_repairs(json, doc);
  json.end_object();
  std::printf("%s\n", json.str().c_str());
}

void print_text(const std::string& file, CPDFDoc& doc, const CheckResult& result) {
  std::printf("%s: %s, %lld pages, %lld objects, %lld streams, %lld bytes decoded\n", shown(input_name(file)).c_str(),
              result.status, static_cast<long long>(result.pages), static_cast<long long>(result.objects),
              static_cast<long long>(result.streams), static_cast<long long>(result.decoded_bytes));
  for (const PDF_DOC_REPAIR& repair : doc.repairs())
    std::printf("  repaired (%s): object %d, offset %u: %s\n", repair.code, repair.num, repair.offset, repair.action);
  if (const auto more = doc.table().repairs.left_out(); more > 0)
    std::printf("  repaired: %lld more places, which are not listed\n", static_cast<long long>(more));
  for (const Problem& problem : result.problems)
    std::printf("  object %d: %s\n", problem.object, shown(problem.what).c_str());
}

int check_file(const std::string& file, const CheckOptions& options) {
  CPDFDoc doc;
  CheckResult result;
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
    check_document_and_contents(doc, result);
    code = std::strcmp(result.status, "clean") == 0 ? kExitClean : kExitProblems;
  }
  if (options.json)
    print_json(file, doc, result);
  else if (!manner().quiet || code != kExitClean)
    print_text(file, doc, result);
  return code;
}

int run_check(const CheckOptions& options) {
  return run_batch(options.batch, options.json,
                   [&options](const std::string& file) { return check_file(file, options); });
}

const Registration kCheck("check", "Look", "Read every object, decode every stream, follow every content",
                          [](Command& command) -> Run {
                            auto options = std::make_shared<CheckOptions>();
                            add_batch(command, options->batch);
                            add_password(command, options->password);
                            command.add_flag("--json", options->json, "One JSON object a file");
                            return [options] { return run_check(*options); };
                          });

}  // namespace

}  // namespace sheaf::tool
