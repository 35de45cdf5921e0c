// A small reader of JSON (RFC 8259) into a tree of values.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sheaf::tool {

struct JsonValue {
  enum class Kind { kNull, kFlag, kNumber, kText, kArray, kObject };

  Kind kind = Kind::kNull;
  bool flag = false;
  std::string text;              ///< Of a text, as UTF-8; of a number, as it is written.
  std::string name;              ///< Of a member of an object.
  std::vector<JsonValue> items;  ///< Of an array, or the members of an object in the order of the file.

  /// The member of that name, the last one if there are several, or null.
  const JsonValue* member(std::string_view wanted) const;
};

/// Reads a whole text. False when it is no JSON or is nested too deeply; `trouble` then says where.
bool read_json(std::string_view text, JsonValue& value, std::string& trouble);

}  // namespace sheaf::tool
