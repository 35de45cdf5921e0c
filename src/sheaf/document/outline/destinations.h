// Where destinations and actions of a document lead (ISO 32000-1, 12.3.2, 12.6.4.2): explicit ones, and those by name
// of the catalogue's dictionary and of the name tree.
#pragma once

#include "sheaf/base/number_map.h"
#include "sheaf/document/names/name_list.h"

class CPDFDoc;
class CPDFDictionary;

namespace sheaf {

class Destinations {
public:
  /// `doc` is borrowed and readable. Names are read with the first question that needs them.
  explicit Destinations(CPDFDoc& doc) : doc_(doc) {}
  Destinations(const Destinations&) = delete;
  Destinations& operator=(const Destinations&) = delete;
  ~Destinations();

  /// The object number of the page that `destination` leads to; 0 when that is no page object or nothing is found. With
  /// `place` not null it becomes the explicit destination, an array, or null.
  std::int32_t page_of(const CPDFObj* destination, CPDFObj* place = nullptr);
  /// The same for an outline item or a link, which have either a destination or an action that goes to one.
  std::int32_t page_of_holder(const CPDFDictionary& holder, CPDFObj* place = nullptr);
  /// Whether the holder has a destination in this document at all.
  bool has_destination(const CPDFDictionary& holder);
  /// The index, from 0, of the page with this object number; -1 when it is not a page.
  int index_of(std::int32_t page);

private:
  void list_names();
  void add(const PDF_String& name, const CPDFObj& value);
  bool find_explicit(const CPDFObj* destination, CPDFObj& place);

  CPDFDoc& doc_;
  bool listed_ = false;
  bool counted_ = false;
  NameList names_;  // with the index in values_ as value
  GrowArray<CPDFObj> values_;
  NumberMap indices_;  // plus one, by object number
};

}  // namespace sheaf
