// Printing an object whose body may still lie in a file.
#pragma once

#include "sheaf/object/object.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

/// Prints `obj`, the object `para.obj_num` of `table`. The body of a stream is as long as it truly is,
/// whatever its record and "Length" say, and what is encrypted in its source is decrypted first. False,
/// with nothing printed, when the bytes cannot be had. `obj` is as before afterwards.
bool print_stored(CPDFXRefTable& table, CPDFObj& obj, CQVStream* out, PDF_ENC_PARA& para);

}  // namespace sheaf
