// Fonts that the system knows, through fontconfig where the build has it.
#include "sheaf/neighbours/fonts/programs/font_names_internal.h"

#ifdef SHEAF_HAS_FONTCONFIG

#include <fontconfig/fontconfig.h>

#include <cstdio>
#include <cstring>

#include "sheaf/base/lazy_library.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/fonts/environment.h"

#endif

namespace sheaf {

#ifdef SHEAF_HAS_FONTCONFIG

namespace {

constexpr int kLastFace = 0xFFFF;

struct FontconfigCalls {
  decltype(&FcConfigDestroy) config_destroy;
  decltype(&FcFontList) font_list;
  decltype(&FcFontSetDestroy) font_set_destroy;
  decltype(&FcInitLoadConfigAndFonts) init_load_config_and_fonts;
  decltype(&FcObjectSetBuild) object_set_build;
  decltype(&FcObjectSetDestroy) object_set_destroy;
  decltype(&FcPatternCreate) pattern_create;
  decltype(&FcPatternDestroy) pattern_destroy;
  decltype(&FcPatternGetInteger) pattern_get_integer;
  decltype(&FcPatternGetString) pattern_get_string;
  decltype(&FcWeightToOpenType) weight_to_opentype;
  bool complete;
};

FontconfigCalls find_calls() {
  FontconfigCalls found{};
  [[maybe_unused]] void* const library = load_library("libfontconfig.so.1");
  found.complete = SHEAF_CALL(library, found.config_destroy, FcConfigDestroy) &&
                   SHEAF_CALL(library, found.font_list, FcFontList) &&
                   SHEAF_CALL(library, found.font_set_destroy, FcFontSetDestroy) &&
                   SHEAF_CALL(library, found.init_load_config_and_fonts, FcInitLoadConfigAndFonts) &&
                   SHEAF_CALL(library, found.object_set_build, FcObjectSetBuild) &&
                   SHEAF_CALL(library, found.object_set_destroy, FcObjectSetDestroy) &&
                   SHEAF_CALL(library, found.pattern_create, FcPatternCreate) &&
                   SHEAF_CALL(library, found.pattern_destroy, FcPatternDestroy) &&
                   SHEAF_CALL(library, found.pattern_get_integer, FcPatternGetInteger) &&
                   SHEAF_CALL(library, found.pattern_get_string, FcPatternGetString) &&
                   SHEAF_CALL(library, found.weight_to_opentype, FcWeightToOpenType);
  return found;
}

const FontconfigCalls& calls() {
  static const FontconfigCalls found = find_calls();
  return found;
}

const char* text_of(const FcPattern* pattern, const char* object, int which) {
  FcChar8* text = nullptr;
  return calls().pattern_get_string(pattern, object, which, &text) == FcResultMatch
             ? reinterpret_cast<const char*>(text)
             : nullptr;
}

int number_of(const FcPattern* pattern, const char* object, int otherwise) {
  int number = 0;
  return calls().pattern_get_integer(pattern, object, 0, &number) == FcResultMatch ? number : otherwise;
}

// What the system calls the full name of an instance is that of the font.
void add_instance(FontNames& names, const FcPattern* pattern, int file, int index) {
  const char* const family = text_of(pattern, FC_FAMILY, 0);
  const char* const own = text_of(pattern, FC_STYLE, 0);
  char whole[kFontNameMost + 1];
  if (family != nullptr && own != nullptr && std::snprintf(whole, sizeof(whole), "%s %s", family, own) > 0)
    names.add_name(file, index, whole, false, {});
}

void add_pattern(FontNames& names, const FcPattern* pattern, int origin) {
  const char* const path = text_of(pattern, FC_FILE, 0);
  const char* const format = text_of(pattern, FC_FONTFORMAT, 0);
  const int index = number_of(pattern, FC_INDEX, 0);
  // Higher bits of an index name instances of variable fonts, the sign the font with all of them, which comes once more
  // as its default.
  if (path == nullptr || std::strlen(path) >= CPDFEnviroment::kPathSize || format == nullptr || index < 0 ||
      (std::strcmp(format, "TrueType") != 0 && std::strcmp(format, "CFF") != 0))
    return;
  FontStyle style;
  style.weight = calls().weight_to_opentype(number_of(pattern, FC_WEIGHT, FC_WEIGHT_REGULAR));
  style.width = number_of(pattern, FC_WIDTH, FC_WIDTH_NORMAL);
  style.slanted = number_of(pattern, FC_SLANT, FC_SLANT_ROMAN) != FC_SLANT_ROMAN;
  const int file = names.add_file(path, origin);
  const auto add_all = [&](const char* object, bool is_family) {
    const char* name = nullptr;
    for (int which = 0; (name = text_of(pattern, object, which)) != nullptr; ++which)
      names.add_name(file, index, name, is_family, style);
  };
  add_all(FC_FAMILY, true);
  if (index > kLastFace)
    add_instance(names, pattern, file, index);
  else
    add_all(FC_FULLNAME, false);
  add_all(FC_POSTSCRIPT_NAME, false);
}

}  // namespace

void add_system_fonts(FontNames& names, int origin) {
  if (!calls().complete)
    return;
  FcConfig* const config = calls().init_load_config_and_fonts();
  if (config == nullptr)
    return;
  const ScopeGuard free_config([config] { calls().config_destroy(config); });
  FcPattern* const all = calls().pattern_create();
  FcObjectSet* const wanted = calls().object_set_build(FC_FAMILY, FC_FULLNAME, FC_POSTSCRIPT_NAME, FC_FILE, FC_INDEX,
                                                       FC_WEIGHT, FC_WIDTH, FC_SLANT, FC_FONTFORMAT, FC_STYLE, nullptr);
  FcFontSet* const fonts = calls().font_list(config, all, wanted);
  if (fonts != nullptr) {
    for (int i = 0; i < fonts->nfont; ++i)
      add_pattern(names, fonts->fonts[i], origin);
    calls().font_set_destroy(fonts);
  }
  calls().object_set_destroy(wanted);
  calls().pattern_destroy(all);
}

#else

void add_system_fonts(FontNames&, int) {}

#endif

}  // namespace sheaf
