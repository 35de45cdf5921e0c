// PDFDocEncoding, the encoding of text strings without a byte order mark.
#pragma once

#include <array>
#include <cstdint>

/// Unicode code point by byte (ISO 32000-1, Annex D.2); 0 where the byte has no character.
extern const std::array<std::uint32_t, 256> PDF_DocEncoding;

namespace sheaf {

/// The byte of a code point, or -1 when PDFDocEncoding has none.
int doc_encoding_byte(std::uint32_t code);

}  // namespace sheaf
