// Faces in use are counted by name, under the lock of the shelf.
#include "sheaf/neighbours/fonts/programs/font_shelf_internal.h"

#include <cstring>

#include "sheaf/base/heap.h"
#include "sheaf/base/named_table.h"
#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/neighbours/fonts/mutex_lock_internal.h"
#include "sheaf/neighbours/fonts/programs/ft_font.h"

namespace sheaf {

void* FontShelf::operator new(std::size_t size) noexcept {
  return QVAlloc(size);
}

void FontShelf::operator delete(void* block) {
  QVFree(block);
}

FontShelf* FontShelf::create() {
  return new FontShelf;
}

FontShelf::FontShelf() {
  pthread_mutex_init(&mutex_, nullptr);
}

FontShelf::~FontShelf() {
  clear_named(faces_, [](const Face& face) { delete face.face; });
  for (char* folder : folders_)
    QVFree(folder);
  pthread_mutex_destroy(&mutex_);
}

void FontShelf::drop() {
  if (holds_.fetch_sub(1) == 1)
    delete this;
}

void FontShelf::add_folder(const char* folder) {
  const MutexLock lock(mutex_);
  char* const copy = copy_name(folder);
  if (copy != nullptr && !folders_.push(copy))
    QVFree(copy);
  is_indexed_ = false;
}

void FontShelf::use_system(bool flag) {
  const MutexLock lock(mutex_);
  uses_system_ = flag;
  is_indexed_ = false;
}

// The index is made when a font is first asked for: documents without new text never pay for it.
bool FontShelf::find_locked(const char* folded, FontNames::Place& place) {
  if (!is_indexed_) {
    names_.clear();
    int origin = 0;
    for (const char* folder : folders_)
      add_folder_fonts(names_, folder, origin++);
    if (uses_system_)
      add_system_fonts(names_, origin);
    names_.sort();
    is_indexed_ = true;
  }
  return names_.find(folded, place);
}

void FontShelf::find(const char* name, char* path, int& index) {
  path[0] = 0;
  index = -1;
  char folded[kFontNameMost * 2];
  if (!fold_font_name(name, folded))
    return;
  const MutexLock lock(mutex_);
  FontNames::Place place{};
  if (!find_locked(folded, place))
    return;
  const std::size_t size = std::strlen(place.path) + 1;
  if (size > CPDFEnviroment::kPathSize)
    return;
  std::memcpy(path, place.path, size);
  index = place.index;
}

CQVFTFont* FontShelf::take(const char* folded) {
  const MutexLock lock(mutex_);
  const SortedPlace at = find_named(faces_.items, faces_.count, folded);
  if (at.found) {
    ++faces_.items[at.index].uses;
    return faces_.items[at.index].face;
  }
  FontNames::Place place{};
  CQVFTFont* const face = find_locked(folded, place) ? CQVFTFont::open(place.path, place.index) : nullptr;
  if (face == nullptr)
    return nullptr;
  Face* const entry = insert_named(faces_, at.index, folded);
  if (entry == nullptr) {
    delete face;
    return nullptr;
  }
  entry->face = face;
  entry->uses = 1;
  return face;
}

void FontShelf::give_back(const char* folded) {
  const MutexLock lock(mutex_);
  const SortedPlace at = find_named(faces_.items, faces_.count, folded);
  if (!at.found || --faces_.items[at.index].uses > 0)
    return;
  Face* const entry = faces_.items + at.index;
  delete entry->face;
  QVFree(entry->name);
  --faces_.count;
  std::memmove(entry, entry + 1, static_cast<std::size_t>(faces_.count - at.index) * sizeof(Face));
}

int FontShelf::uses() {
  const MutexLock lock(mutex_);
  int sum = 0;
  for (std::int32_t i = 0; i < faces_.count; ++i)
    sum += faces_.items[i].uses;
  return sum;
}

}  // namespace sheaf
