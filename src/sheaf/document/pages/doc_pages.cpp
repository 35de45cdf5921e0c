// The pages of an open document, from its page list.
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/pages/page_list.h"

using namespace sheaf;

int CPDFDoc::page_count() {
  return is_open() && is_readable() ? pages_.count() : pages_.listed();
}

PDF_REF CPDFDoc::page_ref(int index) {
  if (is_open() && is_readable())
    pages_.ensure();
  return pages_.ref(index);
}

bool CPDFDoc::list_pages_by_count() {
  if (status_ == PDF_OPEN::kClean && is_readable())
    pages_.list_as_told();
  return pages_.is_by_count();
}

bool CPDFDoc::load_page_alone(int index, CPDFPage& page) {
  if (is_open() && is_readable())
    pages_.ensure();
  return pages_.load_alone(index, page);
}

// Resources that are directly in a node of the tree have no reference to hand down: the page gets
// a copy.
bool CPDFDoc::load_page(int index, CPDFPage& page) {
  if (!load_page_alone(index, page))
    return false;
  if (!inherits_direct_resources(page))
    return true;
  Freed<CPDFObj> resources;
  read_direct_resources(resources, page.inherited->holder);
  page.dict.move_item(CPDFDictionary::sm_tag_res, resources);
  return true;
}

bool CPDFDoc::inherits_direct_resources(const CPDFPage& page) {
  return page.inherited != nullptr && page.inherited->has_direct_resources &&
         is_absent(page.dict.get_item(CPDFDictionary::sm_tag_res));
}
