// The crypt filter that a stream names in its own filter chain (ISO 32000-1, 7.4.10).
#pragma once

class CPDFDictionary;

namespace sheaf {

/// Its name, "Identity" when none is given, or null when the stream has no "Crypt" filter. Borrowed
/// from `dict`.
const char* named_crypt_filter(const CPDFDictionary& dict);

}  // namespace sheaf
