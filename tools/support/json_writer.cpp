// Commas follow from whether a value was written at this level.
#include "support/json_writer.h"

#include <cstdio>

#include "support/utf8_steps.h"

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

// Bytes that are no UTF-8 would make the line unreadable for others, so they become U+FFFD. What a terminal would obey
// is escaped.
void JsonWriter::quoted(std::string_view value) {
  out_ += '"';
  for (std::size_t at = 0; at < value.size();) {
    const Utf8Step step = utf8_step(value.substr(at));
    char code[8] = "";
    if (!step.is_valid)
      std::snprintf(code, sizeof(code), "\\ufffd");
    else if (is_unprintable(step.character))
      std::snprintf(code, sizeof(code), "\\u%04x", static_cast<unsigned>(step.character));
    else if (step.character == '"' || step.character == '\\')
      out_ += '\\';
    if (code[0] != '\0')
      out_ += code;
    else
      out_ += value.substr(at, step.bytes);
    at += step.bytes;
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

JsonWriter& JsonWriter::raw(std::string_view value) {
  comma();
  out_ += value;
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
