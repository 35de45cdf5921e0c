// Fonts of which nothing but the glyphs in use is ever needed.
#pragma once

class CPDFFontType0;
class CPDFXRefTable;

namespace sheaf {

/// The font that `new_font_type0_h` or `_v` gives, but its program is empty until the first save writes the subset: no
/// time and memory go into outlines that nobody shows. Null as for those, and the table's as theirs.
CPDFFontType0* make_subset_font(CPDFXRefTable& table, const char* name, int style, bool vertical);

}  // namespace sheaf
