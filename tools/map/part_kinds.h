// Telling what objects are, by their own entries and by what refers to them.
#pragma once

#include <map>
#include <string>

#include "map/file_scan.h"

namespace sheaf::tool {

class PartClassifier {
public:
  /// Both are borrowed. What an object says of others goes into `scan.hints`.
  PartClassifier(CPDFXRefTable& table, FileScan& scan) : table_(table), scan_(scan) {}

  /// Sets what `part` is by its value.
  void classify(const CPDFObj& value, FilePart& part);
  /// The same for an object that lies in an object stream.
  PartKind kind_of(const CPDFObj& value);

private:
  PartKind kind_of_dict(const CPDFDictionary& dict);
  PartKind kind_of_stream(const CPDFDictionary& dict, FrameKind& frame);
  void hint_all(const CPDFDictionary& dict, const char* const* keys, std::size_t count, PartKind kind);
  void hint(const CPDFObj* item, PartKind kind);
  void hint_below(const CPDFObj* item, PartKind kind);
  void hint_item(const CPDFObj& item, PartKind kind);
  std::uint16_t filter_index(const CPDFDictionary& dict);

  CPDFXRefTable& table_;
  FileScan& scan_;
  std::map<std::string, std::uint16_t> filters_;
};

}  // namespace sheaf::tool
