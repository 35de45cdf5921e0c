// A face of a font file: characters to glyphs, metrics, and outlines in a synthetic style.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sheaf/base/heap.h"
#include "sheaf/base/stream.h"

namespace sheaf {
class StyledOutline;
}

/// Whether a font's outlines may become part of a document.
enum class PDF_FONT_LICENCE : int { kEmbed, kRestricted, kBitmapsOnly };

/// One face, by one thread at a time. It comes from the QVAlloc family and is released with delete
/// (or CPDFEnviroment::release_face).
class CQVFTFont {
public:
  CQVFTFont(const CQVFTFont&) = delete;
  CQVFTFont& operator=(const CQVFTFont&) = delete;
  ~CQVFTFont();

  static void* operator new(std::size_t size) noexcept { return QVAlloc(size); }
  static void operator delete(void* block) { QVFree(block); }

  /// Face `index` of a TrueType or OpenType file, a collection's too, or null. Its higher 16 bits name
  /// an instance of a variable font, the first by 1; 0 is the font as it is.
  static CQVFTFont* open(const char* path, int index);
  /// The same from a stream that the caller keeps as long as the face.
  static CQVFTFont* open(CQVStream* stream, int index);

  /// The style in which outlines and programs are given from now on: each argument 0 or not.
  void set_style(int bold, int italic, int vertical);
  bool is_bold() const { return bold_; }
  bool is_italic() const { return italic_; }
  bool is_vertical() const { return vertical_; }
  /// The instance of a variable font that this is, 0: none.
  int instance() const { return instance_; }
  /// Whether outlines are other than the file has them.
  bool is_styled() const { return bold_ || italic_ || instance_ != 0; }

  /// The glyph of a character (a Unicode scalar value), 0 when the face has none.
  std::uint32_t glyph_index(std::uint32_t character);
  std::uint32_t glyph_count() const;
  /// Units of the em, at least 1.
  int units_per_em() const;
  /// Horizontal advance of a glyph in font units; the synthetic styles keep it.
  int advance(std::uint32_t glyph);
  /// Whether the face has vertical metrics of its own, and those of a glyph in font units: the
  /// advance downwards, and the vertical coordinate of the origin above the glyph. False, with the
  /// outputs as they were, when it has none that are plausible.
  bool has_vertical_metrics() const;
  bool vertical_metrics(std::uint32_t glyph, int& advance, int& origin_y);
  /// Whether the glyphs are made by their instructions, which then must be kept.
  bool needs_instructions() const;
  /// What the font's maker allows ("OS/2", fsType): whether its outlines may be embedded at all, and whether a part
  /// of the font may be.
  PDF_FONT_LICENCE licence() const;
  bool allows_subsets() const;
  /// Whether the glyphs of a font with CFF outlines are known by their numbers: those of CID-keyed fonts may have
  /// others.
  bool has_numbers_for_cids() const;
  bool is_cid_keyed() const;
  /// Thickness in font units of the upright stroke of a letter; 0 when it cannot be measured.
  int stem_width();
  /// A whole table, or null. The caller releases the block with QVFree.
  std::uint8_t* load_table(std::uint32_t tag, std::uint32_t& length);

  void* face_handle = nullptr;  ///< The rasteriser's face; null when the file could not be opened.

private:
  CQVFTFont() = default;
  bool start(CQVStream* stream, int index);
  enum class Zeros : std::uint8_t { kUnknown, kOfMarks, kOfLetters };
  bool has_true_zeros();
  /// Loads a glyph in font units. False when it cannot be loaded or is made of too many parts.
  bool load_glyph(std::uint32_t glyph);

  friend class sheaf::StyledOutline;

  void* library_ = nullptr;
  void* input_ = nullptr;  // the rasteriser's stream over `stream_`
  CQVStream* stream_ = nullptr;
  CQVStreamFile file_;
  int instance_ = 0;
  Zeros zeros_ = Zeros::kUnknown;
  bool symbol_map_ = false;
  bool bold_ = false;
  bool italic_ = false;
  bool vertical_ = false;
};
