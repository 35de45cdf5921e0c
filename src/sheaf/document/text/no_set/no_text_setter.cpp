// A build without fonts sets no text.
#include "sheaf/document/text/text_setter.h"

namespace sheaf {

TextSetter::TextSetter(CPDFXRefTable& table, const TextFontOptions& fonts) : table_(table), options_(fonts) {}
TextSetter::TextSetter(CPDFXRefTable& table, SystemFonts& system, const TextFontOptions& fonts)
    : table_(table), options_(fonts), system_(&system) {}
TextSetter::~TextSetter() = default;

bool TextSetter::add_font(const char*) {
  return false;
}
bool TextSetter::set(std::string_view, const TextFormat&) {
  return false;
}
bool TextSetter::show(const TextLine&, double, double, GrowArray<char>&) {
  return false;
}
void TextSetter::font_name(int, char (&name)[kFontNameSize]) {
  name[0] = 0;
}
PDF_REF TextSetter::font_ref(int) const {
  return {0, 0};
}
void TextSetter::put_resources(CPDFDictionary&) const {}

}  // namespace sheaf
