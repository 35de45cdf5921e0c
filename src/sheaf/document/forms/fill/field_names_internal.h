// Full names of fields, sorted: fields of one name are found together, and so are all fields below a name.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"

class CPDFAcroForm;
class CPDFXRefTable;
struct PDF_String;

namespace sheaf {

class FieldNames {
public:
  struct Range {
    std::size_t first;
    std::size_t end;
  };

  /// Takes the names of all fields. The form must outlive this and keep its names.
  bool load(const CPDFAcroForm& form);
  /// The places of the fields of this name.
  Range find(const wchar_t* name) const;
  /// The fields whose names begin with `name` and a period.
  Range below(const wchar_t* name) const;
  /// The index in the form of the field at a place.
  std::int32_t at(std::size_t place) const { return order_[place]; }

private:
  const CPDFAcroForm* form_ = nullptr;
  GrowArray<std::int32_t> order_;
};

/// A text string, or UTF-8, as the form keeps names. The caller releases the block with QVFree; null when there is no
/// memory.
wchar_t* wide_name(const CPDFXRefTable& table, const PDF_String& text);
wchar_t* wide_name(const CPDFXRefTable& table, const char* utf8);
/// A name of the form as UTF-8; the same.
char* utf8_name(const wchar_t* name);

}  // namespace sheaf
