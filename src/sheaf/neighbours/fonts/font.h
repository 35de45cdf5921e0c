// A font of a document, as the object layer sees it.
#pragma once

#include <cstdint>

#include "sheaf/object/object.h"

class CPDFXRefTable;

class CPDFFont {
public:
  CPDFFont() = default;
  CPDFFont(const CPDFFont&) = delete;
  CPDFFont& operator=(const CPDFFont&) = delete;
  virtual ~CPDFFont() { source.free(); }

  /// Loads the font from what `pre_load` was given.
  virtual void load_font() = 0;
  /// Bits: 1 bold, 2 italic, 8 embed the font program.
  virtual void set_font_style(int style) = 0;
  /// Puts what the font needs into the document's objects; every save calls it first.
  virtual void embed_flush() = 0;

  /// Turns `count` characters (Unicode scalar values) into codes of two bytes, high byte first, at `codes`, and
  /// remembers the glyphs for `embed_flush`. A character without a glyph gives code 0. The result is how many had one;
  /// 0 for fonts that are only read.
  virtual int encode(const wchar_t* /*text*/, int /*count*/, unsigned char* /*codes*/) { return 0; }

  /// Remembers the document (borrowed) and the font object, usually a reference (copied).
  void pre_load(CPDFXRefTable* document, const CPDFObj* obj) {
    table = document;
    source.copy_from(obj);
  }

  /// The font object that a page's resources name.
  PDF_REF ref() const { return source.as_ref(); }

  std::uint64_t font_key = 0;
  CPDFXRefTable* table = nullptr;
  CPDFObj source{};
};
