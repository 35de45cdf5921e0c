// The parts of the PDF/A frame that a table's save adds, one by one.
#pragma once

#include "sheaf/object/object.h"

class CPDFXRefTable;

namespace sheaf {

/// A new output intent for PDF/A-1 with its profile, an RGB colour space (ISO 32000-1, 14.11.5).
PDF_REF make_output_intent(CPDFXRefTable& table);

/// A new metadata stream of what the document information says; it identifies the document as
/// PDF/A-1b where the table claims that (ISO 19005-1, 6.7.11).
PDF_REF make_metadata(CPDFXRefTable& table);

}  // namespace sheaf
