// PDF text strings (ISO 32000-1, 7.9.2.2) as wide characters.
#include <algorithm>

#include "sheaf/base/doc_encoding.h"
#include "sheaf/base/wide_text.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr wchar_t kReplacement = 0xFFFD;

bool has_utf16_mark(const PDF_String& text) {
  return text.len >= 2 && static_cast<unsigned char>(text.data[0]) == 0xFE &&
         static_cast<unsigned char>(text.data[1]) == 0xFF;
}

// Surrogate pairs are not joined: each half becomes an element of its own.
void from_utf16(const PDF_String& text, wchar_t* out, int max) {
  int count = 0;
  for (std::int32_t at = 2; at + 1 < text.len && count < max - 1; at += 2) {
    const auto high = static_cast<unsigned char>(text.data[at]);
    const auto low = static_cast<unsigned char>(text.data[at + 1]);
    out[count++] = static_cast<wchar_t>(high << 8 | low);
  }
  out[count] = 0;
}

// Ends at the NUL after the string, not at its length.
void from_utf8(const PDF_String& text, wchar_t* out, int max) {
  const auto* at = reinterpret_cast<const unsigned char*>(text.data);
  int count = 0;
  while (*at != 0 && count < max - 1) {
    wchar_t code = 0;
    at += cvt_char_UTF8_To_UCS4(at, code);
    if (code == 0)
      break;
    out[count++] = code;
  }
  out[count] = 0;
}

void from_doc_encoding(const PDF_String& text, wchar_t* out, int max) {
  const int count = std::min(max - 1, text.len);
  for (int i = 0; i < count; ++i) {
    const auto byte = static_cast<unsigned char>(text.data[i]);
    const bool mapped = byte > 31 || byte == '\r' || byte == '\n';
    out[i] = mapped ? static_cast<wchar_t>(PDF_DocEncoding[byte]) : L' ';
    if (out[i] == 0)
      out[i] = kReplacement;  // a byte without a character must not end the text
  }
  out[count] = 0;
}

}  // namespace

void CPDFXRefTable::cvt_text_to_ucs(const PDF_String* text, wchar_t* out, int max) const {
  if (out == nullptr)
    return;
  if (text == nullptr || text->data == nullptr || text->len <= 0 || max < 2) {
    out[0] = 0;
    return;
  }
  if (has_utf16_mark(*text))
    from_utf16(*text, out, max);
  else if (utf8_strings != 0)
    from_utf8(*text, out, max);
  else
    from_doc_encoding(*text, out, max);
}
