// Adds to each field its kind, flags and choices.
#include "support/field_report.h"

#include <cstdio>
#include <filesystem>

#include "sheaf/document/doc.h"
#include "sheaf/document/forms/form_data.h"
#include "support/json_writer.h"
#include "support/tool_support.h"

namespace sheaf::tool {

void FieldReport::write(const std::string& name, JsonWriter& json) {
  PDF_FIELD_TRAITS traits;
  CPDFFormData offers;
  if (!has_form_ || !filler_.describe(name.c_str(), traits, offers))
    return;
  json.key("kind").text(traits.kind).key("flags").begin_array();
  const std::pair<bool, const char*> flags[] = {{traits.read_only, "read-only"},   {traits.required, "required"},
                                                {traits.locked, "locked"},         {traits.multi_line, "multi-line"},
                                                {traits.takes_several, "several"}, {traits.takes_any, "any-text"}};
  for (const auto& [is_set, flag] : flags) {
    if (is_set)
      json.text(flag);
  }
  json.end_array();
  if (traits.max_len != 0)
    json.key("max_length").number(traits.max_len);
  if (offers.count() == 0)
    return;
  json.key("offers").begin_array();
  for (std::int32_t i = 0; i < offers.count(); ++i) {
    json.begin_object().key("value").text(offers.name(i));
    if (offers.value_count(i) != 0)
      json.key("text").text(offers.value(i, 0));
    json.end_object();
  }
  json.end_array();
}

bool write_form_data(CPDFDoc& doc, const std::string& file, bool xfdf) {
  CPDFFormData data;
  CQVStreamMem out;
  if (!data.read_form(doc)) {
    complain(file, "has no form");
    return false;
  }
  const std::string name = std::filesystem::path(file).filename().string();
  const bool good = xfdf ? data.write_xfdf(out, name.c_str()) : data.write_fdf(out, name.c_str());
  if (good && std::fwrite(out.data, 1, out.len, stdout) == out.len)
    return true;
  complain(file, "its values could not be written");
  return false;
}

}  // namespace sheaf::tool
