// Values of the trailer that become objects.
#include "sheaf/neighbours/page/trailer_values.h"

namespace sheaf {

bool give_trailer_values_numbers(CPDFXRefTable& table) {
  for (CPDFObj* value : {&table.root, &table.info}) {
    if (value->as_dict() == nullptr)
      continue;
    const PDF_REF ref{table.alloc_obj_num(), 0};
    if (!table.store_object(ref, *value))
      return false;
    value->set_ref(ref);
  }
  return true;
}

}  // namespace sheaf
