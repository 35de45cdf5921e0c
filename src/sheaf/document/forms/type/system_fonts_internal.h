// Fonts of the system for what the document's own font cannot say. A font becomes part of the document, as a subset,
// when a character needs it. In a build without fonts there are none.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/document/forms/type/field_font_internal.h"

class CPDFFontType0;
class CPDFXRefTable;
class CQVFTFont;

namespace sheaf {

class SystemFonts {
public:
  explicit SystemFonts(CPDFXRefTable& table) : table_(table) {}
  SystemFonts(const SystemFonts&) = delete;
  SystemFonts& operator=(const SystemFonts&) = delete;
  ~SystemFonts();

  /// A font to ask in front of the common ones: a family, full or PostScript name, copied. False when there is none
  /// of that name.
  bool add(const char* name);
  /// The first font that has all of these characters; -1 when there is none.
  int find(const std::uint32_t* characters, std::size_t count, const FontManner& manner);
  /// The two-byte code of a character that the font has. Its glyph comes along with the next save.
  unsigned code_of(int font, std::uint32_t character);
  /// Thousandths of the em.
  int width(int font, unsigned code);
  /// The font object, for resources.
  PDF_REF ref(int font) const;

  static constexpr double kAscent = 0.76;  ///< In ems; what suits the common fonts.
  static constexpr double kDescent = -0.24;

private:
  struct Entry {
    char* name;  // owned
    FontFamily family;
    bool any_family;
    CQVFTFont* face;          // the table's
    CPDFFontType0* fonts[2];  // upright weight and bold; the table's
    bool refused;             // cannot be embedded
  };

  void open();
  bool append(const char* name, FontFamily family, bool any_family);
  bool has_all(const Entry& entry, const std::uint32_t* characters, std::size_t count) const;
  bool need(Entry& entry, bool bold);

  CPDFXRefTable& table_;
  GrowArray<Entry> entries_;
  bool is_open_ = false;
};

}  // namespace sheaf
