// The resources that apply to a page, its own or those that it inherits (ISO 32000-1, 7.7.3.4).
#pragma once

#include "sheaf/base/scope_guard.h"
#include "sheaf/object/object.h"

class CPDFPage;
class CPDFXRefTable;

namespace sheaf {

/// Null when neither is a dictionary. `page` is one of `table`, filled by CPDFDoc::load_page.
Freed<CPDFObj> page_resources(CPDFXRefTable& table, const CPDFPage& page);

}  // namespace sheaf
