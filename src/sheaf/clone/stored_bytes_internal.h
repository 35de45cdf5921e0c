// The bytes of a stream as its file holds them, for the copy walks.
#pragma once

#include "sheaf/xref/xref_table.h"

namespace sheaf {

/// What "Length" of 0 or less gives: the walk inside a document keeps a block, the import none.
enum class EmptyLength { kBlock, kNone };

/// Reads the stored bytes of `rec` from the file of `table`, whatever the record's own source is,
/// and takes the encryption off; the filters stay. False when they cannot be had. The caller owns
/// `data`, which may be null for no bytes, and releases it with QVFree.
bool read_stored_bytes(CPDFXRefTable& table, const CPDFStreamRec& rec, EmptyLength empty, unsigned char*& data,
                       int& len);

}  // namespace sheaf
