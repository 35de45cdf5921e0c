// Opens the environment with the folders of the options, and hands them on to the library's search for fonts.
#include "text/text_fonts.h"

#include <sys/stat.h>

#include "sheaf/neighbours/fonts/environment.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

const char* reason(FontRefusal refusal) {
  switch (refusal) {
    case FontRefusal::kOutlines:
      return "cannot be embedded, its outlines are not TrueType; take another font, or --no-embed";
    case FontRefusal::kRestricted:
      return "its licence does not allow embedding; take another font, or --no-embed, or with its maker's leave "
             "--embed-restricted";
    case FontRefusal::kBitmapsOnly:
      return "its licence allows embedding of bitmaps only; take another font, or --no-embed, or with its maker's "
             "leave --embed-restricted";
    case FontRefusal::kNone:
      break;
  }
  return nullptr;
}

bool is_folder(const std::string& path) {
  struct stat info = {};
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

}  // namespace

TextFonts::TextFonts(CPDFXRefTable& table, const TextOptions& options)
    : options_(options),
      table_(table),
      fonts_(table, {options.italic, options.vertical, !options.no_embed, options.embed_restricted}) {
  CPDFEnviroment* const fonts = new CPDFEnviroment;
  for (const std::string& folder : options.folders)
    fonts->add_font_folder(folder.c_str());
  table.set_envirment(fonts, "text");
  fonts->unload();
  CPDFEnviroment::destroy(fonts);
}

bool TextFonts::open() {
  for (const std::string& folder : options_.folders) {
    if (!is_folder(folder)) {
      complain(folder, "is no folder with fonts; check the path behind --font-folder");
      return false;
    }
  }
  for (const std::string& name : options_.fonts) {
    if (fonts_.add_only(name.c_str()))
      continue;
    char path[CPDFEnviroment::kPathSize]{};
    int index = -1;
    table_.env->get_face_para(name.c_str(), path, index);
    if (path[0] != 0) {
      complain(name, std::string("cannot be used as a font, its file ") + path + " is damaged or of another kind");
      return false;
    }
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
    if (const char* why = reason(fonts_.refusal(i)))
      complain(fonts_.name(i), why);
  }
}

}  // namespace sheaf::tool
