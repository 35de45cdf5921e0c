// Whether a document is signed or certified (ISO 32000-1, 12.8): what a change of it would end.
#pragma once

#include <cstdint>

class CPDFDoc;

namespace sheaf {

/// How many fields of the document hold a signature over bytes of the file.
std::int32_t count_signatures(CPDFDoc& doc);

/// What a certification of the document permits: 1 no change, 2 filling in forms and signing, 3 also
/// annotations (ISO 32000-1, table 254); 0 when the document is not certified.
int certified_changes(CPDFDoc& doc);

}  // namespace sheaf
