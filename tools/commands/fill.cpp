// sheaf fill: values into a form's fields, saved after the old content, so that signatures stay valid.
#include <cstdio>

#include "sheaf/document/forms/form_data.h"
#include "sheaf/document/forms/form_filler.h"
#include "support/command_line.h"
#include "support/inputs.h"
#include "support/json_reader.h"
#include "support/safe_output.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct FillOptions {
  std::string file;
  std::string output;
  PasswordOptions password;
  std::vector<std::string> settings;  ///< "NAME=TEXT".
  std::string data;                   ///< FDF, XFDF or JSON.
  std::vector<std::string> fonts;
  bool read_only = false;
};

void add_text(CPDFFormData& data, const JsonValue& value) {
  using Kind = JsonValue::Kind;
  const JsonValue* const name = value.member("name");
  if (value.kind == Kind::kText || value.kind == Kind::kNumber)
    data.add_value(value.text.c_str(), false);
  else if (value.kind == Kind::kFlag)
    data.add_value(value.flag ? "true" : "false", true);
  else if (name != nullptr && name->kind == Kind::kText)
    data.add_value(name->text.c_str(), true);
}

// Null stands for no value, and leaves the field as it is.
void add_json_field(CPDFFormData& data, const std::string& name, const JsonValue& value) {
  using Kind = JsonValue::Kind;
  if (value.kind == Kind::kNull || (value.kind == Kind::kObject && value.member("name") == nullptr))
    return;
  data.add_field(name.c_str());
  if (value.kind != Kind::kArray)
    return add_text(data, value);
  for (const JsonValue& item : value.items)
    add_text(data, item);
}

// What `sheaf fields --json` prints, or an object with a member for each field.
bool read_json_data(const std::string& text, CPDFFormData& data, std::string& trouble) {
  JsonValue top;
  if (!read_json(text, top, trouble))
    return false;
  const JsonValue* const fields = top.member("fields");
  if (fields == nullptr || fields->kind != JsonValue::Kind::kArray) {
    trouble = "the top";
    if (top.kind != JsonValue::Kind::kObject)
      return false;
    for (const JsonValue& value : top.items)
      add_json_field(data, value.name, value);
    return true;
  }
  for (const JsonValue& field : fields->items) {
    const JsonValue* const name = field.member("name");
    const JsonValue* const value = field.member("value");
    const JsonValue* const type = field.member("type");
    const bool signature = type != nullptr && type->text == "Sig";
    if (name != nullptr && value != nullptr && !signature)
      add_json_field(data, name->text, *value);
  }
  return true;
}

// The format is known by how the data begin.
bool read_data(const std::string& path, CPDFFormData& data) {
  std::string bytes;
  if (!read_input(path, bytes))
    return false;
  const std::size_t first = bytes.find_first_not_of("\xEF\xBB\xBF \t\r\n");
  const char mark = first != std::string::npos ? bytes[first] : ' ';
  std::string trouble;
  if (mark == '{' || mark == '[') {
    if (read_json_data(bytes, data, trouble))
      return true;
    complain(input_name(path), "is no JSON that holds fields; the trouble begins in " + trouble);
    return false;
  }
  bool good = false;
  if (mark == '<') {
    good = data.read_xfdf(bytes.data(), bytes.size());
  } else {
    CQVStreamMemFix stream;
    stream.Open(bytes.data(), static_cast<int>(bytes.size()));
    good = data.read_fdf(stream);
  }
  if (!good)
    complain(input_name(path), "holds no form data; FDF, XFDF and JSON are understood");
  else if (data.has_annotations())
    complain(input_name(path), "holds annotations too; they are not imported");
  return good;
}

bool read_settings(const std::vector<std::string>& settings, CPDFFormData& data) {
  for (const std::string& setting : settings) {
    const std::size_t at = setting.find('=');
    if (at == std::string::npos || at == 0) {
      complain("--set " + setting, "needs NAME=TEXT with the full name of a field as NAME");
      return false;
    }
    const std::string name = setting.substr(0, at);
    if (data.count() == 0 || name != data.name(data.count() - 1))
      data.add_field(name.c_str());
    data.add_value(setting.c_str() + at + 1, false);
  }
  return true;
}

