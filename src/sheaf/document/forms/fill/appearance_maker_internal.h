// Makes the appearances of a form's widgets (ISO 32000-1, 12.7.3.3, 12.5.5) from the values that its fields have.
#pragma once

#include <cstdint>

#include "sheaf/document/forms/draw/value_drawing_internal.h"
#include "sheaf/document/forms/fill/field_facts_internal.h"

class CPDFAcroForm;
class CPDFField;

namespace sheaf {

class ContentWriter;

class AppearanceMaker {
public:
  explicit AppearanceMaker(CPDFXRefTable& table) : table_(table), system_(table) {}
  AppearanceMaker(const AppearanceMaker&) = delete;
  AppearanceMaker& operator=(const AppearanceMaker&) = delete;
  ~AppearanceMaker();

  /// Reads what the form says for all its fields.
  void load();
  /// Whether the form asks viewers to make its appearances.
  bool is_asked_for() const { return asked_for_; }
  /// Whether the form has a part in the XML Forms Architecture.
  bool has_xfa() const { return has_xfa_; }
  SystemFonts& system() { return system_; }
  /// Gives every widget of a text or choice field the appearance of the field's value. False when there is no memory.
  bool draw_value(const CPDFField& field, const FieldFacts& facts);
  /// Gives a button's widget an appearance for the state `on` and one for "Off".
  bool draw_states(const PDF_REF& widget, const char* on, bool radio);
  /// Characters that no font had, so far.
  int missing() const { return missing_; }

private:
  // What is drawn, before it is set in fonts.
  struct Value {
    GrowArray<std::uint32_t> characters;
    GrowArray<ListLine> lines;  // of a list box; by characters
  };
  struct KnownFont {
    PDF_REF ref;
    bool usable;
    FieldFont font;
  };

  void read_value(const CPDFField& field, const FieldFacts& facts, Value& value);
  void read_list(const CPDFField& field, Value& value);
  void read_combo(const CPDFField& field, Value& value);
  bool draw_widget(const CPDFField& field, const FieldFacts& facts, const Value& value, const PDF_REF& widget);
  void draw_characters(ContentWriter& out, const WidgetLook& look, FieldType& type,
                       const GrowArray<std::uint32_t>& characters, const ValueTraits& traits);
  void inherited(const CPDFField& field, const CPDFDictionary& widget, const char* key, CPDFObj& out);
  void choose_font(const CPDFDictionary& widget, const char* name, FieldType& type);
  bool load_composite(const CPDFDictionary& dict, FieldFont& font);
  void find_font(const CPDFDictionary& widget, const char* name, CPDFObj& font);
  const PDF_REF& standard_font(const char* name);
  void draw_list_box(ContentWriter& out, const WidgetLook& look, FieldType& type, const CPDFField& field,
                     const Value& value, const ValueTraits& traits);
  PDF_REF store_state(const WidgetLook& look, char mark, const DeviceColour& colour, bool round);

  CPDFXRefTable& table_;
  SystemFonts system_;
  Cleared<CPDFDictionary> form_;   // the form's dictionary without its fields
  Cleared<CPDFDictionary> fonts_;  // of its default resources
  GrowArray<KnownFont> known_;
  CompositeFont* composite_ = nullptr;  // those that known fonts use, one after the other; owned
  int composite_count_ = 0;
  PDF_REF standard_[12]{};
  bool asked_for_ = false;
  bool has_xfa_ = false;
  int missing_ = 0;
};

/// A text string, or UTF-8, as characters; every line end becomes U+000A.
void append_characters(const PDF_String& text, GrowArray<std::uint32_t>& characters);

}  // namespace sheaf
