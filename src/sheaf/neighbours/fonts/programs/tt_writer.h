// Complete font programs: a face of a file or a collection as it is, or in a synthetic
// style, whole or only some of its glyphs; and the metrics that a font descriptor asks for.
#pragma once

#include <cstdint>

#include "sheaf/base/stream.h"
#include "sheaf/neighbours/fonts/programs/tt_parser.h"
#include "sheaf/neighbours/fonts/programs/tt_parts.h"

class CQVFTFont;

/// The glyphs that a program keeps; all of them keep their numbers. Glyph 0 and parts of composite
/// glyphs need not be named.
struct CQVTTCodesRec {
  const std::uint16_t* glyphs;  ///< Ascending. Borrowed.
  std::uint32_t count;
  int keeps_instructions;  ///< Not 0: glyphs are made by their instructions.
  // Glyphs after those of the font, the first of which is `face_glyphs`. Borrowed.
  const PDF_TT_COMPOSITE* composites = nullptr;
  std::uint32_t composite_count = 0;
  const PDF_TT_PART* parts = nullptr;
  std::uint32_t face_glyphs = 0;
  int has_cids = 0;  ///< Not 0: CFF outlines keep their numbers as CIDs, so that glyphs between need no place.
};

class CQVTTWriter {
public:
  // Metrics in thousandths of the em; all 0 while no face is loaded.
  std::int16_t ascent = 0;
  std::int16_t descent = 0;
  float font_bbox[4]{};           ///< Left, bottom, right, top.
  std::int16_t italic_angle = 0;  ///< In degrees, counter-clockwise from the vertical.
  std::uint16_t stem_v = 0;       ///< Thickness of upright strokes.

  CQVTTWriter() = default;
  CQVTTWriter(const CQVTTWriter&) = delete;
  CQVTTWriter& operator=(const CQVTTWriter&) = delete;

  /// Loads a single font file. The caller keeps `stream` open until `free`. 0 on success; a
  /// collection, or a file whose tables cannot be used, gives another value.
  int Load(CQVStream* stream);
  /// Loads face `index` of a collection; a single font counts as a collection of one. An index names an instance of a
  /// variable font as CQVFTFont::open has it; its metrics are those of the font.
  int Load2(CQVStream* stream, unsigned int index);

  /// Writes the face as a font file of its own: tables in order, checksums right, signatures left
  /// out. `codes` (may be null) keeps these glyphs only, without the tables that a PDF does not need.
  /// 0 on success; fonts with CFF outlines and those whose outlines are not where their tables say
  /// return another value, and the content of `out` is then of no use.
  int SaveFontData(CQVStream* out, const CQVTTCodesRec* codes);
  /// The same with outlines and style of `face`, which must be the loaded one, as TrueType outlines
  /// without instructions; those of CFF fonts come as near as half a thousandth of the em. A vertical style brings
  /// vertical metrics.
  int SaveFontData2(CQVStream* out, CQVFTFont* face, const CQVTTCodesRec* codes);

  /// Whether every glyph lies where the index of glyphs says, in ascending order inside its table.
  bool has_outlines() const;

  /// Whether the outlines are CFF ones, such as a "CIDFontType0C" can have.
  bool has_cff_outlines() const;
  /// Whether they are of the third degree, which SaveFontData2 alone can write: those of variable fonts too.
  bool has_cubic_outlines() const;
  /// Writes the CFF program alone, as a "CIDFontType0C" has it; `codes` as for SaveFontData. 0 on success.
  int SaveCffData(CQVStream* out, const CQVTTCodesRec* codes);

  /// Lets the stream go and sets the metrics to 0. Harmless twice.
  void free();

private:
  int load_face(CQVStream* stream, std::uint32_t index);
  void read_metrics(CQVStream* stream, std::uint32_t index, int units_per_em);
  int save_subset(CQVStream* out, const CQVTTCodesRec& codes);

  CQVTTParser parser_;
  bool loaded_ = false;
};
