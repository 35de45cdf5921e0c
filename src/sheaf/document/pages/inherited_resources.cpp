// A page's own dictionary comes first, then what the nodes above hand down as a reference: load_page
// has copied into the page what they hold directly.
#include "sheaf/document/pages/inherited_resources.h"

#include "sheaf/neighbours/page/page.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

Freed<CPDFObj> page_resources(CPDFXRefTable& table, const CPDFPage& page) {
  Freed<CPDFObj> resources = table.value(&page.dict, CPDFDictionary::sm_tag_res);
  if (resources.as_dict() == nullptr && page.from_above.resources.num != 0)
    resources = table.object(page.from_above.resources);
  return resources;
}

}  // namespace sheaf
