// The table's caches of fonts, faces and character maps: what has been loaded for one document
// stays until the document is closed. The three name-keyed caches are sorted by strcmp of the
// name and filled through the environment on a miss; a miss that it cannot fill is not kept.
#pragma once

#include <cstdint>

class CPDFCMap;
class CPDFCMapToUnicode;
class CPDFEnviroment;
class CPDFFont;

/// Font faces by name.
class CPDFCacheFontExt {
public:
  struct Item {
    char* name;  ///< Owned.
    void* face;  ///< From CPDFEnviroment::new_face(name); given back by name.
  };
  CPDFEnviroment* env = nullptr;  ///< Borrowed: the table's copy.
  Item* items = nullptr;
  std::int32_t count = 0;
  std::int32_t capacity = 0;  ///< Grows by 32.

  /// Makes an entry at `index` with a copy of `name` and no face; null when there is no memory.
  Item* insert_font(int index, const char* name);
  void clear();
};

/// Character maps by name.
class CPDFCacheCMap {
public:
  struct Item {
    char* name;     ///< Owned.
    CPDFCMap* map;  ///< The cache holds one reference.
  };
  CPDFEnviroment* env = nullptr;
  Item* items = nullptr;
  std::int32_t count = 0;
  std::int32_t capacity = 0;

  Item* insert_map(int index, const char* name);
  void clear();
};

/// ToUnicode maps by name.
class CPDFCacheCMapTou {
public:
  struct Item {
    char* name;
    CPDFCMapToUnicode* map;
  };
  CPDFEnviroment* env = nullptr;
  Item* items = nullptr;
  std::int32_t count = 0;
  std::int32_t capacity = 0;

  Item* insert_map(int index, const char* name);
  void clear();
};

/// The fonts that the document made or loaded, in order of insertion.
class CPDFCacheFont {
public:
  struct Item {
    std::uint64_t font_key;  ///< Copied from the font when the entry is made.
    char* name;              ///< Owned.
    std::int32_t style;
    CPDFFont* font;  ///< Owned.
  };
  Item* items = nullptr;
  std::int32_t count = 0;
  std::int32_t capacity = 0;  ///< Grows by 8.

  ~CPDFCacheFont() { clear(); }
  /// Adds an entry at the end. Takes over `font`. Returns the entry's index, -1 when there is no
  /// memory: the font is then deleted.
  int Append(const char* name, int style, CPDFFont* font);
  /// Lets every font put what it needs into the document before a save.
  void embed_flush();
  void clear();
};
