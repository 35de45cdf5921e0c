// The caches are arrays that insert_named and clear_named work on; only what is released differs.
#include "sheaf/cache/font_caches.h"

#include "sheaf/base/named_table.h"
#include "sheaf/neighbours/fonts/cmap.h"
#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/neighbours/fonts/font.h"

using namespace sheaf;

namespace {

constexpr std::int32_t kFontStep = 8;

}  // namespace

CPDFCacheFontExt::Item* CPDFCacheFontExt::insert_font(int index, const char* name) {
  return insert_named(*this, index, name);
}

void CPDFCacheFontExt::clear() {
  clear_named(*this, [this](const Item& item) { env->release_face(item.name); });
}

CPDFCacheCMap::Item* CPDFCacheCMap::insert_map(int index, const char* name) {
  return insert_named(*this, index, name);
}

void CPDFCacheCMap::clear() {
  clear_named(*this, [this](const Item& item) {
    if (item.map != nullptr)
      env->release_cmap(item.map);
  });
}

CPDFCacheCMapTou::Item* CPDFCacheCMapTou::insert_map(int index, const char* name) {
  return insert_named(*this, index, name);
}

void CPDFCacheCMapTou::clear() {
  clear_named(*this, [this](const Item& item) {
    if (item.map != nullptr)
      env->release_cmap_tounicode(item.map);
  });
}

int CPDFCacheFont::Append(const char* name, int style, CPDFFont* font) {
  if (count >= capacity) {
    void* grown = QVRealloc(items, static_cast<std::size_t>(capacity + kFontStep) * sizeof(Item));
    if (grown == nullptr) {
      delete font;
      return -1;
    }
    items = static_cast<Item*>(grown);
    capacity += kFontStep;
  }
  items[count] = {font->font_key, copy_name(name), style, font};
  return count++;
}

void CPDFCacheFont::embed_flush() {
  for (std::int32_t i = 0; i < count; ++i)
    items[i].font->embed_flush();
}

void CPDFCacheFont::clear() {
  clear_named(*this, [](const Item& item) { delete item.font; });
}
