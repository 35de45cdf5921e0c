// The values of a form apart from its document, as the Forms Data Format (ISO 32000-1, 12.7.7) and its XML form
// (ISO 19444-1) carry them: read from either or from a form, filled in, written as either.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/stream.h"

class CPDFDoc;

/// A list of fields with their values. All texts are UTF-8; those handed out are borrowed and valid until the list
/// changes.
class CPDFFormData {
public:
  CPDFFormData() = default;
  CPDFFormData(const CPDFFormData&) = delete;
  CPDFFormData& operator=(const CPDFFormData&) = delete;

  /// Appends a field without a value. False when there is no memory.
  bool add_field(const char* name);
  /// Gives the last field a further value; `is_state`: it names a button's state. False when there is no memory.
  bool add_value(const char* value, bool is_state);

  std::int32_t count() const { return fields_.count(); }
  const char* name(std::int32_t field) const { return at(fields_[field].name); }
  std::int32_t value_count(std::int32_t field) const;
  const char* value(std::int32_t field, std::int32_t index) const;
  bool is_state(std::int32_t field, std::int32_t index) const;

  /// Appends all fields of the document's form that have a value: texts, choices and states, no signatures. False when
  /// it has no form or there is no memory.
  bool read_form(CPDFDoc& doc);
  /// Appends the fields of FDF data. The stream is read from its beginning. False when it is no FDF.
  bool read_fdf(CQVStream& in);
  /// Writes FDF. `file` (UTF-8) names the document that the data belong to; null: none. False when the output came
  /// short.
  bool write_fdf(CQVStream& out, const char* file) const;
  /// Appends the fields of XFDF data. False when they are no XFDF.
  bool read_xfdf(const char* bytes, std::size_t len);
  /// Writes XFDF; as write_fdf.
  bool write_xfdf(CQVStream& out, const char* file) const;
  /// Whether data that were read held annotations, which are no part of the list.
  bool has_annotations() const { return has_annotations_; }

private:
  struct Value {
    std::size_t text;  // into the pool
    bool is_state;
  };
  struct Field {
    std::size_t name;
    std::size_t first_value;
  };

  const char* at(std::size_t text) const { return pool_.begin() + text; }
  bool keep(const char* text, std::size_t& place);
  const Value& value_at(std::int32_t field, std::int32_t index) const {
    return values_[fields_[field].first_value + static_cast<std::size_t>(index)];
  }

  sheaf::GrowArray<char> pool_;  // texts, each with its NUL
  sheaf::GrowArray<Field> fields_;
  sheaf::GrowArray<Value> values_;
  bool has_annotations_ = false;
};
