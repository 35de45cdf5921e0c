// Text set into lines: script runs, direction, shaping, line breaks, and glyphs that every reader of the document takes
// for the text that was given. It knows nothing of pages: text, fonts and a width go in, and placed glyphs and content
// operators come out (ISO 32000-1, 9.4).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "sheaf/base/grow_array.h"
#include "sheaf/object/object.h"

class CPDFDictionary;
class CPDFXRefTable;

namespace sheaf {

class SystemFonts;
class TextSetterParts;

/// What holds for all fonts of a setter.
struct TextFontOptions {
  bool bold = false;      ///< Synthetic.
  bool italic = false;    ///< Synthetic.
  bool vertical = false;  ///< Lines are columns, glyphs follow one another downwards.
  bool embeds = true;     ///< Without it texts come back as far as glyphs can say them by their numbers.
  bool insists = false;   ///< Embeds fonts also where their licence says no: the caller has another one.
};

enum class TextDirection : int {
  kAuto,  ///< By the first letter of each paragraph.
  kLeftToRight,
  kRightToLeft,
};

struct TextFormat {
  double size = 12;  ///< Points.
  double width = 0;  ///< Of a line (height of a column), points; 0: lines end only where the text says so.
  double cell = 0;  ///< Width of a cell in points; each character, as it is read, is in the middle of one. 0: no cells.
  bool kerning = true;
  TextDirection direction = TextDirection::kAuto;
  const char* language =
      nullptr;  ///< BCP 47, for forms of letters and line breaks; borrowed. Null: none in particular.
};

/// A glyph of a line. Its code is shown in the writing mode of the setter.
/// The mark of direction (U+200E, U+200F) that readers which sort glyphs by place need beside one to find the order of
/// reading. It is said by an ActualText, so that other readers get the text alone.
enum class TextMark : std::uint8_t {
  kNone,
  kLeftToRightBehind,  ///< To the right of the glyph.
  kRightToLeftBefore,  ///< To its left.
  kRightToLeftAround,
};

struct TextGlyph {
  std::int16_t font;   ///< For TextSetter::font_name and font_ref.
  std::uint16_t code;  ///< Two bytes, high byte first.
  float x;             ///< Points from the line's beginning to the glyph's origin, to the right (or downwards).
  float y;             ///< Points above the line (or to the right of the column's axis).
  float advance;       ///< Points by which showing the code moves on.
  TextMark mark = TextMark::kNone;
};

struct TextLine {
  std::size_t first;  ///< Of `glyphs`.
  std::size_t count;
  double width;        ///< Points, without the spaces at its end.
  bool right_to_left;  ///< Its paragraph runs so: such a line is usually set against the right margin.
  bool ends_paragraph;
};

/// One thread at a time. The fonts become part of the table's document when text needs them; the next save embeds them.
class TextSetter {
public:
  /// The table outlives the setter.
  explicit TextSetter(CPDFXRefTable& table, const TextFontOptions& fonts = {});
  /// With fonts that are asked elsewhere too, which outlive the setter and were made with the same options.
  TextSetter(CPDFXRefTable& table, SystemFonts& system, const TextFontOptions& fonts);
  TextSetter(const TextSetter&) = delete;
  TextSetter& operator=(const TextSetter&) = delete;
  ~TextSetter();

  /// A font to ask after those added before: a family, full or PostScript name. Without any, common fonts are asked.
  /// False when no font has that name.
  bool add_font(const char* name);

  /// Sets a text (UTF-8) anew; `lines` and `glyphs` then hold it. Paragraphs end at every kind of line end of Unicode;
  /// paragraphs of more than 65,536 characters are set in parts. The text is composed (NFC) first, bytes that are no
  /// UTF-8 count as U+FFFD, and control characters other than tabs are left out. False when no font can be used or
  /// there is no memory; the lines are then of no use.
  bool set(std::string_view text, const TextFormat& format);

  const GrowArray<TextLine>& lines() const { return lines_; }
  const GrowArray<TextGlyph>& glyphs() const { return glyphs_; }

  /// Appends the operators that show `line` from `x`, `y`, points, to `out`: for use between BT and ET, after which the
  /// text matrix is another. False when there is no memory.
  bool show(const TextLine& line, double x, double y, GrowArray<char>& out);

  /// Characters that no font had since the setter was made, and the first of them.
  std::size_t missing() const { return missing_; }
  std::uint32_t first_missing() const { return first_missing_; }
  static constexpr std::size_t kFontNameSize = 24;
  /// The name by which `show` selects a font, and what it stands for.
  static void font_name(int font, char (&name)[kFontNameSize]);
  PDF_REF font_ref(int font) const;
  /// Puts all fonts that text was set in into a dictionary of fonts.
  void put_resources(CPDFDictionary& fonts) const;
  /// The fonts that are asked.
  SystemFonts& system() { return *system_; }

private:
  friend class TextSetterParts;

  CPDFXRefTable& table_;
  TextFontOptions options_;
  SystemFonts* system_ = nullptr;
  bool owns_system_ = false;
  TextSetterParts* parts_ = nullptr;
  GrowArray<TextLine> lines_;
  GrowArray<TextGlyph> glyphs_;
  double size_ = 12;
  std::size_t missing_ = 0;
  std::uint32_t first_missing_ = 0;
};

}  // namespace sheaf
