// What the options say of fonts, and messages about fonts that cannot be used.
#include "text/text_fonts.h"

#include <sys/stat.h>

#include "sheaf/document/fonts/system_fonts.h"
#include "sheaf/neighbours/fonts/environment.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

const char* reason(FontRefusal refusal) {
  switch (refusal) {
    case FontRefusal::kOutlines:
      return "its outlines cannot be embedded in this style; take another font, or --no-embed";
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

bool open_environment(CPDFXRefTable& table, const TextOptions& options) {
  for (const std::string& folder : options.folders) {
    if (!is_folder(folder)) {
      complain(folder, "is no folder with fonts; check the path behind --font-folder");
      return false;
    }
  }
  CPDFEnviroment* const fonts = new CPDFEnviroment;
  for (const std::string& folder : options.folders)
    fonts->add_font_folder(folder.c_str());
  table.set_envirment(fonts, "text");
  fonts->unload();
  CPDFEnviroment::destroy(fonts);
  return true;
}

bool add_fonts(CPDFXRefTable& table, const TextOptions& options, TextSetter& setter) {
  for (const std::string& name : options.fonts) {
    if (setter.add_font(name.c_str()))
      continue;
    char path[CPDFEnviroment::kPathSize]{};
    int index = -1;
    table.env->get_face_para(name.c_str(), path, index);
    complain(name, path[0] != 0
                       ? std::string("cannot be used as a font, its file ") + path + " is damaged or of another kind"
                       : "no such font is known here; give a family, full or PostScript name, or its folder "
                         "by --font-folder");
    return false;
  }
  if (setter.system().count() == 0)
    complain("--text", "no font was found; name one by --font, or a folder of fonts by --font-folder");
  return setter.system().count() != 0;
}

void report_refused(TextSetter& setter) {
  const SystemFonts& fonts = setter.system();
  for (std::size_t i = 0; i < setter.system().count(); ++i) {
    if (const char* why = reason(fonts.refusal(i)))
      complain(fonts.name(i), why);
  }
}

}  // namespace sheaf::tool
