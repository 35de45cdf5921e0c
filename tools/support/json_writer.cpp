// Commas follow from whether a value was written at this level.
#include "support/json_writer.h"

#include <cstdio>

namespace sheaf::tool {

void JsonWriter::comma() {
  if (needs_comma_)
    out_ += ',';
  needs_comma_ = true;
}

JsonWriter& JsonWriter::open(char bracket) {
  comma();
  out_ += bracket;
  needs_comma_ = false;
  return *this;
}

JsonWriter& JsonWriter::close(char bracket) {
  out_ += bracket;
  needs_comma_ = true;
  return *this;
}

JsonWriter& JsonWriter::key(std::string_view name) {
  comma();
  quoted(name);
  out_ += ':';
  needs_comma_ = false;
  return *this;
}

// Bytes that are no UTF-8 would make the line unreadable for others, so they become U+FFFD.
void JsonWriter::quoted(std::string_view value) {
  out_ += '"';
  for (std::size_t i = 0; i < value.size();) {
    const auto c = static_cast<unsigned char>(value[i]);
    if (c == '"' || c == '\\') {
      out_ += '\\';
      out_ += value[i++];
    } else if (c < 0x20 || c == 0x7F) {
      char code[8];
      std::snprintf(code, sizeof(code), "\\u%04x", c);
      out_ += code;
      ++i;
    } else if (c < 0x80) {
      out_ += value[i++];
    } else {
      const std::size_t len = c >= 0xF0 && c < 0xF5 ? 4 : c >= 0xE0 && c < 0xF0 ? 3 : c >= 0xC2 && c < 0xE0 ? 2 : 0;
      bool good = len != 0 && i + len <= value.size();
      for (std::size_t k = 1; good && k < len; ++k)
        good = (static_cast<unsigned char>(value[i + k]) & 0xC0) == 0x80;
      out_ += good ? value.substr(i, len) : std::string_view("\\ufffd");
      i += good ? len : 1;
    }
  }
  out_ += '"';
}

JsonWriter& JsonWriter::text(std::string_view value) {
  comma();
  quoted(value);
  return *this;
}

JsonWriter& JsonWriter::number(std::int64_t value) {
  comma();
  out_ += std::to_string(value);
  return *this;
}

JsonWriter& JsonWriter::real(double value) {
  comma();
  char digits[48];
  std::snprintf(digits, sizeof(digits), "%.10g", value);
  out_ += digits;
  return *this;
}

JsonWriter& JsonWriter::flag(bool value) {
  comma();
  out_ += value ? "true" : "false";
  return *this;
}

JsonWriter& JsonWriter::null() {
  comma();
  out_ += "null";
  return *this;
}

}  // namespace sheaf::tool
