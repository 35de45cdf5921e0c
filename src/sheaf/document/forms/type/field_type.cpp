// Chooses a font for the whole value if one has all characters, and otherwise one for each character.
#include "sheaf/document/forms/type/field_type_internal.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string_view>

#include "sheaf/document/content/content_writer.h"

namespace sheaf {

namespace {

constexpr char kSystemPrefix[] = "Sheaf";
constexpr std::uint32_t kUnknown = '?';  // shown for what no font has

// Characters that ask nothing of a font.
bool has_no_shape(std::uint32_t character) {
  return character < ' ' || (character >= 0x200B && character <= 0x200F) || character == 0xFEFF || character == 0x2060;
}

void name_of_system_font(int font, char (&name)[24]) {
  char* const end = std::copy(std::begin(kSystemPrefix), std::end(kSystemPrefix) - 1, name);
  *std::to_chars(end, name + sizeof(name) - 1, font).ptr = 0;
}

}  // namespace

void FieldType::set_own(const char* name, const CPDFObj& object, const FieldFont& font, bool usable) {
  has_own_ = usable;
  own_ = font;
  own_object_.free();
  own_object_.copy_from(&object);
  own_name_[std::string_view(name).copy(own_name_, sizeof(own_name_) - 1)] = 0;
}

bool FieldType::own_has_all(const GrowArray<std::uint32_t>& characters) const {
  if (!has_own_)
    return false;
  return std::all_of(characters.begin(), characters.end(), [this](std::uint32_t character) {
    return has_no_shape(character) || own_.code_of(character) >= 0;
  });
}

int FieldType::set(const GrowArray<std::uint32_t>& characters, GrowArray<FieldGlyph>& glyphs) {
  int whole = FieldGlyph::kOwn;
  if (!own_has_all(characters)) {
    GrowArray<std::uint32_t> shapes;
    for (const std::uint32_t character : characters) {
      if (!has_no_shape(character))
        shapes.push(character);
    }
    const int found = shapes.empty() ? -1 : system_.find(shapes.begin(), shapes.size(), own_.traits());
    whole = found >= 0 ? found : FieldGlyph::kNothing;
  }
  int missing = 0;
  for (const std::uint32_t character : characters) {
    FieldGlyph glyph{character, FieldGlyph::kNothing, 0, 0};
    if (!has_no_shape(character)) {
      glyph = set_one(character, whole);
      if (glyph.font == FieldGlyph::kNothing) {
        ++missing;
        glyph = set_one(kUnknown, FieldGlyph::kNothing);
      }
    }
    glyphs.push(glyph);
  }
  return missing;
}

// `font` kNothing: whichever font has the character.
FieldGlyph FieldType::set_one(std::uint32_t character, int font) {
  if (font < 0 && has_own_) {
    const int code = own_.code_of(character);
    if (code >= 0)
      return {character, FieldGlyph::kOwn, static_cast<std::uint16_t>(code), own_.width(code)};
  }
  if (font < 0)
    font = system_.find(&character, 1, own_.traits());
  if (font < 0)
    return {character, FieldGlyph::kNothing, 0, 0};
  const unsigned code = system_.code_of(font, character);
  return {character, font, static_cast<std::uint16_t>(code), system_.width(font, code)};
}

void FieldType::show(ContentWriter& out, const FieldGlyph* glyphs, std::size_t count, double size, double x, double y) {
  out.op({1, 0, 0, 1, x, y}, "Tm");
  std::size_t first = 0;
  while (first < count) {
    std::size_t end = first + 1;
    while (end < count && glyphs[end].font == glyphs[first].font)
      ++end;
    if (glyphs[first].font != FieldGlyph::kNothing)
      show_run(out, glyphs + first, end - first, size);
    first = end;
  }
}

void FieldType::show_run(ContentWriter& out, const FieldGlyph* glyphs, std::size_t count, double size) {
  const int font = glyphs[0].font;
  GrowArray<unsigned char> codes;
  for (std::size_t i = 0; i < count; ++i) {
    if (font != FieldGlyph::kOwn || own_.is_composite())
      codes.push(static_cast<unsigned char>(glyphs[i].code >> 8));
    codes.push(static_cast<unsigned char>(glyphs[i].code));
  }
  if (font == FieldGlyph::kOwn) {
    fonts_.set_item(own_name_, &own_object_);
    out.name(own_name_);
  } else {
    char name[24];
    name_of_system_font(font, name);
    fonts_.set_item_ref(name, system_.ref(font));
    out.name(name);
  }
  out.op({size}, "Tf");
  out.hex_string(codes.begin(), codes.size());
  out.op("Tj");
}

void FieldType::put_resources(CPDFDictionary& dict) {
  Cleared<CPDFDictionary> resources;
  if (fonts_.count != 0)
    resources.set_item_dict(CPDFDictionary::sm_tag_font, &fonts_);
  dict.set_item_dict(CPDFDictionary::sm_tag_res, &resources);
}

bool FieldType::starts_in_system_font(const GrowArray<FieldGlyph>& glyphs) const {
  for (const FieldGlyph& glyph : glyphs) {
    if (glyph.font != FieldGlyph::kNothing)
      return glyph.font != FieldGlyph::kOwn;
  }
  return false;
}

double FieldType::ascent(const GrowArray<FieldGlyph>& glyphs) const {
  return starts_in_system_font(glyphs) ? SystemFonts::kAscent : own_.ascent();
}

double FieldType::descent(const GrowArray<FieldGlyph>& glyphs) const {
  return starts_in_system_font(glyphs) ? SystemFonts::kDescent : own_.descent();
}

}  // namespace sheaf
