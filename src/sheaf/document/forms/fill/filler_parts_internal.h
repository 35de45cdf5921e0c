// What a CPDFFormFiller knows of its form.
#pragma once

#include "sheaf/base/visited_set.h"
#include "sheaf/document/forms/fill/appearance_maker_internal.h"
#include "sheaf/document/forms/fill/button_states_internal.h"
#include "sheaf/document/forms/fill/field_locks_internal.h"
#include "sheaf/document/forms/fill/field_names_internal.h"
#include "sheaf/document/forms/form_filler.h"
#include "sheaf/neighbours/page/acro_form.h"

struct CPDFFormFiller::Parts : QVHeapObject<CPDFFormFiller::Parts> {
  explicit Parts(CPDFXRefTable& table) : form(table), maker(table) {}

  CPDFAcroForm form;
  sheaf::FieldNames names;
  sheaf::FieldLocks locks;
  sheaf::AppearanceMaker maker;
  bool looked_for_loose = false;
  std::int32_t index = 0;   // of the field that is being set
  sheaf::VisitedSet drawn;  // fields whose appearances are of their present values
};
