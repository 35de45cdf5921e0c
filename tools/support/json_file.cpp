// A file is read and parsed as a whole.
#include "support/json_file.h"

#include <charconv>
#include <cmath>
#include <utility>

#include "support/inputs.h"
#include "support/messages.h"

namespace sheaf::tool {

namespace {

bool read_json_of(const std::string& file, const std::string& bytes, JsonValue& value) {
  std::string trouble;
  if (read_json(bytes, value, trouble))
    return true;
  complain(input_name(file), "is no JSON; the trouble begins in " + trouble);
  return false;
}

}  // namespace

bool read_json_file(const std::string& file, JsonValue& value) {
  std::string bytes;
  return read_input(file, bytes) && read_json_of(file, bytes, value);
}

bool read_list_file(const std::string& file, const char* command, const char* name, JsonValue& list,
                    std::string& lines) {
  std::string bytes;
  if (!read_input(file, bytes))
    return false;
  const std::size_t first = bytes.find_first_not_of(" \t\r\n");
  if (first == std::string::npos || (bytes[first] != '{' && bytes[first] != '[')) {
    lines = std::move(bytes);
    return true;
  }
  JsonValue top;
  if (!read_json_of(file, bytes, top))
    return false;
  const JsonValue* const found = top.kind == JsonValue::Kind::kArray ? &top : top.member(name);
  if (found == nullptr || found->kind != JsonValue::Kind::kArray) {
    complain(input_name(file),
             std::string("has no array of ") + name + "; sheaf " + command + " --json shows how it looks");
    return false;
  }
  list = *found;
  return true;
}

std::string text_member(const JsonValue& object, const char* name, const std::string& otherwise) {
  const JsonValue* const value = object.member(name);
  return value != nullptr && value->kind == JsonValue::Kind::kText ? value->text : otherwise;
}

bool read_number(const JsonValue& value, double& number) {
  if (value.kind != JsonValue::Kind::kNumber)
    return false;
  const char* const end = value.text.data() + value.text.size();
  const auto read = std::from_chars(value.text.data(), end, number);
  return read.ec == std::errc() && read.ptr == end && std::isfinite(number);
}

int int_member(const JsonValue& object, const char* name, int otherwise) {
  const JsonValue* const value = object.member(name);
  double number = 0;
  if (value == nullptr || !read_number(*value, number) || number != std::floor(number) || std::fabs(number) > INT32_MAX)
    return otherwise;
  return static_cast<int>(number);
}

}  // namespace sheaf::tool
