// A composite font of a document, made from a font file: text becomes two-byte codes, which are glyph
// numbers (Identity-H or -V; ISO 32000-1, 9.7), and every save brings the objects up to the glyphs used.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sheaf/base/fixed.h"
#include "sheaf/base/grow_array.h"
#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/neighbours/fonts/font.h"
#include "sheaf/neighbours/fonts/programs/tt_layout.h"
#include "sheaf/neighbours/fonts/programs/tt_parts.h"

class CPDFDictionary;
class CQVFTFont;
struct CQVTTCodesRec;
class CQVStream;

/// The position of a glyph in vertical text, in thousandths of the em (ISO 32000-1, 9.7.4.3).
struct PDF_VERTICAL_METRICS {
  int advance;   ///< Along the column; negative is downwards.
  int origin_x;  ///< From the horizontal origin to the vertical one.
  int origin_y;
};

/// A code in use, its glyph and the text that it shows.
struct PDF_USED_GLYPH {
  std::uint32_t code;
  std::uint32_t glyph;
  std::uint32_t text;  ///< A character, or a place in the font's longer texts; 0 where glyph 0 shows none.
};

/// Texts of several characters, each as their count and the characters.
namespace GlyphTexts {
constexpr std::uint32_t kLonger = 0x80000000;  ///< Before a place.
constexpr int kMost = 64;                      ///< Characters of one text.
}  // namespace GlyphTexts

class CPDFFontType0 final : public CPDFFont {
public:
  CPDFFontType0() = default;
  ~CPDFFontType0() override;

  static void* operator new(std::size_t size) noexcept { return QVAlloc(size); }
  static void operator delete(void* block) { QVFree(block); }

  /// Reads the font objects and opens the face that they name through the table's environment. A
  /// font that is not found leaves no glyph to encode.
  void load_font() override;
  void set_font_style(int style) override;
  /// Brings "W", "ToUnicode", in vertical fonts "DW2" and "W2", and with the embed bit the font
  /// program up to the glyphs used so far: before any text that is the sign for missing glyphs alone.
  /// Nothing changes when no glyph has come since the last time. Without memory the objects stay as they were, and the
  /// next save tries again.
  void embed_flush() override;

  /// Lets the next save write the objects even when no glyph is used: they hold the whole program.
  void mark_new() { changed_ = true; }

  /// Whether a face was found.
  bool is_loaded() const { return face_ != nullptr; }
  bool is_vertical() const { return vertical_; }
  /// Whether the face has a glyph for `character`.
  bool has_glyph(wchar_t character);
  int encode(const wchar_t* text, int count, unsigned char* codes) override;
  /// The code by which glyph `glyph` shows `count` characters, so that a reader of the file gets these back, and
  /// remembers it: the glyph's own number for the first text that it shows, further codes for others. -1 when no code
  /// is left or the font cannot have further ones, since its program is not embedded.
  int add_glyph(std::uint32_t glyph, const std::uint32_t* text, int count);
  /// The same for glyphs that stand for their text together, such as a letter with its marks: they become one glyph of
  /// the embedded program, so that no reader takes them apart. `width` is its advance, `down` that in a column, font
  /// units. -1 also for fonts whose program cannot have further glyphs.
  int add_composite(const PDF_TT_PART* parts, int count, int width, int down, const std::uint32_t* text, int length);
  /// The characters that a code given out before shows, into `text`. The result is how many, 0 when it shows none.
  int text_of(unsigned code, std::uint32_t (&text)[GlyphTexts::kMost]) const;
  /// How many different glyphs have been used.
  int used_count() const { return used_count_; }
  /// The width of a code in thousandths of the em, as "W" says it.
  int glyph_width(unsigned code);
  /// The vertical metrics of a code, as "DW2" and "W2" say them.
  PDF_VERTICAL_METRICS vertical_metrics(unsigned code);

  // What holds where a face does not say otherwise, in ems.
  QVFIX default_width = sheaf::kFixOne;
  QVFIX default_vertical_advance = -sheaf::kFixOne;
  QVFIX default_origin_x = sheaf::kFixHalf;
  QVFIX default_origin_y = sheaf::fix_from_int(88) / 100;
  CQVTTLayout layout;

private:
  static constexpr std::uint32_t kPageSize = 256;
  static constexpr std::uint32_t kPageCount = 0x110000 / kPageSize;
  // Set in the text of a glyph that `add_glyph` gave out: no other character takes its place.
  static constexpr std::uint32_t kFixed = 0x40000000;

  struct Further {
    std::uint32_t glyph;
    std::uint32_t text;
    std::uint32_t next;  // of the same glyph, 1 more than its place; 0: none
  };

  struct Composite {
    PDF_TT_COMPOSITE glyph;
    std::uint32_t next;           // with the same first part, 1 more than its place; 0: none
    std::uint32_t first_further;  // 1 more than the place of its first code
  };

  bool make_tables();
  std::uint32_t glyph_of(unsigned code) const;
  bool is_text(std::uint32_t kept, const std::uint32_t* text, int count) const;
  std::uint32_t keep_text(const std::uint32_t* text, int count);
  int add_further(std::uint32_t glyph, std::uint32_t& first, const std::uint32_t* text, int count);
  bool allows_composites();
  int find_composite(const PDF_TT_PART* parts, int count, int width, int down);
  const Composite* composite_of(std::uint32_t glyph) const;
  std::uint32_t add_character(std::uint32_t character);
  std::uint32_t find_glyph(std::uint32_t character);

  // font_type0_flush.cpp
  bool collect_used(sheaf::GrowArray<PDF_USED_GLYPH>& used) const;
  bool flush_metrics(const sheaf::GrowArray<PDF_USED_GLYPH>& used);
  void put_vertical_metrics(CPDFDictionary& dict, const sheaf::GrowArray<PDF_USED_GLYPH>& used);
  bool flush_code_map(CPDFDictionary& dict, const sheaf::GrowArray<PDF_USED_GLYPH>& used);
  bool flush_to_unicode(const sheaf::GrowArray<PDF_USED_GLYPH>& used);
  bool flush_program(const sheaf::GrowArray<PDF_USED_GLYPH>& used);
  int write_program(CQVStream* out, const CQVTTCodesRec& codes);
  int face_width(std::uint32_t glyph);

  int style_ = 0;
  bool is_cff_ = false;
  bool vertical_ = false;
  bool changed_ = false;
  int used_count_ = 0;
  CQVFTFont* face_ = nullptr;
  char path_[CPDFEnviroment::kPathSize]{};
  int index_ = -1;
  PDF_REF cid_font_{0, 0};
  PDF_REF font_file_{0, 0};
  PDF_REF to_unicode_{0, 0};
  PDF_REF code_map_{0, 0};
  std::uint32_t** pages_ = nullptr;   // codes by character, in pages; an entry is 0 until it is used
  std::uint32_t* text_of_ = nullptr;  // the text of each used glyph
  std::uint32_t glyph_count_ = 0;
  // Texts besides the first of a glyph have codes after the glyphs, in the order of this list.
  sheaf::GrowArray<Further> further_;
  std::uint32_t* first_further_ = nullptr;  // by glyph, 1 more than the place
  sheaf::GrowArray<std::uint32_t> longer_;
  sheaf::GrowArray<Composite> composites_;  // glyphs after those of the face
  sheaf::GrowArray<PDF_TT_PART> parts_;
  std::uint32_t* first_composite_ = nullptr;  // by its first part, 1 more than the place
  std::uint32_t* widths_ = nullptr;           // of the face's glyphs, units and kFixed; 0: not asked for yet
};
