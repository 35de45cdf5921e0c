// A cluster is the least part of text that the shaper does not take apart: a letter with its marks, a ligature, a
// syllable. Its glyphs are put in the order in which they are on the page, from the side where reading begins, and its
// characters are dealt out to them in this order: a reader that sorts glyphs by place then comes to the same text as
// one that does not, whatever order the script has moved them into. A glyph without a character of its own cannot be:
// some readers take it for one that is unknown.
#include "sheaf/document/text/set/text_clusters_internal.h"

#include <utf8proc.h>

#include <algorithm>

#include "sheaf/document/text/set/text_shaper_internal.h"
#include "sheaf/neighbours/fonts/programs/font_type0.h"

namespace sheaf {

namespace {

constexpr int kMostParts = GlyphTexts::kMost;

// The characters taken apart where that gives more of them, as long as they are no more than there are glyphs.
std::uint32_t take_apart(const std::uint32_t* text, std::uint32_t count, std::uint32_t (&parts)[kMostParts]) {
  std::uint32_t size = 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    utf8proc_int32_t some[4];
    int boundary = 0;
    const utf8proc_ssize_t used =
        utf8proc_decompose_char(static_cast<utf8proc_int32_t>(text[i]), some, 4, UTF8PROC_DECOMPOSE, &boundary);
    if (used < 1 || used > 4 || size + static_cast<std::uint32_t>(used) > kMostParts)
      return 0;
    for (utf8proc_ssize_t part = 0; part < used; ++part)
      parts[size++] = static_cast<std::uint32_t>(some[part]);
  }
  return size;
}

}  // namespace

// The shaper's advance is taken as a difference to the font's own, and that from the font object, whose widths are
// rounded: plain text then needs no adjustments.
void TextClusters::place(const hb_glyph_info_t& info, const hb_glyph_position_t& position, double& pen) {
  Part part{info.codepoint, pen, 0};
  if (is_vertical_) {
    hb_position_t origin_x = 0;
    hb_position_t origin_y = 0;
    shaper().font_get_glyph_v_origin(shaper_font_, info.codepoint, &origin_x, &origin_y);
    part.x -= (position.y_offset + origin_y) * scale_;
    part.y = (position.x_offset + origin_x) * scale_;
    const hb_position_t own = shaper().font_get_glyph_v_advance(shaper_font_, info.codepoint);
    pen -= font_.vertical_metrics(info.codepoint).advance + (position.y_advance - own) * scale_;
  } else {
    part.x += position.x_offset * scale_;
    part.y = position.y_offset * scale_;
    const hb_position_t own = shaper().font_get_glyph_h_advance(shaper_font_, info.codepoint);
    pen += font_.glyph_width(info.codepoint) + (position.x_advance - own) * scale_;
  }
  parts_.push(part);
}

bool TextClusters::take(hb_buffer_t* buffer, const std::uint32_t* text, std::uint32_t from, std::uint32_t to,
                        std::int16_t number, GrowArray<ShapedGlyph>& glyphs, double& pen) {
  unsigned count = 0;
  const hb_glyph_info_t* const infos = shaper().buffer_get_glyph_infos(buffer, &count);
  const hb_glyph_position_t* const positions = shaper().buffer_get_glyph_positions(buffer, &count);
  const std::size_t first = glyphs.size();
  const bool is_tab = text[from] == '\t';
  std::uint32_t behind = to;  // where the text of a cluster ends that runs from right to left
  for (unsigned i = 0; i < count;) {
    const double start = pen;
    const std::uint32_t cluster = is_tab ? from : infos[i].cluster;
    parts_.clear();
    for (; i < count && (is_tab || infos[i].cluster == cluster); ++i)
      place(infos[i], positions[i], pen);
    const std::uint32_t end = is_left_ ? behind : (i < count ? infos[i].cluster : to);
    behind = cluster;
    const std::uint32_t space = ' ';
    if (!put_cluster(is_tab ? &space : text + cluster, end - cluster, start, pen, number, glyphs))
      return false;
  }
  // The shaper goes from the left; reading begins at the right.
  if (is_left_)
    std::reverse(glyphs.begin() + first, glyphs.end());
  return true;
}

// Glyphs without outlines for characters that share a glyph with others: from right to left, readers that sort by place
// would turn a text of several characters round.
bool TextClusters::add_blanks(std::size_t count, double start, double end) {
  hb_codepoint_t blank = 0;
  if (!shaper().font_get_nominal_glyph(shaper_font_, ' ', &blank) || blank == 0)
    return true;
  const double step = (end - start) / static_cast<double>(count + parts_.size());
  for (std::size_t i = 1; i <= count; ++i) {
    if (!parts_.push({blank, end - step * static_cast<double>(i), 0}))
      return false;
  }
  return true;
}

bool TextClusters::put_cluster(const std::uint32_t* text, std::uint32_t count, double start, double end,
                               std::int16_t number, GrowArray<ShapedGlyph>& glyphs) {
  std::uint32_t apart[kMostParts];
  if (parts_.size() > count) {
    const std::uint32_t size = take_apart(text, count, apart);
    if (size > count && size <= parts_.size()) {
      text = apart;
      count = size;
    }
  }
  if (is_left_ && count > parts_.size() && !add_blanks(count - parts_.size(), start, end))
    return false;
  std::stable_sort(parts_.begin(), parts_.end(),
                   [this](const Part& a, const Part& b) { return is_left_ ? a.x > b.x : a.x < b.x; });
  const std::size_t first = glyphs.size();
  for (std::size_t i = 0; i < parts_.size(); ++i) {
    const bool is_last = i + 1 == parts_.size();
    const std::uint32_t at = std::min(static_cast<std::uint32_t>(i), count - 1);
    const int length = is_last ? static_cast<int>(count - at) : 1;
    if (!put(parts_[i], text + at, std::min(length, kMostParts), number, glyphs))
      return false;
  }
  // `take` turns the whole run round.
  if (is_left_)
    std::reverse(glyphs.begin() + first, glyphs.end());
  return true;
}

bool TextClusters::put(const Part& part, const std::uint32_t* text, int count, std::int16_t number,
                       GrowArray<ShapedGlyph>& glyphs) {
  const int code = font_.add_glyph(part.glyph, text, count);
  const auto shown = static_cast<std::uint16_t>(code >= 0 ? code : static_cast<int>(part.glyph));
  const int advance = is_vertical_ ? -font_.vertical_metrics(shown).advance : font_.glyph_width(shown);
  return glyphs.push(
      {number, shown, static_cast<float>(part.x), static_cast<float>(part.y), static_cast<float>(advance)});
}

}  // namespace sheaf
