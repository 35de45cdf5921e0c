// Maps in use are in one list under a lock. A map is loaded under it too, so that none is loaded twice.
#include "sheaf/neighbours/fonts/cmap_resources.h"

#include <cstring>
#include <new>

#include "sheaf/base/named_table.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/stream.h"
#include "sheaf/neighbours/fonts/cmap.h"
#include "sheaf/neighbours/fonts/cmap_folders.h"
#include "sheaf/neighbours/fonts/cmap_parser.h"

using namespace sheaf;

namespace {

constexpr long long kMostFile = 16 << 20;  // thirty times the largest known
constexpr std::size_t kMostPath = 4096;

class Locked {
public:
  explicit Locked(pthread_mutex_t& lock) : lock_(lock) { pthread_mutex_lock(&lock_); }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;
  ~Locked() { pthread_mutex_unlock(&lock_); }

private:
  pthread_mutex_t& lock_;
};

}  // namespace

CPDFCMapResources* CPDFCMapResources::create() {
  return new (std::nothrow) CPDFCMapResources;
}

void CPDFCMapResources::leave(CPDFCMapResources* resources) {
  if (resources != nullptr && --resources->users_ == 0)
    delete resources;
}

CPDFCMapResources::CPDFCMapResources() {
  pthread_mutexattr_t kind;
  pthread_mutexattr_init(&kind);
  pthread_mutexattr_settype(&kind, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(&lock_, &kind);
  pthread_mutexattr_destroy(&kind);
}

CPDFCMapResources::~CPDFCMapResources() {
  for (char* folder : folders_)
    QVFree(folder);
  QVFree(cmaps_.items);
  QVFree(tounicodes_.items);
  pthread_mutex_destroy(&lock_);
}

bool CPDFCMapResources::add_folder(const char* path) {
  const Locked locked(lock_);
  HeapBlock<char> copy(copy_name(path));
  if (!copy || !folders_.push(copy.get()))
    return false;
  copy.release();
  return true;
}

CPDFCMap* CPDFCMapResources::load_cmap(const char* name) {
  return load<CPDFCMap>(cmaps_, name);
}

CPDFCMapToUnicode* CPDFCMapResources::load_tounicode(const char* name) {
  return load<CPDFCMapToUnicode>(tounicodes_, name);
}

template <class Map>
Map* CPDFCMapResources::load(Table& table, const char* name) {
  const Locked locked(lock_);
  return load_locked<Map>(table, name, nullptr);
}

// The lock is held also while a file is read: nobody loads what another one is loading.
template <class Map>
Map* CPDFCMapResources::load_locked(Table& table, const char* name, const Loading* outer) {
  const SortedPlace place = find_named(table.items, table.count, name);
  if (place.found) {
    auto* map = static_cast<Map*>(table.items[place.index].map);
    ++map->ref_count;
    return map;
  }
  const Loading loading{name, outer, outer != nullptr ? outer->depth + 1 : 1};
  Map* map = Map::make_identity(name);
  if (map == nullptr)
    map = read_map<Map>(table, loading);
  if (map == nullptr)
    return nullptr;
  // A base may have been listed meanwhile, so the place is looked for again.
  Item* item = insert_named(table, find_named(table.items, table.count, name).index, name);
  if (item == nullptr)
    return map;  // works as a map of its caller's own
  item->map = map;
  map->owner_ = this;
  join();
  return map;
}

template <class Map>
Map* CPDFCMapResources::read_map(Table& table, const Loading& loading) {
  for (const Loading* other = loading.outer; other != nullptr; other = other->outer) {
    if (std::strcmp(other->name, loading.name) == 0)
      return nullptr;
  }
  unsigned size = 0;
  const HeapBlock<unsigned char> bytes(read_resource(loading.name, size));
  if (!bytes)
    return nullptr;
  const HeapWatch watch;
  CMapContents contents;
  parse_cmap(bytes.get(), size, contents);
  Map* base = nullptr;
  if (contents.base_name[0] != 0 && loading.depth < CPDFSharedCMap::kMostChain)
    base = load_locked<Map>(table, contents.base_name, &loading);
  return whole_map(Map::make(contents, base), watch);
}

// The bytes of a map's file; null when it is missing, or too large to be one.
unsigned char* CPDFCMapResources::read_resource(const char* name, unsigned& size) const {
  char path[kMostPath];
  if (!is_resource_name(name) || !find_resource(folders_, name, path, sizeof(path)))
    return nullptr;
  CQVStreamFile file;
  file.Open(path);
  const long long length = file.GetLen();
  if (file.file == nullptr || length < 1 || length > kMostFile)
    return nullptr;
  auto* bytes = static_cast<unsigned char*>(QVAlloc(static_cast<std::size_t>(length)));
  if (bytes == nullptr)
    return nullptr;
  file.SetPos(CQVStream::STR_SEEK_SET, 0);
  size = file.Read(bytes, static_cast<unsigned>(length));
  return bytes;
}

void CPDFCMapResources::take_off(Table& table, const CPDFSharedCMap* map) {
  for (std::int32_t i = 0; i < table.count; ++i) {
    if (table.items[i].map != map)
      continue;
    QVFree(table.items[i].name);
    --table.count;
    std::memmove(table.items + i, table.items + i + 1, static_cast<std::size_t>(table.count - i) * sizeof(Item));
    return;
  }
}

void CPDFCMapResources::release(CPDFSharedCMap* map) {
  {
    const Locked locked(lock_);
    if (--map->ref_count > 0)
      return;
    take_off(cmaps_, map);
    take_off(tounicodes_, map);
  }
  CPDFSharedCMap* const base = map->base_;
  delete map;
  CPDFSharedCMap::release(base);
  leave(this);
}

void CPDFSharedCMap::release(CPDFSharedCMap* map) {
  if (map == nullptr)
    return;
  if (map->owner_ != nullptr) {
    map->owner_->release(map);
    return;
  }
  if (--map->ref_count > 0)
    return;
  CPDFSharedCMap* const base = map->base_;
  delete map;
  release(base);
}
