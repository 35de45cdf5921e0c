// A build without fonts finds and makes none: an environment has no shelf, and so no face is ever taken.
#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/neighbours/fonts/programs/font_names_internal.h"
#include "sheaf/neighbours/fonts/programs/font_shelf_internal.h"
#include "sheaf/neighbours/fonts/programs/ft_font.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

CPDFFont* CPDFXRefTable::new_font_type0_h(const char*, int) {
  return nullptr;
}

CPDFFont* CPDFXRefTable::new_font_type0_v(const char*, int) {
  return nullptr;
}

CQVFTFont::~CQVFTFont() = default;

CQVFTFont* CQVFTFont::open(const char*, int) {
  return nullptr;
}

namespace sheaf {

bool fold_font_name(const char*, char (&folded)[kFontNameMost * 2]) {
  folded[0] = 0;
  return false;
}

FontShelf* FontShelf::create() {
  return nullptr;
}

void FontShelf::drop() {}
void FontShelf::add_folder(const char*) {}
void FontShelf::use_system(bool) {}
void FontShelf::find(const char*, char*, int&) {}
CQVFTFont* FontShelf::take(const char*) {
  return nullptr;
}
void FontShelf::give_back(const char*) {}
int FontShelf::uses() {
  return 0;
}

}  // namespace sheaf
