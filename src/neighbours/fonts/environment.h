// The library-wide font and CMap environment: system fonts and CMap resources, shared between the
// documents of a process. Each table works on a copy of its own.
#pragma once

#include <pthread.h>

#include "neighbours/fonts/cmap_resources.h"

class CPDFCMap;
class CPDFCMapToUnicode;
class CQVFTFont;

/// Copies are independent of one another; each may be used by one thread at a time.
class CPDFEnviroment {
public:
  pthread_mutex_t mutex;  ///< First member: the table destroys it with the copy.

  CPDFEnviroment();
  CPDFEnviroment(const CPDFEnviroment& other);
  CPDFEnviroment& operator=(const CPDFEnviroment&) = delete;

  /// The face of a font name, shared, or null. Given back by name.
  void* new_face(const char* name);
  /// A face of a font file, owned by the caller, or null.
  CQVFTFont* new_face(const char* path, int index);
  void release_face(const char* name);
  /// Adds a folder of CMap files for this environment and all its copies, in front of the system's
  /// folders. Copies `path`. False when there is no memory.
  bool add_cmap_folder(const char* path);
  /// The map of that name with one reference for the caller, or null. Maps are shared between the
  /// copies and go with their last reference, which `release_cmap` gives back.
  CPDFCMap* load_cmap(const char* name);
  void release_cmap(CPDFCMap* map);
  CPDFCMapToUnicode* load_cmap_tounicode(const char* name);
  void release_cmap_tounicode(CPDFCMapToUnicode* map);
  /// Releases what has been loaded.
  void unload();

  /// Destroys a copy from the heap: its mutex as soon as nobody holds it, then the copy.
  static void destroy(CPDFEnviroment* env);

private:
  ~CPDFEnviroment() = default;

  CPDFCMapShare maps_;
};
