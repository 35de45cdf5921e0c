// sheaf info: what a document is, at a glance.
#include <cstdio>

#include "batch/batch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/security/key_material.h"
#include "sheaf/neighbours/security/standard_handler.h"
#include "sheaf/object/array.h"
#include "support/command_line.h"
#include "support/json_values.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct InfoOptions {
  BatchOptions batch;
  PasswordOptions password;
  bool json = false;
};

const char* const kInfoKeys[] = {"Title",    "Author",       "Subject", "Keywords", "Creator",
                                 "Producer", "CreationDate", "ModDate", "Trapped"};

std::string kinds_text(std::uint32_t kinds) {
  switch (kinds & 3) {
    case 1:
      return "classic";
    case 2:
      return "stream";
    case 3:
      return "classic and stream";
    default:
      return "none";
  }
}

const char* opened_text(const CPDFDoc& doc, bool json) {
  switch (doc.status()) {
    case PDF_OPEN::kRebuilt:
      return "rebuilt";
    case PDF_OPEN::kRecovered:
      return "recovered";
    default:
      return json ? "clean" : "no";
  }
}

std::int64_t count_objects(const CPDFXRefTable& table) {
  std::int64_t count = 0;
  for (std::uint32_t i = 0; i < table.xref_count; ++i)
    count += table.xref_items[i].is_known() ? 1 : 0;
  return count;
}

std::string id_text(CPDFXRefTable& table, std::int32_t index) {
  Freed<CPDFObj> ids = table.value(&table.id);
  const CPDFObj* element = ids.as_array() != nullptr ? ids.as_array()->get(index) : nullptr;
  return element != nullptr ? hex_text(element->as_string()) : "";
}

std::string info_value(CPDFXRefTable& table, const CPDFDictionary& info, const char* key) {
  Freed<CPDFObj> value = table.value(&info, key);
  if (value.tag == kTagString)
    return utf8_text(value.as_string());
  return value.tag == kTagName ? value.as_name() : "";
}

const char* opened_by(const CPDFDoc& doc) {
  switch (doc.handler().outcome()) {
    case CPDFStandardSecHand::Outcome::kOpenedAsOwner:
      return "owner password";
    case CPDFStandardSecHand::Outcome::kOpenedAsUser:
      return "user password";
    default:
      return "not opened";
  }
}

// The permissions that are granted (ISO 32000-2, table 22), by name.
std::vector<std::string> permission_names(std::uint32_t bits) {
  struct Row {
    int bit;
    const char* name;
  };
  const Row rows[] = {{3, "print"}, {4, "modify"},  {5, "copy"},      {6, "annotate"},
                      {9, "fill"},  {10, "access"}, {11, "assemble"}, {12, "print-high"}};
  std::vector<std::string> names;
  for (const Row& row : rows) {
    if ((bits >> (row.bit - 1) & 1) != 0)
      names.emplace_back(row.name);
  }
  return names;
}

// The facts, in the order in which both forms print them.
class Report {
public:
  Report(bool json, const std::string& file) : json_(json) {
    if (json_)
      begin_report(out_, file);
    else
      text("", "File", input_name(file));
  }
  void text(const char* key, const char* label, const std::string& value) {
    if (json_)
      out_.key(key).text(value);
    else
      std::printf("%-14s %s\n", label, shown(value).c_str());
  }
  void list(const char* key, const char* label, const std::vector<std::string>& values) {
    std::string joined;
    if (json_)
      out_.key(key).begin_array();
    for (const std::string& value : values) {
      joined += (joined.empty() ? "" : ",") + value;
      if (json_)
        out_.text(value);
    }
    if (json_)
      out_.end_array();
    else
      text(key, label, joined);
  }
  void unknown(const char* key, const char* label, const char* why) {
    if (json_)
      out_.key(key).null();
    else
      text(key, label, why);
  }
  void number(const char* key, const char* label, std::int64_t value) {
    if (json_)
      out_.key(key).number(value);
    else
      std::printf("%-14s %lld\n", label, static_cast<long long>(value));
  }
  void flag(const char* key, const char* label, bool value) {
    if (json_)
      out_.key(key).flag(value);
    else
      std::printf("%-14s %s\n", label, value ? "yes" : "no");
  }
  void group(const char* key) {
    if (json_)
      out_.key(key).begin_object();
  }
  void end_group() {
    if (json_)
      out_.end_object();
  }
  void repairs(CPDFDoc& doc) {
    if (json_)
      put_repairs(out_, doc);
  }
  void finish() {
    if (!json_)
      return;
    out_.end_object();
    std::printf("%s\n", out_.str().c_str());
  }

private:
  bool json_;
  JsonWriter out_;
};

