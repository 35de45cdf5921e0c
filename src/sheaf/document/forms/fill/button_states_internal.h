// The states of a check box or of the buttons of a radio group: one besides "Off" for each widget (ISO 32000-1,
// 12.7.4.2.3, 12.7.4.2.4).
#pragma once

#include <cstdint>

#include "sheaf/document/forms/fill/field_facts_internal.h"

namespace sheaf {

class AppearanceMaker;

class ButtonStates {
public:
  static constexpr std::int32_t kOff = -1;
  static constexpr std::int32_t kNotOffered = -2;

  /// Reads the widgets and their states.
  void read(CPDFXRefTable& table, const CPDFField& field, const FieldFacts& facts);
  std::int32_t count() const { return widgets_.count(); }
  /// The name of the state in which the widget is on.
  const char* state(std::int32_t index) const { return names_.begin() + widgets_[index].name; }
  /// The export value of a widget, where the field has one for it.
  PDF_String export_value(std::int32_t index) const { return options_.value(index); }
  /// The widget that a value turns on, or one of the constants above.
  std::int32_t find(const char* utf8) const;
  /// Turns on widget `chosen` and those that go with it, and all others off. Widgets without appearances get some.
  /// False when there is no memory.
  bool apply(CPDFXRefTable& table, AppearanceMaker& maker, std::int32_t chosen);
  /// Gives appearances to the widgets that have none.
  bool draw_missing(AppearanceMaker& maker);

private:
  struct Widget {
    PDF_REF ref;
    std::size_t name;  // into names_
    bool needs_appearance;
  };

  void add(CPDFXRefTable& table, const CPDFField& field, const PDF_REF& ref);
  void make_name(const CPDFField& field);
  std::size_t keep_name(const char* name);
  bool is_on(std::int32_t index, std::int32_t chosen) const;
  bool has_one_state() const;

  GrowArray<Widget> widgets_;
  GrowArray<char> names_;
  FieldOptions options_;
  FieldFacts facts_;
};

}  // namespace sheaf
