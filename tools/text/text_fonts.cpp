// Opens the environment with the folders of the options, and hands them on to the library's search for fonts.
#include "text/text_fonts.h"

#include "sheaf/neighbours/fonts/environment.h"
#include "support/tool_support.h"

namespace sheaf::tool {

TextFonts::TextFonts(CPDFXRefTable& table, const TextOptions& options)
    : options_(options), fonts_(table, {options.italic, options.vertical, !options.no_embed}) {
  CPDFEnviroment* const fonts = new CPDFEnviroment;
  for (const std::string& folder : options.folders)
    fonts->add_font_folder(folder.c_str());
  table.set_envirment(fonts, "text");
  fonts->unload();
  CPDFEnviroment::destroy(fonts);
}

bool TextFonts::open() {
  for (const std::string& name : options_.fonts) {
    if (fonts_.add_only(name.c_str()))
      continue;
    complain(name,
             "no such font is known here; give a family, full or PostScript name, or its folder by --font-folder");
    return false;
  }
  if (fonts_.count() == 0)
    complain("--text", "no font was found; name one by --font, or a folder of fonts by --font-folder");
  return fonts_.count() != 0;
}

int TextFonts::find(wchar_t character) {
  const auto code = static_cast<std::uint32_t>(character);
  return fonts_.find(&code, 1, {FontFamily::kSans, options_.bold});
}

int TextFonts::first() {
  return fonts_.find(nullptr, 0, {FontFamily::kSans, options_.bold});
}

void TextFonts::put_resources(CPDFDictionary& fonts) {
  for (std::size_t i = 0; i < fonts_.count(); ++i) {
    if (CPDFFontType0* const font = fonts_.made(i, options_.bold))
      fonts.set_item_ref(resource_name(static_cast<int>(i * 2)).c_str(), font->ref());
  }
}

void TextFonts::report_refused() {
  for (std::size_t i = 0; i < fonts_.count(); ++i) {
    if (const char* name = fonts_.refused(i))
      complain(name, "cannot be embedded, its outlines are not TrueType; take another font, or --no-embed");
  }
}

}  // namespace sheaf::tool
