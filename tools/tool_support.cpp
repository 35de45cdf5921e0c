#include "tool_support.h"

#include <cstdio>

#include "base/heap.h"
#include "neighbours/page/text_utf8.h"

void complain(const std::string& file, const std::string& message) {
  std::fprintf(stderr, "sheaf: %s: %s\n", file.c_str(), message.c_str());
}

bool open_document(CPDFDoc& doc, const std::string& file, const PasswordOptions& /*password*/, bool needs_password) {
  if (!doc.open(file.c_str())) {
    switch (doc.status()) {
      case PDF_OPEN::kNoFile:
        complain(file, "cannot be opened; check the path and its permissions");
        break;
      case PDF_OPEN::kEmpty:
        complain(file, "is empty; there is nothing to read");
        break;
      default:
        complain(file, "no document catalogue with pages could be found, not by scanning either; is it a PDF?");
        break;
    }
    return false;
  }
  if (needs_password && !doc.is_readable()) {
    complain(file, "is encrypted and its contents cannot be read without the password");
    return false;
  }
  return true;
}

std::string utf8_text(const PDF_String& text) {
  std::size_t len = 0;
  char* block = text_to_utf8(text, len);
  std::string out(block != nullptr ? block : "", len);
  QVFree(block);
  return out;
}

std::string hex_text(const PDF_String& text) {
  static const char digits[] = "0123456789abcdef";
  std::string out;
  for (std::int32_t i = 0; i < text.len; ++i) {
    const auto byte = static_cast<unsigned char>(text.data[i]);
    out += digits[byte >> 4];
    out += digits[byte & 15];
  }
  return out;
}

std::string syntax_text(const CPDFObj& value) {
  CQVStreamMem out;
  value.write(&out, nullptr);
  return std::string(reinterpret_cast<const char*>(out.data), out.len);
}

double to_double(QVFIX value) {
  return static_cast<double>(value) / static_cast<double>(kFixOne);
}
