// Printing of the values that hold no others (ISO 32000-1, 7.3.2 to 7.3.5). Reading gives back the
// same value, to the bit.
#pragma once

#include "sheaf/object/object.h"
#include "sheaf/object/print_buffer.h"

namespace sheaf {

void print_integer(PrintBuffer& out, std::int32_t value);
/// As few digits as give back the same QVFIX; always with a point, never with an exponent.
void print_real(PrintBuffer& out, QVFIX value);
void print_name(PrintBuffer& out, const char* name);
/// Literal or hexadecimal, whichever is shorter.
void print_string(PrintBuffer& out, const char* bytes, std::int32_t len);
void print_ref(PrintBuffer& out, const PDF_REF& ref);

/// The lines around an indirect object (ISO 32000-1, 7.3.10).
void print_object_begin(PrintBuffer& out, std::int32_t num, std::int32_t gen);
void print_object_end(PrintBuffer& out);

}  // namespace sheaf
