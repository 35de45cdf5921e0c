// sheaf fields: the fields of a form with their values.
#include <cstdio>

#include "sheaf/base/scope_guard.h"
#include "sheaf/base/utf.h"
#include "sheaf/document/forms/form_filler.h"
#include "sheaf/neighbours/page/acro_form.h"
#include "support/command_line.h"
#include "support/field_report.h"
#include "support/json_values.h"
#include "support/tool_support.h"
#include "support/utf8_steps.h"

namespace sheaf::tool {

namespace {

struct FieldsOptions {
  std::string file;
  PasswordOptions password;
  bool json = false;
  bool fdf = false;
  bool xfdf = false;
};

int run_fields(const FieldsOptions& options) {
  CPDFDoc doc;
  if (!open_document(doc, options.file, options.password))
    return kExitFailed;
  if (options.fdf || options.xfdf)
    return write_form_data(doc, options.file, options.xfdf) ? kExitClean : kExitFailed;
  CPDFAcroForm form(doc.table());
  form.load();
  const int loose = CPDFFormFiller::add_loose_fields(doc, form);
  if (loose != 0)
    report(input_name(options.file) + ": note: " + std::to_string(loose) +
           " of the fields are on pages only, not in the list of the form; sheaf fill adds those that it sets");
  FieldReport extra(doc);
  JsonWriter json;
  begin_report(json, options.file).key("fields").begin_array();
  for (std::int32_t i = 0; i < form.field_count(); ++i) {
    const CPDFField& field = *form.field_at(i);
    if (!field.is_terminal())
      continue;
    Freed<CPDFObj> kind;
    Freed<CPDFObj> value;
    field.get_value("FT", kind);
    field.get_value("V", value);
    Cleared<CPDFDictionary> holder;
    Cleared<CPDFDictionary> flat;
    holder.move_item("V", value);
    doc.table().export_dict(flat, &holder);
    const CPDFObj* value_now = flat.get_item("V");
    const std::string name = utf8_of(field.name());
    const char* const type = kind.as_text() != nullptr ? kind.as_text() : "";
    if (options.json) {
      json.begin_object().key("name").text(name).key("object").number(field.ref().num).key("type").text(type);
      json.key("value");
      write_value(json, value_now != nullptr ? *value_now : CPDFObj{});
      extra.write(name, json);
      json.end_object();
    } else {
      const std::string text = value_now == nullptr           ? ""
                               : value_now->tag == kTagString ? utf8_text(value_now->as_string())
                                                              : syntax_text(*value_now);
      std::printf("%8d %-4s %s = %s\n", field.ref().num, shown(type).c_str(), shown(name).c_str(), shown(text).c_str());
    }
  }
  json.end_array().end_object();
  if (options.json)
    std::printf("%s\n", json.str().c_str());
  return was_sound(doc, options.file) ? kExitClean : kExitProblems;
}

const Registration kFields("fields", "Look", "The form's fields with their values", [](Command& command) -> Run {
  auto options = std::make_shared<FieldsOptions>();
  add_file(command, options->file);
  add_password(command, options->password);
  auto* json = command.add_flag("--json", options->json, "One JSON object, which fill --data reads");
  auto* fdf = command.add_flag("--fdf", options->fdf, "The values as FDF")->excludes(json);
  command.add_flag("--xfdf", options->xfdf, "The values as XFDF")->excludes(json)->excludes(fdf);
  return [options] { return run_fields(*options); };
});

}  // namespace

}  // namespace sheaf::tool
