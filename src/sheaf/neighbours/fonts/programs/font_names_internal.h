// Where fonts are: an index from folded family, full and PostScript names to files and faces.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sheaf/base/grow_array.h"

namespace sheaf {

/// Longest name, in bytes, that a font can be asked for by.
constexpr std::size_t kFontNameMost = 1024;

/// `name` (UTF-8) in lower case, NUL-terminated. False when it is empty, longer than kFontNameMost
/// or does not fit.
bool fold_font_name(const char* name, char (&folded)[kFontNameMost * 2]);

/// What decides between faces that answer to one name: the plainest face comes first.
struct FontStyle {
  int weight = 400;  ///< 100 to 900.
  int width = 100;   ///< Per cent of the normal width.
  bool slanted = false;
};

class FontNames {
public:
  FontNames() = default;
  FontNames(const FontNames&) = delete;
  FontNames& operator=(const FontNames&) = delete;
  ~FontNames() { clear(); }

  struct Place {
    const char* path;  ///< Borrowed; valid until the index changes.
    int index;
  };

  void clear();
  /// Copies `path`; of two files that answer alike, the one of the lower `origin` wins.
  /// The result names the file for `add_name`; -1 when there is no memory.
  int add_file(const char* path, int origin);
  /// `is_family`: a name that several faces share; a name of the face alone wins over it.
  void add_name(int file, int index, const char* name, bool is_family, const FontStyle& style);
  /// Must run between the last `add_name` and `find`.
  void sort();
  /// False when no face has the name; `folded` comes from fold_font_name.
  bool find(const char* folded, Place& place) const;

private:
  struct File {
    char* path;
    int origin;
  };
  struct Name {
    char* folded;
    std::int32_t file;
    std::int32_t index;
    std::int32_t rank;
  };
  GrowArray<File> files_;
  GrowArray<Name> names_;
};

/// Adds the fonts of a folder and its subfolders, under the names in their name tables.
void add_folder_fonts(FontNames& names, const char* folder, int origin);
/// Adds the fonts that the system knows; nothing in a build without fontconfig.
void add_system_fonts(FontNames& names, int origin);

}  // namespace sheaf
