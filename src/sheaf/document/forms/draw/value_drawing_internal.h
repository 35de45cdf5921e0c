// Drawing a value inside a widget's border: text on one or several lines or in a comb, the lines of a list box, and the
// marks of buttons.
#pragma once

#include <string_view>

#include "sheaf/document/forms/draw/widget_look_internal.h"
#include "sheaf/document/forms/type/field_type_internal.h"

namespace sheaf {

class ContentWriter;
class TextSetter;

/// How a value is set.
struct ValueTraits {
  double size = 0;  ///< Points; 0: as large as fits.
  DeviceColour colour{1, {0}};
  int quadding = 0;    ///< 0 left, 1 centred, 2 right.
  int comb_cells = 0;  ///< 0: no comb.
  bool multi_line = false;
};

/// A line of a list box.
struct ListLine {
  std::size_t first;  ///< Of its glyphs.
  std::size_t count;
  bool selected;
  std::size_t text = 0;         ///< Where the text of a line that needs shaping begins, UTF-8.
  std::size_t text_length = 0;  ///< 0: it is set in glyphs.
};

void draw_text(ContentWriter& out, const WidgetLook& look, FieldType& type, const GrowArray<FieldGlyph>& glyphs,
               const ValueTraits& traits);
/// Whether the characters need more than one glyph each, from left to right: those of Arabic, Hebrew, Indic scripts,
/// Thai and the like.
bool needs_shaping(const GrowArray<std::uint32_t>& characters);
void append_utf8(const GrowArray<std::uint32_t>& characters, GrowArray<char>& text);
/// Draws a value by `setter`, whose fonts the appearance then needs. False, and nothing is drawn, when it cannot be
/// set.
bool draw_shaped_text(ContentWriter& out, const WidgetLook& look, TextSetter& setter,
                      const GrowArray<std::uint32_t>& characters, const ValueTraits& traits);
/// The lines of a list box, with the glyphs and texts that they are made of.
struct ListLines {
  GrowArray<ListLine> lines;
  GrowArray<FieldGlyph> glyphs;
  GrowArray<char> texts;
};
/// Draws as many lines as there is room for, those that need shaping by `setter`.
void draw_list(ContentWriter& out, const WidgetLook& look, FieldType& type, TextSetter& setter, const ListLines& list,
               const ValueTraits& traits);
/// How many lines of a list box are seen.
int list_lines_shown(const WidgetLook& look, const ValueTraits& traits);
/// Draws a button's mark, which is named as in ZapfDingbats: '4' check, '8' cross, 'l' circle, 'u' diamond, 'n' square,
/// 'H' star.
void draw_mark(ContentWriter& out, const WidgetLook& look, char mark, const DeviceColour& colour);

}  // namespace sheaf
