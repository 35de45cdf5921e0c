// The font side of the environment. Each copy keeps a list of the names it has taken from the shelf,
// so that `unload` can give back whatever its table did not.
#include "sheaf/base/heap.h"
#include "sheaf/base/named_table.h"
#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/neighbours/fonts/environment_fonts_internal.h"
#include "sheaf/neighbours/fonts/mutex_lock_internal.h"
#include "sheaf/neighbours/fonts/programs/font_names_internal.h"
#include "sheaf/neighbours/fonts/programs/font_shelf_internal.h"
#include "sheaf/neighbours/fonts/programs/ft_font.h"

using namespace sheaf;

namespace sheaf {

FontUses* FontUses::create() {
  return static_cast<FontUses*>(QVCalloc(1, sizeof(FontUses)));
}

}  // namespace sheaf

void CPDFEnviroment::add_font_folder(const char* folder) {
  if (fonts_ != nullptr && folder != nullptr)
    fonts_->add_folder(folder);
}

void CPDFEnviroment::use_system_fonts(int flag) {
  if (fonts_ != nullptr)
    fonts_->use_system(flag != 0);
}

void CPDFEnviroment::get_face_para(const char* name, char* path, int& index) {
  path[0] = 0;
  index = -1;
  if (fonts_ != nullptr && name != nullptr)
    fonts_->find(name, path, index);
}

void* CPDFEnviroment::new_face(const char* name) {
  char folded[kFontNameMost * 2];
  if (fonts_ == nullptr || font_uses_ == nullptr || name == nullptr || !fold_font_name(name, folded))
    return nullptr;
  const MutexLock lock(mutex);
  CQVFTFont* const face = fonts_->take(folded);
  if (face == nullptr)
    return nullptr;
  const SortedPlace at = find_named(font_uses_->items, font_uses_->count, folded);
  FontUses::Use* const use = at.found ? font_uses_->items + at.index : insert_named(*font_uses_, at.index, folded);
  if (use == nullptr) {
    fonts_->give_back(folded);
    return nullptr;
  }
  ++use->count;
  return face;
}

CQVFTFont* CPDFEnviroment::new_face(const char* path, int index) {
  return path != nullptr ? CQVFTFont::open(path, index) : nullptr;
}

void CPDFEnviroment::release_face(const char* name) {
  char folded[kFontNameMost * 2];
  if (fonts_ == nullptr || font_uses_ == nullptr || name == nullptr || !fold_font_name(name, folded))
    return;
  const MutexLock lock(mutex);
  const SortedPlace at = find_named(font_uses_->items, font_uses_->count, folded);
  if (!at.found || font_uses_->items[at.index].count == 0)
    return;
  --font_uses_->items[at.index].count;
  fonts_->give_back(folded);
}

void CPDFEnviroment::release_face(CQVFTFont* face) {
  delete face;
}

int CPDFEnviroment::faces_in_use() const {
  return fonts_ != nullptr ? fonts_->uses() : 0;
}

// The caller holds the mutex, or is the only one left.
void CPDFEnviroment::give_back_faces() {
  if (font_uses_ == nullptr)
    return;
  clear_named(*font_uses_, [this](const FontUses::Use& use) {
    for (std::int32_t i = 0; i < use.count; ++i)
      fonts_->give_back(use.name);
  });
}
