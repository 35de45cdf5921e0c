// The predefined character maps: found by name in resource folders, loaded once and shared by all
// copies of an environment for as long as somebody holds a reference.
//
//   not loaded --load: count 1--> listed --load: count + 1--> listed --release to 0--> gone
//
// The folders hold files named after their maps, by themselves or in subfolders for each character
// collection. Identity-H and -V are there without a file.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/heap.h"

class CPDFCMap;
class CPDFCMapToUnicode;
class CPDFSharedCMap;

/// What the copies share. It lives until the last copy and the last map listed are gone. Its lock
/// guards the lists of maps and of folders, so that several threads can load and release.
class CPDFCMapResources : public QVHeapObject<CPDFCMapResources> {
public:
  /// One user, the caller, who ends with `leave`. Null when there is no memory.
  static CPDFCMapResources* create();
  /// One more user.
  void join() { ++users_; }
  /// One user less; the last one takes the object with it. Accepts null.
  static void leave(CPDFCMapResources* resources);

  /// Adds a folder, after those added before and before the system's. Copies `path`.
  /// False when there is no memory.
  bool add_folder(const char* path);
  /// The map of that name with one more reference, the caller's, or null.
  CPDFCMap* load_cmap(const char* name);
  CPDFCMapToUnicode* load_tounicode(const char* name);
  /// Gives up one reference to a map listed here.
  void release(CPDFSharedCMap* map);

private:
  struct Item {
    char* name;
    CPDFSharedCMap* map;  // not counted: the item goes with the map's last reference
  };
  struct Table {
    Item* items = nullptr;
    std::int32_t count = 0;
    std::int32_t capacity = 0;
  };
  // The maps being loaded for one another, the innermost first.
  struct Loading {
    const char* name;
    const Loading* outer;
    int depth;
  };

  CPDFCMapResources();
  ~CPDFCMapResources();

  template <class Map>
  Map* load(Table& table, const char* name);
  template <class Map>
  Map* load_locked(Table& table, const char* name, const Loading* outer);
  template <class Map>
  Map* read_map(Table& table, const Loading& loading);
  unsigned char* read_resource(const char* name, unsigned& size) const;
  static void take_off(Table& table, const CPDFSharedCMap* map);

  pthread_mutex_t lock_;  // recursive: a base that is not used is given back inside of a load
  std::atomic<std::int32_t> users_ = 1;
  sheaf::GrowArray<char*> folders_;
  Table cmaps_;
  Table tounicodes_;
};
