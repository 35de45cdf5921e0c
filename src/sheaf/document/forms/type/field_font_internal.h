// A font that the document names for its fields, as far as values can be set in it: a simple font whose encoding says
// what its codes stand for (ISO 32000-1, 9.6), or a composite one. Its program, if it has one, is not looked into.
#pragma once

#include <cstdint>

#include "sheaf/document/fonts/system_fonts.h"
#include "sheaf/document/forms/type/composite_font_internal.h"
#include "sheaf/object/object.h"

class CPDFDictionary;
class CPDFXRefTable;

namespace sheaf {

class FieldFont {
public:
  /// Reads the dictionary of a simple font. False when no text can be set in it: Type 3 fonts, symbols, and programs
  /// with an encoding of their own.
  bool load(CPDFXRefTable& table, const CPDFDictionary& font);
  /// Takes a composite font, which is borrowed and outlives this and all its copies.
  void load_composite(CPDFXRefTable& table, const CPDFDictionary& font, const CompositeFont& composite);

  /// The code of a character; -1 when the font cannot say it.
  int code_of(std::uint32_t character) const;
  /// Thousandths of the em.
  int width(int code) const { return composite_ != nullptr ? composite_->width(code) : widths_[code & 0xFF]; }
  /// Whether codes have two bytes.
  bool is_composite() const { return composite_ != nullptr; }
  const FontTraits& traits() const { return traits_; }
  double ascent() const { return ascent_; }    ///< In ems, above the base line.
  double descent() const { return descent_; }  ///< In ems, negative below the base line.

private:
  void read_name(const char* name);
  bool read_encoding(CPDFXRefTable& table, const CPDFDictionary& font);
  void read_differences(CPDFXRefTable& table, const CPDFObj* item);
  void read_heights(CPDFXRefTable& table);
  bool read_widths(CPDFXRefTable& table, const CPDFDictionary& font);
  void take_standard_widths();
  void drop_glyphs_left_out(CPDFXRefTable& table);

  const CompositeFont* composite_ = nullptr;
  std::uint32_t characters_[256]{};
  std::uint16_t widths_[256]{};
  FontTraits traits_;
  bool italic_ = false;
  bool symbols_ = false;                  // Symbol or ZapfDingbats by name
  CPDFDictionary* descriptor_ = nullptr;  // while loading
  double ascent_ = 0.718;
  double descent_ = -0.207;
};

}  // namespace sheaf
