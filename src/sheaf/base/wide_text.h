// Wide text: 32-bit wchar_t strings, and the conversions from local bytes and UTF-8.
#pragma once

#include <cstddef>

static_assert(sizeof(wchar_t) == 4, "wide text is 32-bit here");

/// The number of characters before the terminating 0; 0 for null.
std::size_t ucs_len(const wchar_t* text);

/// The local bytes `src` (taken as UTF-8; a byte that is not valid becomes the character of that value) as wide
/// characters into `dst`: at most `size` characters with the terminating 0.
void cvt_ltou(const char* src, wchar_t* dst, int size);

/// Decodes one UTF-8 character of the NUL-terminated `src` into `out` and gives its count of bytes.
/// `out` becomes 0 for bytes that are no UTF-8 (overlong forms and surrogates among them) and for NUL.
int cvt_char_UTF8_To_UCS4(const unsigned char* src, wchar_t& out);
