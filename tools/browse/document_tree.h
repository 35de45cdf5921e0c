// What a document consists of for those who read it: pages, fields, outline, names, attachments.
#pragma once

#include "sheaf/document/doc.h"
#include "support/json_writer.h"

namespace sheaf::tool {

/// Writes one object for each kind of thing that the document has: its "name", the "items" as arrays of label, object
/// number (0: none) and depth, and, where there are more than `most`, how many "more" there are.
void write_document_tree(CPDFDoc& doc, std::int64_t most, JsonWriter& json);

/// Closes a list of such items behind those written.
class TreeItems {
public:
  /// `name` is a literal. Nothing is written without an item.
  TreeItems(JsonWriter& json, const char* name, std::int64_t most) : json_(json), name_(name), most_(most) {}
  TreeItems(const TreeItems&) = delete;
  TreeItems& operator=(const TreeItems&) = delete;
  ~TreeItems();
  void add(const std::string& label, std::int32_t num, int depth = 0);

private:
  JsonWriter& json_;
  const char* name_;
  std::int64_t most_;
  std::int64_t count_ = 0;
};

}  // namespace sheaf::tool