struct Tally {
  int filled = 0;
  int unchanged = 0;
  int refused = 0;
};

Tally fill_all(CPDFFormFiller& filler, const CPDFFormData& data, const std::string& file) {
  Tally tally;
  for (std::int32_t i = 0; i < data.count(); ++i) {
    std::vector<const char*> values;
    values.reserve(static_cast<std::size_t>(data.value_count(i)));
    for (std::int32_t k = 0; k < data.value_count(i); ++k)
      values.push_back(data.value(i, k));
    const PDF_FILL result = filler.set(data.name(i), values.data(), static_cast<std::int32_t>(values.size()));
    tally.filled += result == PDF_FILL::kDone ? 1 : 0;
    tally.unchanged += result == PDF_FILL::kUnchanged ? 1 : 0;
    if (result == PDF_FILL::kDone || result == PDF_FILL::kUnchanged)
      continue;
    ++tally.refused;
    complain(input_name(file),
             "field " + std::string(data.name(i)) + " was not set: " + CPDFFormFiller::reason(result));
  }
  return tally;
}

int fill(CPDFDoc& doc, const FillOptions& options, const CPDFFormData& data) {
  CPDFFormFiller filler(doc);
  if (!filler.load()) {
    complain(input_name(options.file), "has no form to fill");
    return kExitFailed;
  }
  filler.fill_read_only(options.read_only);
  for (std::size_t i = options.fonts.size(); i-- > 0;) {
    if (filler.add_font(options.fonts[i].c_str()))
      continue;
    complain(options.fonts[i], "no such font is known here; give a family, full or PostScript name");
    return kExitFailed;
  }
  const Tally tally = fill_all(filler, data, options.file);
  if (tally.refused != 0 && tally.filled == 0 && tally.unchanged == 0) {
    complain(output_name(options.output), "was not written, as no value could be set");
    return kExitFailed;
  }
  if (!filler.finish() || !doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr)) {
    complain(output_name(options.output), "could not be written to its end; is the disk full?");
    return kExitFailed;
  }
  if (filler.missing_characters() != 0)
    complain(options.output,
             std::to_string(filler.missing_characters()) +
                 " characters are in no font known here and show as question marks; name one by --font");
  if (filler.has_dropped_xfa())
    complain(output_name(options.output),
             "its XFA part is gone, as it would contradict the new values; the form's fields stay");
  report(output_name(options.output) + ": " + std::to_string(tally.filled) + " fields filled");
  const bool was_healed = !was_sound(doc, options.file);
  const bool clean = tally.refused == 0 && filler.missing_characters() == 0 && !was_healed;
  return clean ? kExitClean : kExitProblems;
}

int run_fill(const FillOptions& options) {
  if (options.settings.empty() && options.data.empty()) {
    complain(input_name(options.file), "nothing to fill in; give --set NAME=TEXT, or --data FILE");
    return kExitFailed;
  }
  CPDFFormData data;
  if ((!options.data.empty() && !read_data(options.data, data)) || !read_settings(options.settings, data))
    return kExitFailed;
  std::string source;
  SafeOutput output;
  if (!input_path(options.file, source) || !output.open(options.output) || !output.copy_of(source))
    return kExitFailed;
  CPDFDoc doc;
  if (!open_document_for_update(doc, output.path(), options.file, options.password))
    return kExitFailed;
  const int code = fill(doc, options, data);
  doc.close();
  if (code == kExitFailed)
    return code;
  return output.commit() ? code : kExitFailed;
}

const Registration kFill("fill", "Change", "Fill in a form", [](Command& command) -> Run {
  auto options = std::make_shared<FillOptions>();
  add_file(command, options->file);
  add_password(command, options->password);
  command.add_option("OUT", options->output, "The file to write")->required();
  command.add_option("--set", options->settings, "NAME=TEXT; again for each further value of a list box")
      ->one_at_a_time();
  command.add_option("--data", options->data, "FDF, XFDF, or JSON as from fields --json");
  command.add_option("--font", options->fonts, "Asked first for what a field's own font lacks")->one_at_a_time();
  command.add_flag("--read-only", options->read_only, "Fill read-only fields too");
  return [options] { return run_fill(*options); };
});

}  // namespace

}  // namespace sheaf::tool
