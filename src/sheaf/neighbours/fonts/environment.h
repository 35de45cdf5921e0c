// The library-wide font and CMap environment: system fonts and CMap resources, shared between the
// documents of a process. Each table works on a copy of its own.
//
//   application's CPDFEnviroment --copy--> a table's CPDFEnviroment
//            |                                    |
//            +------------> FontShelf <-----------+     one for all copies: where fonts are, and
//                                                       the faces in use, each with its count
#pragma once

#include <pthread.h>

#include "sheaf/base/heap.h"

class CPDFCMap;
class CPDFCMapResources;
class CPDFCMapToUnicode;
class CQVFTFont;

namespace sheaf {

class FontShelf;
struct FontUses;

}  // namespace sheaf

/// Copies share fonts, faces and maps; each copy may be used by one thread at a time, different
/// copies by different threads. A shared face is used by one thread at a time.
class CPDFEnviroment : public QVHeapObject<CPDFEnviroment> {
public:
  pthread_mutex_t mutex;  ///< First member: the table destroys it with the copy. Guards the copy's list of uses.

  static constexpr int kPathSize = 256;  ///< Bytes of a font file's path with its NUL.

  CPDFEnviroment();
  CPDFEnviroment(const CPDFEnviroment& other);
  CPDFEnviroment& operator=(const CPDFEnviroment&) = delete;

  /// Makes the fonts of a folder and its subfolders known to this environment and all its copies. They are found
  /// before the system's. Copies `folder`. Faces in use stay.
  void add_font_folder(const char* folder);
  /// Lets the system's own fonts be found (not 0, the beginning) or only those of folders (0).
  void use_system_fonts(int flag);
  /// Fills `path` (kPathSize bytes) with the font file of a family, full or PostScript name, in any
  /// case, and `index` with the face's number in it. An unknown font gives an empty path and -1.
  void get_face_para(const char* name, char* path, int& index);
  /// The face of a font name (a CQVFTFont), shared, or null. Given back by name.
  void* new_face(const char* name);
  /// A face of a font file, or null. The caller owns it and gives it back by `release_face`.
  CQVFTFont* new_face(const char* path, int index);
  /// Gives up one use of a shared face; a name of which none is in use here is passed over.
  void release_face(const char* name);
  void release_face(CQVFTFont* face);
  /// Uses of shared faces that no copy has given back yet.
  int faces_in_use() const;

  /// Adds a folder of CMap files for this environment and all its copies, before the system's
  /// folders. Copies `path`. False when there is no memory.
  bool add_cmap_folder(const char* path);
  /// The map of that name with one reference for the caller, or null. Maps are shared between the
  /// copies and go with their last reference, which `release_cmap` gives back.
  CPDFCMap* load_cmap(const char* name);
  void release_cmap(CPDFCMap* map);
  CPDFCMapToUnicode* load_cmap_tounicode(const char* name);
  void release_cmap_tounicode(CPDFCMapToUnicode* map);
  /// Gives back the faces that this copy has taken. Maps that are still held live on for their holders.
  void unload();

  /// Destroys a copy from the heap: its mutex as soon as nobody holds it, then the copy.
  static void destroy(CPDFEnviroment* env);

private:
  ~CPDFEnviroment();

  void give_back_faces();

  sheaf::FontShelf* fonts_ = nullptr;     // null only when there was no memory: no font is known then
  sheaf::FontUses* font_uses_ = nullptr;  // what this copy has taken from the shelf
  CPDFCMapResources* maps_;               // shared with the copies; null only when there was no memory
};
