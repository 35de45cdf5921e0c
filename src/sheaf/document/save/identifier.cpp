// Both halves of an identifier.
#include "sheaf/document/save/identifier_internal.h"

#include <new>
#include <utility>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/neighbours/security/aes.h"
#include "sheaf/neighbours/security/digests.h"
#include "sheaf/object/array.h"

namespace sheaf {

void keep_identifier(CPDFXRefTable& table, CPDFObj& id) {
  const HeapWatch watch;
  Freed<CPDFObj> present = table.value(&table.id);
  if (present.as_array() == nullptr) {
    // The keys of a document without an identifier hang on an empty one, and one made now would
    // change them.
    present.take_array(new (std::nothrow) CPDFArray);
    for (int i = 0; i < 2 && present.as_array() != nullptr; ++i)
      present.as_array()->append_str("", 0);
  }
  if (!watch.all_granted())
    return;  // half an identifier would change the keys as well
  id.free();
  std::swap<CPDFObj>(id, present);
}

// The first half of an identifier stays with a document, the second one differs from version to version (ISO
// 32000-1, 14.4). Without one that is of use the save makes one of the file's bytes; the keys of an
// encrypted document hang on what there is.
bool renew_identifier(CPDFXRefTable& table, CPDFObj& id) {
  unsigned char fresh[CQVSecMD5::kSize];
  const HeapWatch watch;
  const Freed<CPDFObj> present = table.value(&table.id);
  const CPDFObj* const first = present.as_array() != nullptr ? present.as_array()->get(0) : nullptr;
  if (first == nullptr || first->tag != kTagString) {
    if (table.encrypt.is_null())
      id.free();
    return true;
  }
  if (!secure_random(fresh, sizeof(fresh)))
    return true;
  Freed<CPDFObj> pair;
  pair.take_array(new (std::nothrow) CPDFArray);
  if (pair.as_array() == nullptr)
    return false;
  pair.as_array()->append(first);
  pair.as_array()->append_str(reinterpret_cast<const char*>(fresh), sizeof(fresh));
  if (!watch.all_granted())
    return false;  // half an identifier would change the keys of an encrypted document
  id.move_from(pair);
  return true;
}

}  // namespace sheaf

void CPDFDoc::keep_identifier(CPDFObj& id) {
  sheaf::keep_identifier(table_, id);
}
