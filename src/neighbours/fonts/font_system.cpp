// Fonts that the system knows, through fontconfig where the build has it.
#include "neighbours/fonts/font_names_internal.h"

#ifdef SHEAF_HAS_FONTCONFIG

#include <fontconfig/fontconfig.h>

#include <cstring>

#include "base/scope_guard.h"
#include "neighbours/fonts/environment.h"

namespace {

constexpr int kFaceBits = 0xFFFF;  // higher bits of an index name instances of variable fonts

const char* text_of(const FcPattern* pattern, const char* object, int which) {
  FcChar8* text = nullptr;
  return FcPatternGetString(pattern, object, which, &text) == FcResultMatch ? reinterpret_cast<const char*>(text)
                                                                            : nullptr;
}

int number_of(const FcPattern* pattern, const char* object, int otherwise) {
  int number = 0;
  return FcPatternGetInteger(pattern, object, 0, &number) == FcResultMatch ? number : otherwise;
}

void add_pattern(FontNames& names, const FcPattern* pattern, int origin) {
  const char* const path = text_of(pattern, FC_FILE, 0);
  const char* const format = text_of(pattern, FC_FONTFORMAT, 0);
  const int index = number_of(pattern, FC_INDEX, 0);
  if (path == nullptr || std::strlen(path) >= CPDFEnviroment::kPathSize || format == nullptr || index > kFaceBits ||
      (std::strcmp(format, "TrueType") != 0 && std::strcmp(format, "CFF") != 0))
    return;
  FontStyle style;
  style.weight = FcWeightToOpenType(number_of(pattern, FC_WEIGHT, FC_WEIGHT_REGULAR));
  style.width = number_of(pattern, FC_WIDTH, FC_WIDTH_NORMAL);
  style.slanted = number_of(pattern, FC_SLANT, FC_SLANT_ROMAN) != FC_SLANT_ROMAN;
  const int file = names.add_file(path, origin);
  const auto add_all = [&](const char* object, bool is_family) {
    const char* name = nullptr;
    for (int which = 0; (name = text_of(pattern, object, which)) != nullptr; ++which)
      names.add_name(file, index, name, is_family, style);
  };
  add_all(FC_FAMILY, true);
  add_all(FC_FULLNAME, false);
  add_all(FC_POSTSCRIPT_NAME, false);
}

}  // namespace

void add_system_fonts(FontNames& names, int origin) {
  FcConfig* const config = FcInitLoadConfigAndFonts();
  if (config == nullptr)
    return;
  const ScopeGuard free_config([config] { FcConfigDestroy(config); });
  FcPattern* const all = FcPatternCreate();
  FcObjectSet* const wanted = FcObjectSetBuild(FC_FAMILY, FC_FULLNAME, FC_POSTSCRIPT_NAME, FC_FILE, FC_INDEX, FC_WEIGHT,
                                               FC_WIDTH, FC_SLANT, FC_FONTFORMAT, nullptr);
  FcFontSet* const fonts = FcFontList(config, all, wanted);
  if (fonts != nullptr) {
    for (int i = 0; i < fonts->nfont; ++i)
      add_pattern(names, fonts->fonts[i], origin);
    FcFontSetDestroy(fonts);
  }
  FcObjectSetDestroy(wanted);
  FcPatternDestroy(all);
}

#else

void add_system_fonts(FontNames&, int) {}

#endif
