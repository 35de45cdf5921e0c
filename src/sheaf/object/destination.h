// Explicit destinations (ISO 32000-1, 12.3.2.2).
#pragma once

#include "sheaf/object/array.h"

namespace sheaf {

/// Whether `array` names a place of a page that is an object: a reference and one of the eight kinds.
inline bool is_destination(const CPDFArray& array) {
  if (array.count < 2 || array.items[0].tag != kTagRef || array.items[1].tag != kTagName)
    return false;
  for (const char* kind : {"XYZ", "Fit", "FitH", "FitV", "FitR", "FitB", "FitBH", "FitBV"}) {
    if (array.items[1].is_name(kind))
      return true;
  }
  return false;
}

}  // namespace sheaf
