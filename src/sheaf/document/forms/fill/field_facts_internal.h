// What a field says about itself, with what it inherits (ISO 32000-1, 12.7.3, 12.7.4).
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/object/array.h"
#include "sheaf/object/object.h"

class CPDFDictionary;
class CPDFField;
class CPDFXRefTable;

namespace sheaf {

enum class FieldKind : int { kUnknown, kText, kPushButton, kCheckBox, kRadio, kCombo, kList, kSignature };

/// Field flags, by their bits.
constexpr std::uint32_t kFieldReadOnly = 1u << 0;
constexpr std::uint32_t kTextMultiLine = 1u << 12;
constexpr std::uint32_t kTextPassword = 1u << 13;
constexpr std::uint32_t kButtonRadio = 1u << 15;
constexpr std::uint32_t kButtonPush = 1u << 16;
constexpr std::uint32_t kChoiceCombo = 1u << 17;
constexpr std::uint32_t kChoiceEdit = 1u << 18;
constexpr std::uint32_t kTextFile = 1u << 20;
constexpr std::uint32_t kChoiceMultiSelect = 1u << 21;
constexpr std::uint32_t kTextComb = 1u << 24;
constexpr std::uint32_t kRadiosInUnison = 1u << 25;

struct FieldFacts {
  FieldKind kind = FieldKind::kUnknown;
  std::uint32_t flags = 0;
  std::int32_t max_len = 0;  ///< Characters; 0: no limit.

  void read(const CPDFField& field);
  bool has(std::uint32_t flag) const { return (flags & flag) != 0; }
  bool is_button() const { return kind == FieldKind::kCheckBox || kind == FieldKind::kRadio; }
  bool is_choice() const { return kind == FieldKind::kCombo || kind == FieldKind::kList; }
  /// Cells of a comb; 0 when the text is not shown in one.
  int comb_cells() const;
};

/// The widgets of a terminal field: the field itself, or its kids.
void collect_widgets(CPDFXRefTable& table, const PDF_REF& field, GrowArray<PDF_REF>& widgets);

/// The options of a choice field, or the export values of a button's widgets, as text strings.
class FieldOptions {
public:
  /// Reads the field's "Opt". Borrowed texts are valid as long as this.
  void read(CPDFXRefTable& table, const CPDFField& field);
  std::int32_t count() const { return list_.as_array() != nullptr ? list_.as_array()->count : 0; }
  /// What is stored when option `index` is chosen.
  PDF_String value(std::int32_t index) const { return part(index, 0); }
  /// What is shown.
  PDF_String text(std::int32_t index) const { return part(index, 1); }
  /// The option of this UTF-8 value, or with this shown text where no value matches; -1 without one.
  std::int32_t find(const char* utf8) const;

private:
  PDF_String part(std::int32_t index, std::int32_t which) const;
  Freed<CPDFObj> list_;  // of texts, and of pairs of texts
};

/// Whether a text string says these UTF-8 bytes.
bool says(const PDF_String& text, const char* utf8);

}  // namespace sheaf
