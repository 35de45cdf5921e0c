// A face of a font file.
#pragma once

#include <cstddef>

#include "base/heap.h"

/// Comes from the QVAlloc family and is released through `destroy`.
class CQVFTFont {
public:
  CQVFTFont() = default;
  CQVFTFont(const CQVFTFont&) = delete;
  CQVFTFont& operator=(const CQVFTFont&) = delete;

  static void* operator new(std::size_t size) noexcept { return QVAlloc(size); }
  static void operator delete(void* block) { QVFree(block); }

  void* face_handle = nullptr;  ///< The rasteriser's face; null when the file could not be opened.
};
