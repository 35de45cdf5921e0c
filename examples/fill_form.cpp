// Prints the fields of a document's form, and gives one of them a new value in a copy.
//
//   fill_form FILE.pdf [FIELD VALUE]
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/neighbours/page/acro_form.h"
#include "sheaf/object/text_utf8.h"

namespace {

std::string utf8(const PDF_String& text) {
  std::size_t len = 0;
  const sheaf::HeapBlock<char> bytes(sheaf::text_to_utf8(text, len));
  return std::string(bytes ? bytes.get() : "", len);
}

std::string name_of(const CPDFField& field) {
  PDF_String text{0, nullptr};
  text.init(field.name(), 1);
  const sheaf::HeapBlock<char> owned(text.data);
  return utf8(text);
}

void print_fields(const CPDFAcroForm& form) {
  for (std::int32_t i = 0; i < form.field_count(); ++i) {
    const CPDFField& field = *form.field_at(i);
    sheaf::Freed<CPDFObj> kind;
    sheaf::Freed<CPDFObj> value;
    field.get_value("FT", kind);  // sought upwards, as fields inherit
    field.get_value("V", value);
    if (field.is_terminal())
      std::printf("%s (%s): %s\n", name_of(field).c_str(), kind.as_text() != nullptr ? kind.as_text() : "no type",
                  utf8(value.as_string()).c_str());
  }
}

// The full name of a field as the form keeps it: a text string.
CPDFField* find_field(const CPDFAcroForm& form, const char* name) {
  PDF_String text{0, nullptr};
  sheaf::text_from_utf8(name, text);
  const sheaf::HeapBlock<char> owned(text.data);
  return form.get_field(text);
}

bool fill(CPDFDoc& doc, CPDFAcroForm& form, const char* name, const char* value) {
  const CPDFField* const field = find_field(form, name);
  sheaf::Freed<CPDFObj> obj;
  if (field != nullptr)
    doc.table().get_entity(obj, field->ref());
  CPDFDictionary* const form_dict = form.edit_dict();
  if (obj.as_dict() == nullptr || form_dict == nullptr)
    return false;
  // The old picture of the value goes; the viewer is asked to draw the new one.
  form_dict->set_item_bool("NeedAppearances", 1);
  PDF_String text{0, nullptr};
  sheaf::text_from_utf8(value, text);
  const sheaf::HeapBlock<char> owned(text.data);
  obj.as_dict()->set_item_str("V", text.data, text.len);
  obj.as_dict()->set_item("AP", nullptr);
  return doc.table().store_object(field->ref(), obj);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string copy = "filled.pdf";
  std::error_code failure;
  if (argc < 2 ||
      !std::filesystem::copy_file(argv[1], copy, std::filesystem::copy_options::overwrite_existing, failure))
    return 2;
  CPDFDoc doc;
  if (!doc.open_for_update(copy.c_str()) || !doc.is_readable())
    return 2;
  CPDFAcroForm form(doc.table());
  if (!form.load()) {
    std::fprintf(stderr, "%s has no form\n", argv[1]);
    return 2;
  }
  print_fields(form);
  if (argc != 4)
    return 0;
  const bool good = fill(doc, form, argv[2], argv[3]) && doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr);
  print_fields(form);
  return good ? 0 : 2;
}
