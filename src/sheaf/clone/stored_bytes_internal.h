// The bytes of a stream as its document holds them, for the copy walks.
#pragma once

#include "sheaf/xref/xref_table.h"

namespace sheaf {

/// Reads the stored bytes of `rec` and takes the encryption off; the filters stay. They are taken from
/// the file of `table`, whatever the record's own source is, unless `copies_own_source` asks for that.
/// False when they cannot be had. The caller owns `data` and releases it with QVFree.
bool read_stored_bytes(CPDFXRefTable& table, const CPDFStreamRec& rec, unsigned char*& data, int& len);

}  // namespace sheaf
