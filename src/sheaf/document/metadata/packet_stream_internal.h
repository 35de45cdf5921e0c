// The stream that holds a document's packet of metadata (ISO 32000-1, 14.3.2).
#pragma once

#include "sheaf/base/grow_array.h"
#include "sheaf/object/object.h"

class CPDFDictionary;
class CPDFXRefTable;

namespace sheaf {

/// What the catalogue names; number 0 for none.
PDF_REF metadata_ref(CPDFXRefTable& table);
/// Reads the packet, and its stream object into `obj`. False when the catalogue names none.
bool load_packet(CPDFXRefTable& table, CPDFObj& obj, GrowArray<char>& bytes);
/// Stores the packet as the body of stream `ref`, with the entries of `old` besides. It has no filter, so that metadata
/// stay readable in the file by programs that know nothing of PDF.
bool store_body(CPDFXRefTable& table, const PDF_REF& ref, const CPDFDictionary& old, const GrowArray<char>& bytes);

}  // namespace sheaf
