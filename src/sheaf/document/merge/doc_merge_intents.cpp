// Output intents tell a viewer how the colours of a whole document are meant. A merged one has them
// only when all of its sources agree; colours of others would change their look.
#include <cstring>
#include <new>

#include "sheaf/document/merge/doc_merge_internal.h"

using namespace sheaf;

namespace {

constexpr const char* kIntents = "OutputIntents";

bool same_text(const PDF_String& a, const PDF_String& b) {
  return a.len == b.len && a.len > 0 && std::memcmp(a.data, b.data, static_cast<std::size_t>(a.len)) == 0;
}

// What the first intent of `list` is called; null without one.
void find_identifier(CPDFXRefTable& table, const CPDFArray& list, CPDFObj& identifier) {
  Freed<CPDFObj> intent;
  table.resolve(intent, list.get(0));
  if (const CPDFDictionary* dict = intent.as_dict())
    table.resolve(identifier, dict->get_item("OutputConditionIdentifier"));
}

}  // namespace

void CPDFDocMerge::add_output_intents(Source& src) {
  Freed<CPDFObj> catalog;
  Freed<CPDFObj> list;
  Freed<CPDFObj> identifier;
  src.table.resolve(catalog, &src.table.root);
  if (const CPDFDictionary* dict = catalog.as_dict())
    src.table.resolve(list, dict->get_item(kIntents));
  if (list.as_array() != nullptr)
    find_identifier(src.table, *list.as_array(), identifier);
  if (source_count_++ == 0) {
    if (identifier.tag == kTagString && table_.clone_array(&src.table, src.context, list.as_array()) != 0) {
      intents_.move_from(list);
      intents_identifier_.move_from(identifier);
    }
    return;
  }
  if (!same_text(identifier.as_string(), intents_identifier_.as_string()))
    intents_.free();
}

// A save gives documents without output intents one of its own, by which the colours of pages that
// were never meant so would change. A list without entries keeps it away.
void CPDFDocMerge::put_output_intents(CPDFDictionary& catalog) {
  if (!was_empty_)
    return;
  if (intents_.as_array() == nullptr)
    intents_.take_array(new (std::nothrow) CPDFArray);
  catalog.move_item(kIntents, intents_);
  catalog.set_item("Metadata", nullptr);
}
