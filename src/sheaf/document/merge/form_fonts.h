// Fonts of a form's default resources under names that are taken: the text of fields names its font, so that a
// font which gets another name gets it in the default appearances too (ISO 32000-1, 12.7.3.3).
#pragma once

#include "sheaf/object/dictionary.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

/// Whether a value of the document `a` says the same as one of the document `b`. Streams count as different, and so
/// does what is too large to compare.
bool is_same_in(CPDFXRefTable& a, const CPDFObj& left, CPDFXRefTable& b, const CPDFObj& right);

/// Puts the new names of fonts into a default appearance; `names` has them by the old ones. Other values stay.
void rename_fonts(CPDFObj& appearance, const CPDFDictionary& names);

}  // namespace sheaf
