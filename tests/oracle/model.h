// What a document must be: every object by number, every stream by its stored bytes with the encryption
// off, the pages in order, the document information and the attachments.
#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "oracle/value.h"

namespace oracle {

using Bytes = std::shared_ptr<const std::string>;

struct Object {
  int gen = 0;
  Value value;  ///< Of a stream: its dictionary without "Length".
  Bytes body;   ///< Null for objects that are no streams.
};

/// The objects that were found or are expected.
struct Snapshot {
  std::map<int, Object> objects;
  Value trailer = Value::dict();
};

struct Model : Snapshot {
  std::vector<int> pages;  ///< The "Mark" of each page.
  std::map<std::string, std::string> info;
  std::map<std::string, std::string> attachments;
  bool pages_edited = false;
  /// Entries lead the library alone to what is in object streams, until there is a new file.
  bool is_for_library_only = false;
  /// Objects that a save or an edit may change by itself.
  std::set<int> loose;
  /// Streams of the source whose end has to be searched for: some readers count the line end before
  /// the keyword.
  std::set<int> open_ended;
  std::set<std::string> warnings;  ///< What the independent reader said of the source, numbers left out.
  std::string password;

  int root() const {
    const Value* value = trailer.find("Root");
    return value != nullptr ? value->num : 0;
  }
  bool exists(int num, int gen) const {
    const auto found = objects.find(num);
    return found != objects.end() && found->second.gen == gen &&
           (found->second.body != nullptr || found->second.value.kind != Value::Kind::kNull);
  }
};

/// Keys of pages and tree nodes that an edit of pages moves about.
inline const std::set<std::string> kTreeKeys{"Parent", "Kids", "Count", "Resources", "MediaBox", "CropBox", "Rotate"};

}  // namespace oracle
