// PDF text strings as UTF-8.
#pragma once

#include <cstddef>

#include "sheaf/object/object.h"

namespace sheaf {

/// `text` (UTF-16 with its mark, UTF-8 with its mark, or PDFDocEncoding; ISO 32000-2, 7.9.2.2) as
/// NUL-terminated UTF-8. `len` gets the count of bytes. The caller owns the block and releases it
/// with QVFree; null when there is no memory.
char* text_to_utf8(const PDF_String& text, std::size_t& len);

/// UTF-8 as a PDF text string: PDFDocEncoding when that has every character, else UTF-16 with its
/// mark, surrogate pairs included. The caller releases `out.data` with QVFree.
void text_from_utf8(const char* utf8, PDF_String& out);

}  // namespace sheaf