void report_encryption(Report& report, CPDFDoc& doc, const std::string& file) {
  report.flag("encrypted", "Encrypted", doc.is_encrypted());
  if (!doc.is_encrypted())
    return;
  const CPDFStandardSecHand& handler = doc.handler();
  report.text("algorithm", "Algorithm", CPDFStandardSecHand::method_name(handler.stream_method()));
  const bool aes256 = handler.parameters().revision >= 5;
  report.number("key_bits", "Key bits", aes256 ? 256 : handler.parameters().key_bytes * 8);
  report.number("revision", "Revision", handler.parameters().revision);
  report.text("opened_by", "Opened by", opened_by(doc));
  if (doc.is_readable())
    report.list("permissions", "Permissions", permission_names(handler.parameters().permissions));
  else
    complain(input_name(file), password_trouble(doc) + "; its pages cannot be counted");
}

void report_linearization(Report& report, CPDFDoc& doc) {
  report.flag("linearized", "Linearized", doc.linearized_length() != 0);
  if (doc.linearized_length() == 0)
    return;
  report.flag("updated_since", "Updated since", doc.linearized_length() != doc.file_size());
  report.flag("hints_usable", "Hints usable", doc.hints_hold());
}

void report_information(Report& report, CPDFDoc& doc) {
  CPDFXRefTable& table = doc.table();
  Freed<CPDFObj> info;
  if (doc.is_readable())
    info = table.value(&table.info);
  report.group("info");
  for (const char* key : kInfoKeys) {
    const std::string value = info.as_dict() != nullptr ? info_value(table, *info.as_dict(), key) : "";
    if (!value.empty())
      report.text(key, key, value);
  }
  report.end_group();
}

int show_file(const std::string& file, const InfoOptions& options) {
  CPDFDoc doc;
  if (!open_document(doc, file, options.password, false))
    return kExitFailed;
  CPDFXRefTable& table = doc.table();
  table.drain_pending();
  Report report(options.json, file);
  report.text("pdf_version", "Version", doc.version());
  report.number("size", "Size", doc.file_size());
  if (doc.is_readable())
    report.number("pages", "Pages", doc.page_count());
  else
    report.unknown("pages", "Pages", "unknown, encrypted");
  report.number("objects", "Objects", count_objects(table));
  report.text("sections", "Sections", kinds_text(table.xref_kinds));
  report_encryption(report, doc, file);
  report_linearization(report, doc);
  if (options.json)
    report.flag("repaired", "", doc.status() != PDF_OPEN::kClean || !doc.repairs().empty());
  report.text("opened", "Repaired", opened_text(doc, options.json));
  report.text("root", "Root", syntax_text(table.root));
  report_information(report, doc);
  report.text("id", "Identifier", id_text(table, 0));
  report.text("id2", "", id_text(table, 1));
  report.repairs(doc);
  report.finish();
  return doc.status() == PDF_OPEN::kClean && doc.repairs().empty() && doc.is_readable() ? kExitClean : kExitProblems;
}

int run_info(const InfoOptions& options) {
  bool is_first = true;
  return run_batch(options.batch, options.json, [&options, &is_first](const std::string& file) {
    if (!options.json && !is_first)
      std::printf("\n");
    is_first = false;
    return show_file(file, options);
  });
}

const Registration kInfo("info", "Look", "What a document is", [](Command& command) -> Run {
  auto options = std::make_shared<InfoOptions>();
  add_batch(command, options->batch);
  add_password(command, options->password);
  command.add_flag("--json", options->json, "One JSON object a file");
  return [options] { return run_info(*options); };
});

}  // namespace

}  // namespace sheaf::tool
