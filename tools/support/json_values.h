// What the JSON of all commands has in common: how an object begins, and how values of PDF look.
#pragma once

#include <string>

#include "sheaf/object/object.h"
#include "support/json_writer.h"

namespace sheaf::tool {

/// The first members of each command's object: "version", the version of the format, and "file" with, for a name that
/// is no UTF-8, "file_bytes", its bytes in hexadecimal.
JsonWriter& begin_report(JsonWriter& json, const std::string& file);
/// The member `key` with a file's name, and `key`_bytes as above.
void write_file_name(JsonWriter& json, const std::string& key, const std::string& file);
/// A value: a text as a string, a name as {"name": ...}, a reference as {"object": ..., "generation": ...}; what is
/// nested deeper than 256 levels is null.
void write_value(JsonWriter& json, const CPDFObj& value);

}  // namespace sheaf::tool
