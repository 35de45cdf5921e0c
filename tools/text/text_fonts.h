// The fonts of a text: those that the options name, else common ones of the system.
#pragma once

#include <string>

#include "sheaf/document/fonts/system_fonts.h"
#include "sheaf/neighbours/fonts/programs/font_type0.h"
#include "text/new_text.h"

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
  CPDFFontType0& font(int found) { return *fonts_.font(found); }
  /// Fonts of which some glyph has been asked for are named F1, F2 ... in the resources.
  void put_resources(CPDFDictionary& fonts);
  static std::string resource_name(int found) { return "F" + std::to_string(SystemFonts::index_of(found) + 1); }
  /// Prints a message about each font that was not embedded though characters needed it.
  void report_refused();

private:
  const TextOptions& options_;
  CPDFXRefTable& table_;
  SystemFonts fonts_;
};

}  // namespace sheaf::tool
