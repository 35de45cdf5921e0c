// The fonts of a text, in the order in which they are asked for a glyph. A font becomes part of the
// document only when a character needs it.
#pragma once

#include <string>
#include <vector>

#include "sheaf/neighbours/fonts/programs/font_type0.h"
#include "text/new_text.h"

class CQVFTFont;

namespace sheaf::tool {

class TextFonts {
public:
  TextFonts(CPDFXRefTable& table, const TextOptions& options);

  /// False, with a message, when a font that was asked for cannot be used.
  bool open();
  /// The font that has a glyph for `character`, or -1; in the document from then on.
  int find(wchar_t character);
  /// The first font, in the document from then on; -1 when it cannot be used.
  int first();
  CPDFFontType0& font(int index) { return *entries_[static_cast<std::size_t>(index)].font; }
  /// Fonts of which some glyph has been asked for are named F1, F2 ... in the resources.
  void put_resources(CPDFDictionary& fonts) const;
  static std::string resource_name(int index) { return "F" + std::to_string(index + 1); }

private:
  struct Entry {
    std::string name;
    CQVFTFont* face;      // shared, to look for characters; the table's cache gives it back
    CPDFFontType0* font;  // null until it is needed
    bool refused;
  };
  bool need(Entry& entry);

  CPDFXRefTable& table_;
  const TextOptions& options_;
  std::vector<Entry> entries_;
};

}  // namespace sheaf::tool
