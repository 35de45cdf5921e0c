// Adding an XObject to what a page can name, wherever its resources are.
#pragma once

#include "sheaf/object/object.h"

class CPDFDictionary;
class CPDFPage;
class CPDFXRefTable;

namespace sheaf {

/// The dictionary of object `ref`, kept in memory so that it can be changed where it is; null when it is not one.
/// Borrowed; valid until the next object is stored.
CPDFDictionary* edit_object(CPDFXRefTable& table, const PDF_REF& ref);

/// One page's resources of one kind, such as "XObject". Resources of their own objects are added to where they are, so
/// that pages go on sharing them; those that are directly in the page, or above it, go into `page_dict`.
class PageResources {
public:
  PageResources(CPDFXRefTable& table, const CPDFPage& page, CPDFDictionary& page_dict)
      : table_(table), page_(page), page_dict_(page_dict) {}

  /// Names `value` in the resources; `name` is chosen by the caller and must not be there yet. False when there is no
  /// memory.
  bool add(const char* kind, const char* name, const PDF_REF& value);
  /// Whether the name is there.
  bool has(const char* kind, const char* name);
  /// The reference under the name; number 0 where there is no reference.
  PDF_REF get(const char* kind, const char* name);

private:
  CPDFDictionary* edit();
  CPDFDictionary* edit_kind(const char* kind);

  CPDFXRefTable& table_;
  const CPDFPage& page_;
  CPDFDictionary& page_dict_;
};

}  // namespace sheaf
