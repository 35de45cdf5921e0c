// The value of a field object as texts.
#pragma once

#include "sheaf/object/object.h"

class CPDFFormData;
class CPDFXRefTable;

namespace sheaf {

/// Whether a value is one that a list of values can hold: a text, a name, a stream of text, or several of them.
bool has_text(const CPDFObj& value);
/// Adds them to the last field of the list.
void add_texts(CPDFXRefTable& table, const CPDFObj& value, CPDFFormData& data);

}  // namespace sheaf
