// What all copies of one environment share: where fonts are, and the faces in use by name.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/neighbours/fonts/programs/font_names_internal.h"

class CQVFTFont;

namespace sheaf {

/// Goes with the last copy that holds it. All operations may be called from any thread.
class FontShelf {
public:
  /// With one hold for the caller; null when there is no memory.
  static FontShelf* create();
  void hold() { holds_.fetch_add(1); }
  /// Gives up one hold; the last one deletes the shelf.
  void drop();

  void add_folder(const char* folder);
  void use_system(bool flag);
  /// See CPDFEnviroment::get_face_para.
  void find(const char* name, char* path, int& index);
  /// The shared face of a folded name, with one use more, or null.
  CQVFTFont* take(const char* folded);
  void give_back(const char* folded);
  int uses();

  static void* operator new(std::size_t size) noexcept;
  static void operator delete(void* block);

private:
  struct Face {
    char* name;
    CQVFTFont* face;
    std::int32_t uses;
  };
  struct Faces {
    Face* items = nullptr;
    std::int32_t count = 0;
    std::int32_t capacity = 0;
  };

  FontShelf();
  ~FontShelf();
  bool find_locked(const char* folded, FontNames::Place& place);

  std::atomic<int> holds_{1};
  pthread_mutex_t mutex_;
  FontNames names_;
  GrowArray<char*> folders_;
  Faces faces_;
  bool uses_system_ = true;
  bool is_indexed_ = false;
};

}  // namespace sheaf
