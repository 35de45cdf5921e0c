// Reading the JSON that a command takes, with messages that name the place.
#pragma once

#include <string>

#include "support/json_reader.h"

namespace sheaf::tool {

/// Reads the JSON of `file`, "-" for standard input. False, with a message, when it cannot be read or is not JSON.
bool read_json_file(const std::string& file, JsonValue& value);

/// Reads a list that is JSON, an array or an object with the array `name` as what `sheaf COMMAND --json` prints, into
/// `list`. Anything else goes to `lines` as it is, and `list` is then no array. False, with a message.
bool read_list_file(const std::string& file, const char* command, const char* name, JsonValue& list,
                    std::string& lines);

/// The member as a text, or `otherwise` when it is not there or is no text.
std::string text_member(const JsonValue& object, const char* name, const std::string& otherwise = "");
/// The member as a whole number of at most 31 bits, or `otherwise`.
int int_member(const JsonValue& object, const char* name, int otherwise);
/// The same for a number; false when `value` is not a number that can be held.
bool read_number(const JsonValue& value, double& number);

}  // namespace sheaf::tool
