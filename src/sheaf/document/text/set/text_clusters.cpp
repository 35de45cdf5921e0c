// A cluster is the least part of text that the shaper does not take apart: a letter with its marks, a ligature, a
// syllable. Its glyphs are put in the order in which they are on the page, from the side where reading begins, and its
// characters are dealt out to them in this order: a reader that sorts glyphs by place then comes to the same text as
// one that does not, whatever order the script has moved them into. A glyph without a character of its own cannot be:
// some readers take it for one that is unknown.
#include "sheaf/document/text/set/text_clusters_internal.h"

#include <utf8proc.h>

#include <algorithm>

#include "sheaf/document/text/set/text_paragraph_internal.h"
#include "sheaf/document/text/set/text_shaper_internal.h"
#include "sheaf/neighbours/fonts/programs/font_type0.h"

namespace sheaf {

namespace {

constexpr int kMostParts = GlyphTexts::kMost;
constexpr std::size_t kMostJoined = 8;  // parts; a run of thousands that are not seen stays one of many clusters

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
  Part part{info.codepoint, pen, 0, position.x_offset, position.y_offset};
  if (is_vertical_) {
    hb_position_t origin_x = 0;
    hb_position_t origin_y = 0;
    shaper().font_get_glyph_v_origin(shaper_font_, info.codepoint, &origin_x, &origin_y);
    part.x -= (position.y_offset + origin_y) * scale_;
    part.y = (position.x_offset + origin_x) * scale_;
    const hb_position_t own = shaper().font_get_glyph_v_advance(shaper_font_, info.codepoint);
    pen -= font_.vertical_metrics(info.codepoint).advance + (position.y_advance - own) * scale_;
    part.up += pen_;
    pen_ += position.y_advance;
  } else {
    part.x += position.x_offset * scale_;
    part.y = position.y_offset * scale_;
    const hb_position_t own = shaper().font_get_glyph_h_advance(shaper_font_, info.codepoint);
    pen += font_.glyph_width(info.codepoint) + (position.x_advance - own) * scale_;
    part.left += pen_;
    pen_ += position.x_advance;
  }
  parts_.push(part);
}

// What is not seen belongs to the letter before it: by itself it would be a glyph without a place of its own.
bool TextClusters::joins(const std::uint32_t* text, std::uint32_t next, std::uint32_t cluster) const {
  return parts_.size() < kMostJoined && is_ignorable(text[is_left_ ? cluster : next]);
}

bool TextClusters::take(hb_buffer_t* buffer, const std::uint32_t* text, std::uint32_t from, std::uint32_t to,
                        std::int16_t number, GrowArray<ShapedGlyph>& glyphs, double& pen) {
  unsigned count = 0;
  const hb_glyph_info_t* const infos = shaper().buffer_get_glyph_infos(buffer, &count);
  const hb_glyph_position_t* const positions = shaper().buffer_get_glyph_positions(buffer, &count);
  const std::size_t first = glyphs.size();
  const bool is_tab = text[from] == '\t';
  shaper().font_get_nominal_glyph(shaper_font_, ' ', &blank_);
  std::uint32_t behind = to;  // where the text of a cluster ends that runs from right to left
  for (unsigned i = 0; i < count;) {
    const double start = pen;
    std::uint32_t cluster = is_tab ? from : infos[i].cluster;
    parts_.clear();
    pen_ = 0;
    for (; i < count && (is_tab || infos[i].cluster == cluster || joins(text, infos[i].cluster, cluster)); ++i) {
      cluster = is_left_ && !is_tab ? infos[i].cluster : cluster;
      place(infos[i], positions[i], pen);
    }
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
  if (blank_ == 0)
    return true;
  // Each lies with its right end where its share of the cluster begins, as far as there is room, so that no gap between
  // two letters looks like a space.
  const double width = font_.glyph_width(blank_);
  const auto shares = static_cast<double>(count + 1);
  const double step = (end - start) / shares;
  for (std::size_t i = 0; i < count; ++i) {
    const auto place = static_cast<double>(i);
    const double x = std::max(end - step * place - width, start + step * (shares - 1 - place));
    if (!parts_.push({blank_, x, 0, 0, 0}))
      return false;
  }
  return true;
}

// What is seen of the cluster as parts of one glyph; 0 when it cannot be one.
int TextClusters::take_parts(PDF_TT_PART* parts) const {
  int size = 0;
  const Part base = parts_[0];
  for (const Part& part : parts_) {
    const int x = part.left - (is_vertical_ ? base.left : 0);
    const int y = part.up - (is_vertical_ ? base.up : 0);
    if (part.glyph == blank_ && blank_ != 0)
      continue;
    if (size == kMostParts || part.glyph > UINT16_MAX || x != static_cast<std::int16_t>(x) ||
        y != static_cast<std::int16_t>(y))
      return 0;
    parts[size++] = {static_cast<std::uint16_t>(part.glyph), static_cast<std::int16_t>(x),
                     static_cast<std::int16_t>(y)};
  }
  return size;
}

// From right to left each character has its share of the cluster's width: the outlines belong to the first, at the
// right end, and blank glyphs stand for the others. False, with nothing added, when that cannot be.
bool TextClusters::share_out(PDF_TT_PART* parts, int size, const std::uint32_t* text, std::uint32_t count, double start,
                             std::int16_t number, GrowArray<ShapedGlyph>& glyphs) {
  const int share = pen_ / static_cast<int>(count);
  const int first = pen_ - share * static_cast<int>(count - 1);
  if (share <= 0 || blank_ == 0)
    return false;
  for (int i = 0; i < size; ++i)
    parts[i].x = static_cast<std::int16_t>(parts[i].x - (pen_ - first));
  const PDF_TT_PART blank{static_cast<std::uint16_t>(blank_), 0, 0};
  const std::size_t before = glyphs.size();
  for (std::uint32_t i = count; i-- > 0;) {
    const int width = i == 0 ? first : share;
    const int code = i == 0 ? font_.add_composite(parts, size, width, 0, text, 1)
                            : font_.add_composite(&blank, 1, width, 0, text + i, 1);
    const double x = start + share * static_cast<double>(count - 1 - i) * scale_;
    if (code < 0 || !glyphs.push({number, static_cast<std::uint16_t>(code), static_cast<float>(x), 0,
                                  static_cast<float>(font_.glyph_width(static_cast<unsigned>(code)))})) {
      while (glyphs.size() > before)
        glyphs.pop();
      return false;
    }
  }
  return true;
}

// Makes one glyph of the cluster. False, with nothing added, when that cannot be.
bool TextClusters::join(const std::uint32_t* text, std::uint32_t count, double start, double& end, std::int16_t number,
                        GrowArray<ShapedGlyph>& glyphs) {
  PDF_TT_PART parts[kMostParts];
  const int size = take_parts(parts);
  const bool is_split = is_left_ && !is_vertical_ && count > 1;
  if (size == 0 || (parts_.size() == 1 && !is_split))
    return false;
  if (is_split)
    return share_out(parts, size, text, count, start, number, glyphs);
  const Part& base = parts_[0];
  const int width = is_vertical_ ? shaper().font_get_glyph_h_advance(shaper_font_, base.glyph) : pen_;
  const int code = font_.add_composite(parts, size, width, is_vertical_ ? -pen_ : 0, text, static_cast<int>(count));
  if (code < 0)
    return false;
  const auto shown = static_cast<unsigned>(code);
  const int advance = is_vertical_ ? -font_.vertical_metrics(shown).advance : font_.glyph_width(shown);
  end = start + advance;
  return glyphs.push({number, static_cast<std::uint16_t>(code), static_cast<float>(is_vertical_ ? base.x : start),
                      static_cast<float>(is_vertical_ ? base.y : 0), static_cast<float>(advance)});
}

bool TextClusters::put_cluster(const std::uint32_t* text, std::uint32_t count, double start, double& end,
                               std::int16_t number, GrowArray<ShapedGlyph>& glyphs) {
  if (join(text, count, start, end, number, glyphs))
    return true;
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
