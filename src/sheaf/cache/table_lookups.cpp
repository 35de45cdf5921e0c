// The table's doors to its caches. A hit is one bisection and allocates nothing; a miss asks the
// environment, and a name that it does not know is asked for again next time.

#include "sheaf/base/named_table.h"
#include "sheaf/neighbours/fonts/cmap.h"
#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/neighbours/fonts/font_provider.h"
#include "sheaf/neighbours/fonts/programs/ft_font.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

// The map of `name`, with one reference for the caller; `load` asks the environment.
template <class Cache, class Load, class Release>
auto get_map(Cache& cache, const char* name, Load load, Release give_back) -> decltype(load(name)) {
  const SortedPlace place = find_named(cache.items, cache.count, name);
  if (place.found) {
    auto* map = cache.items[place.index].map;
    ++map->ref_count;
    return map;
  }
  auto* map = cache.env != nullptr ? load(name) : nullptr;
  if (map == nullptr)
    return nullptr;
  auto* item = cache.insert_map(place.index, name);
  if (item == nullptr) {
    give_back(map);
    return nullptr;
  }
  ++map->ref_count;
  item->map = map;
  return map;
}

}  // namespace

void* CPDFXRefTable::get_font_ext(const char* name) {
  const SortedPlace place = find_named(font_ext_cache.items, font_ext_cache.count, name);
  if (place.found)
    return font_ext_cache.items[place.index].face;
  void* face = font_ext_cache.env != nullptr ? font_ext_cache.env->new_face(name) : nullptr;
  if (face == nullptr)
    return nullptr;
  CPDFCacheFontExt::Item* item = font_ext_cache.insert_font(place.index, name);
  if (item == nullptr) {
    font_ext_cache.env->release_face(name);
    return nullptr;
  }
  item->face = face;
  return face;
}

CPDFCMap* CPDFXRefTable::get_cmap(const char* name) {
  CPDFEnviroment* const maps = cmap_cache.env;
  return get_map(
      cmap_cache, name, [maps](const char* key) { return maps->load_cmap(key); },
      [maps](CPDFCMap* map) { maps->release_cmap(map); });
}

CPDFCMapToUnicode* CPDFXRefTable::get_cmap_tou(const char* name) {
  CPDFEnviroment* const maps = cmap_tou_cache.env;
  return get_map(
      cmap_tou_cache, name, [maps](const char* key) { return maps->load_cmap_tounicode(key); },
      [maps](CPDFCMapToUnicode* map) { maps->release_cmap_tounicode(map); });
}

CQVFTFont* CPDFXRefTable::get_extern_font(const char* key1, const char* key2, int key3, int& flags) {
  if (font_provider == nullptr)
    return nullptr;
  char path[CPDFFontProvider::kPathSize];
  path[0] = 0;
  font_provider->get_font_file(key1, key2, key3, path, flags);
  path[CPDFFontProvider::kPathSize - 1] = 0;
  if (path[0] == 0 || env == nullptr)
    return nullptr;
  CQVFTFont* font = env->new_face(path, flags >> 8);
  if (font == nullptr || font->face_handle != nullptr)
    return font;
  delete font;
  return nullptr;
}
