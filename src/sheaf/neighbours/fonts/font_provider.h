// Fonts of the embedding application.
#pragma once

/// Asked for font files by CPDFXRefTable::get_extern_font. Owned by the application.
class CPDFFontProvider {
public:
  /// Answers with the path of a font file, NUL-terminated, in `path` (kPathSize bytes), or an empty
  /// one. `flags` is set: the bits from the eighth on are the face's index in the file. The three
  /// keys mean nothing to the library.
  virtual void get_font_file(const char* key1, const char* key2, int key3, char* path, int& flags) = 0;

  static constexpr int kPathSize = 1024;

protected:
  ~CPDFFontProvider() = default;
};
