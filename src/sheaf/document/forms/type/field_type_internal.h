// The fonts in which one field's value is set. The field's own font says the whole value where it can; otherwise one
// font of the system does, and where there is no such font, each character comes from whichever has it.
#pragma once

#include <cstdint>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/fonts/system_fonts.h"
#include "sheaf/document/forms/type/field_font_internal.h"
#include "sheaf/object/dictionary.h"

namespace sheaf {

class ContentWriter;

/// A character as it is set.
struct FieldGlyph {
  static constexpr std::int32_t kOwn = -1;      ///< The field's own font.
  static constexpr std::int32_t kNothing = -2;  ///< No font has the character, or it has no shape.

  std::uint32_t character;
  std::int32_t font;  ///< Of the system, or one of the above.
  std::uint16_t code;
  std::int32_t width;  ///< Thousandths of the em.
};

class FieldType {
public:
  /// `system` outlives this.
  explicit FieldType(SystemFonts& system) : system_(system) {}
  FieldType(const FieldType&) = delete;
  FieldType& operator=(const FieldType&) = delete;

  /// The field's own font: its name in the resources, what that names (a dictionary or a reference to one, copied),
  /// and how text is set in it where it is `usable`.
  void set_own(const char* name, const CPDFObj& object, const FieldFont& font, bool usable);
  /// Sets characters; a line end (U+000A) stays as a glyph of no width. The result is how many characters no font has.
  int set(const GrowArray<std::uint32_t>& characters, GrowArray<FieldGlyph>& glyphs);
  /// Writes the operators that show a run of glyphs of one line at `x`, `y`.
  void show(ContentWriter& out, const FieldGlyph* glyphs, std::size_t count, double size, double x, double y);
  /// The fonts that were shown, for who shows text in others beside them.
  CPDFDictionary& resources() { return fonts_; }
  /// The resources of an appearance with the fonts that were shown.
  void put_resources(CPDFDictionary& dict);
  /// In ems, of the font of the first glyph.
  double ascent(const GrowArray<FieldGlyph>& glyphs) const;
  double descent(const GrowArray<FieldGlyph>& glyphs) const;

private:
  FieldGlyph set_one(std::uint32_t character, int system_font);
  bool own_has_all(const GrowArray<std::uint32_t>& characters) const;
  bool starts_in_system_font(const GrowArray<FieldGlyph>& glyphs) const;
  void show_run(ContentWriter& out, const FieldGlyph* glyphs, std::size_t count, double size);

  SystemFonts& system_;
  FieldFont own_;
  bool has_own_ = false;
  char own_name_[128]{};
  Freed<CPDFObj> own_object_;
  Cleared<CPDFDictionary> fonts_;  // the resources of what was shown
};

}  // namespace sheaf
