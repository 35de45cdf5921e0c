// What an annotation shows, and where on its page (ISO 32000-1, 12.5.3, 12.5.5).
#pragma once

#include "sheaf/object/object.h"

class CPDFDictionary;
class CPDFXRefTable;

namespace sheaf {

/// Whether an annotation with these flags is shown on a screen, or on paper.
bool is_shown(CPDFXRefTable& table, const CPDFDictionary& annotation, bool on_paper);

/// The form that an annotation shows in its present state, or {0, 0}.
PDF_REF normal_appearance(CPDFXRefTable& table, const CPDFDictionary& annotation);

/// A transformation: x' = a x + c y + e, y' = b x + d y + f.
struct Transform {
  double a = 1, b = 0, c = 0, d = 1, e = 0, f = 0;
};

/// How the appearance is brought into the annotation's rectangle; the form's own matrix comes first. `page_rotation` is
/// that of the page in degrees. False when the rectangle or the form's box has no area.
bool place_appearance(CPDFXRefTable& table, const CPDFDictionary& annotation, const PDF_REF& form, int page_rotation,
                      Transform& out);

}  // namespace sheaf
