// Whether two values are the same, containers by their content.
#pragma once

#include "sheaf/object/object.h"

namespace sheaf::layer {

bool same_value(const CPDFObj& a, const CPDFObj& b);

}  // namespace sheaf::layer
