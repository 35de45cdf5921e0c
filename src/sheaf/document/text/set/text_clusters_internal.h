// Deals out the characters of each cluster of shaped glyphs to the glyphs, so that readers which go by the order of the
// content and readers which go by places on the page both find the text as it was written.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/document/text/set/text_libraries_internal.h"

class CPDFFontType0;
struct PDF_TT_PART;

namespace sheaf {

struct ShapedGlyph;

class TextClusters {
public:
  TextClusters(CPDFFontType0& font, hb_font_t* shaper_font, int units_per_em, bool is_left, bool is_vertical)
      : font_(font),
        shaper_font_(shaper_font),
        scale_(1000.0 / units_per_em),
        is_left_(is_left),
        is_vertical_(is_vertical) {}

  /// Appends the glyphs of the buffer, which show `from` to `to` of `text`, in the order of reading; moves `pen` after
  /// them. False when there is no memory.
  bool take(hb_buffer_t* buffer, const std::uint32_t* text, std::uint32_t from, std::uint32_t to, std::int16_t number,
            GrowArray<ShapedGlyph>& glyphs, double& pen);

private:
  struct Part {
    std::uint32_t glyph;
    double x;
    double y;
    int left;  // of the glyph's horizontal origin, font units, from the beginning of the cluster
    int up;
  };

  bool joins(const std::uint32_t* text, std::uint32_t next, std::uint32_t cluster) const;
  void place(const hb_glyph_info_t& info, const hb_glyph_position_t& position, double& pen);
  bool put_cluster(const std::uint32_t* text, std::uint32_t count, double start, double& end, std::int16_t number,
                   GrowArray<ShapedGlyph>& glyphs);
  bool join(const std::uint32_t* text, std::uint32_t count, double start, double& end, std::int16_t number,
            GrowArray<ShapedGlyph>& glyphs);
  int take_parts(PDF_TT_PART* parts) const;
  bool share_out(PDF_TT_PART* parts, int size, const std::uint32_t* text, std::uint32_t count, double start,
                 std::int16_t number, GrowArray<ShapedGlyph>& glyphs);
  bool add_blanks(std::size_t count, double start, double end);
  bool put(const Part& part, const std::uint32_t* text, int count, std::int16_t number, GrowArray<ShapedGlyph>& glyphs);

  CPDFFontType0& font_;
  hb_font_t* shaper_font_;
  double scale_;  // thousandths to a unit
  bool is_left_;
  bool is_vertical_;
  GrowArray<Part> parts_;  // of the present cluster
  int pen_ = 0;            // the shaper's pen in it, font units
  hb_codepoint_t blank_ = 0;
};

}  // namespace sheaf
