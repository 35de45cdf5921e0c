// Fields that the form does not list: their widgets are on the pages, but no way leads to them from the form.
#pragma once

class CPDFAcroForm;
class CPDFDoc;

namespace sheaf {

/// Adds the fields of such widgets to the form, and widgets that their field does not list to that. Reads all pages.
/// How many fields were added.
int adopt_loose_fields(CPDFDoc& doc, CPDFAcroForm& form);

}  // namespace sheaf
