// What sheaf fields says about fields besides their values, and its output of the values alone.
#pragma once

#include <string>

#include "sheaf/document/forms/form_filler.h"

namespace sheaf::tool {

class JsonWriter;

class FieldReport {
public:
  explicit FieldReport(CPDFDoc& doc) : filler_(doc), has_form_(filler_.load()) {}
  /// Adds the members "kind", "flags", "max_length" and "offers" of a field to the object that is open.
  void write(const std::string& name, JsonWriter& json);

private:
  CPDFFormFiller filler_;
  bool has_form_;
};

/// Writes the values of the form to standard output, as XFDF or FDF. False, with a message, on failure.
bool write_form_data(CPDFDoc& doc, const std::string& file, bool xfdf);

}  // namespace sheaf::tool
