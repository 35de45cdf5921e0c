// Values of PDF as JSON from which the same values come back, to the bit: in this tool's own form, and in that of
// version 2 of qpdf's JSON.
#pragma once

#include "sheaf/object/object.h"
#include "support/json_reader.h"
#include "support/json_writer.h"

namespace sheaf::tool {

enum class JsonForm { kOwn, kQpdf };

/// A value without streams in it; what is nested deeper than 512 levels is null.
void write_exact(JsonWriter& json, const CPDFObj& value, JsonForm form);
/// A dictionary without one of its keys, as for the dictionary of a stream without "Length".
void write_exact_dictionary(JsonWriter& json, const CPDFDictionary& dict, JsonForm form, const char* without);
/// Reads a value back. False, with what was not understood in `trouble`.
bool read_exact(const JsonValue& json, JsonForm form, CPDFObj& value, std::string& trouble);

}  // namespace sheaf::tool
