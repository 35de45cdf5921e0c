// What the readers of cross-reference sections share.
#pragma once

class CPDFDictionary;

namespace sheaf {

/// "Prev" or "XRefStm" of a trailer: an integer, or a real without a fraction; -1 for all else.
/// References are not followed.
long long trailer_offset(const CPDFDictionary& trailer, const char* key);

}  // namespace sheaf
