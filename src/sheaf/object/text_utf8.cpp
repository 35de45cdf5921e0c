// UTF-16 with a byte order mark, UTF-8 with its mark, else PDFDocEncoding (ISO 32000-1, 7.9.2.2;
// ISO 32000-2, 7.9.2.2).
#include "sheaf/object/text_utf8.h"

#include <cstring>

#include "sheaf/base/doc_encoding.h"
#include "sheaf/base/grow_array.h"
#include "sheaf/base/utf.h"
#include "sheaf/base/wide_text.h"

namespace sheaf {

namespace {

bool starts_with(const PDF_String& text, const char* mark, std::int32_t len) {
  return text.data != nullptr && text.len >= len && std::memcmp(text.data, mark, static_cast<std::size_t>(len)) == 0;
}

char* from_utf16(const PDF_String& text, char* out, bool big_endian) {
  const auto unit_at = [&](std::int32_t at) {
    const auto a = static_cast<unsigned char>(text.data[at]);
    const auto b = static_cast<unsigned char>(text.data[at + 1]);
    return static_cast<std::uint32_t>(big_endian ? a << 8 | b : b << 8 | a);
  };
  for (std::int32_t at = 2; at + 1 < text.len; at += 2) {
    std::uint32_t code = unit_at(at);
    if (is_high_surrogate(code) && at + 3 < text.len && is_low_surrogate(unit_at(at + 2))) {
      code = from_surrogates(code, unit_at(at + 2));
      at += 2;
    }
    out = put_utf8(out, code);
  }
  return out;
}

char* from_doc_encoding(const PDF_String& text, char* out) {
  for (std::int32_t i = 0; i < text.len; ++i) {
    const auto byte = static_cast<unsigned char>(text.data[i]);
    const std::uint32_t code = PDF_DocEncoding[byte];
    out = put_utf8(out, code == 0 ? kReplacementCharacter : code);
  }
  return out;
}

}  // namespace

char* text_to_utf8(const PDF_String& text, std::size_t& len) {
  len = 0;
  const auto bytes = static_cast<std::size_t>(text.data != nullptr && text.len > 0 ? text.len : 0);
  auto* block = static_cast<char*>(QVAlloc(bytes * kMostUtf8Bytes + 1));
  if (block == nullptr)
    return nullptr;
  char* end = block;
  if (starts_with(text, "\xFE\xFF", 2) || starts_with(text, "\xFF\xFE", 2)) {
    end = from_utf16(text, block, text.data[0] == '\xFE');
  } else if (starts_with(text, "\xEF\xBB\xBF", 3)) {
    std::memcpy(block, text.data + 3, bytes - 3);
    end = block + bytes - 3;
  } else if (bytes > 0) {
    end = from_doc_encoding(text, block);
  }
  *end = 0;
  len = static_cast<std::size_t>(end - block);
  return block;
}

void text_from_utf8(const char* utf8, PDF_String& out) {
  out = {0, nullptr};
  GrowArray<char> doc;
  GrowArray<char> utf16;
  bool fits_doc = true;
  const auto put_unit = [&utf16](std::uint32_t unit) {
    utf16.push(static_cast<char>(unit >> 8));
    utf16.push(static_cast<char>(unit));
  };
  put_unit(0xFEFF);
  for (const auto* at = reinterpret_cast<const unsigned char*>(utf8); *at != 0;) {
    wchar_t wide = 0;
    at += cvt_char_UTF8_To_UCS4(at, wide);
    const std::uint32_t code = wide == 0 ? kReplacementCharacter : static_cast<std::uint32_t>(wide);
    const int byte = doc_encoding_byte(code);
    fits_doc = fits_doc && byte >= 0;
    doc.push(static_cast<char>(byte));
    if (code >= 0x10000) {
      put_unit(high_surrogate(code));
      put_unit(low_surrogate(code));
    } else {
      put_unit(code);
    }
  }
  const GrowArray<char>& bytes = fits_doc ? doc : utf16;
  auto* block = static_cast<char*>(QVAlloc(bytes.size() + 1));
  if (block == nullptr)
    return;
  if (!bytes.empty())
    std::memcpy(block, bytes.begin(), bytes.size());
  block[bytes.size()] = 0;
  out = {bytes.count(), block};
}

}  // namespace sheaf
