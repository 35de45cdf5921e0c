// Programs in a synthetic style, of instances of variable fonts, and of CFF outlines: every outline is asked of the
// face and written back as a simple TrueType glyph (ISO/IEC 14496-22, 5.3.3). Composite glyphs are thereby taken apart,
// and instructions, which know nothing of the new shapes, are left out.
#include <algorithm>

#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/fonts/programs/ft_outline_internal.h"
#include "sheaf/neighbours/fonts/programs/ft_quadratic_internal.h"
#include "sheaf/neighbours/fonts/programs/tt_assembly_internal.h"
#include "sheaf/neighbours/fonts/programs/tt_composites_internal.h"
#include "sheaf/neighbours/fonts/programs/tt_writer.h"

using namespace sheaf;

namespace {

enum PointFlag : std::uint32_t { kOnCurve = 1, kShortX = 2, kShortY = 4, kRepeat = 8, kSameX = 16, kSameY = 32 };
constexpr std::uint32_t kMostRepeats = 255;

constexpr std::uint32_t kHeadSize = 54;
constexpr std::uint32_t kHheaSize = 36;
constexpr std::uint32_t kMaxpSize = 32;
constexpr std::uint32_t kInstructionFlags = 0x1C;  // of "head": widths and sizes depend on instructions
constexpr int kVerticalOrigin = 880;               // thousandths of the em above the baseline
constexpr std::int32_t kItalicTurn = -12 * 65536;  // in "post", on top of the design's own angle

// What a whole styled program keeps of the original besides outlines and metrics.
constexpr std::uint32_t kCopiedTables[] = {tt_tag("GDEF"), tt_tag("GPOS"), tt_tag("GSUB"), tt_tag("OS/2"),
                                           tt_tag("cmap"), tt_tag("kern"), tt_tag("name")};

struct Box {
  int left = 0, bottom = 0, right = 0, top = 0;

  static Box around(const FT_Outline& outline) {
    Box box{32767, 32767, -32768, -32768};
    for (int i = 0; i < outline.n_points; ++i) {
      const auto x = static_cast<int>(outline.points[i].x);
      const auto y = static_cast<int>(outline.points[i].y);
      box = {std::min(box.left, x), std::min(box.bottom, y), std::max(box.right, x), std::max(box.top, y)};
    }
    return box;
  }
  bool fits() const { return left >= -32768 && bottom >= -32768 && right <= 32767 && top <= 32767; }
};

// One coordinate of a point relative to the one before: its flags, and its bytes.
std::uint32_t delta_flags(int delta, std::uint32_t is_short, std::uint32_t same) {
  if (delta == 0)
    return same;
  if (delta >= -255 && delta <= 255)
    return is_short | (delta > 0 ? same : 0);
  return 0;
}

void put_delta(TTBytes& out, int delta, std::uint32_t flags, std::uint32_t is_short, std::uint32_t same) {
  if ((flags & is_short) != 0)
    out.u8(static_cast<std::uint32_t>(delta < 0 ? -delta : delta));
  else if ((flags & same) == 0)
    out.i16(delta);
}

class StyledTables {
public:
  StyledTables(CQVFTFont& face, const CQVTTCodesRec* codes) : face_(face), codes_(codes) {}

  bool build_glyphs() {
    glyph_count_ = face_.glyph_count();
    if (codes_ != nullptr) {
      const std::uint32_t last = codes_->count != 0 ? codes_->glyphs[codes_->count - 1] : 0;
      if (codes_->composite_count == 0)
        glyph_count_ = std::min(glyph_count_, last + 1);
    }
    const std::uint32_t own_count = glyph_count_;
    if (codes_ != nullptr && codes_->composite_count != 0 && !boxes_.resize(own_count))
      return false;
    std::uint32_t next = 0;
    for (std::uint32_t glyph = 0; glyph < own_count; ++glyph) {
      while (codes_ != nullptr && next < codes_->count && codes_->glyphs[next] < glyph)
        ++next;
      const bool named = codes_ == nullptr || (next < codes_->count && codes_->glyphs[next] == glyph);
      loca_.u32(glyf_.size());
      if (!(named || glyph == 0 ? add_glyph(glyph) : add_gap()))
        return false;
    }
    for (std::uint32_t i = 0; codes_ != nullptr && i < codes_->composite_count; ++i) {
      loca_.u32(glyf_.size());
      if (!add_composite(codes_->composites[i]))
        return false;
    }
    loca_.u32(glyf_.size());
    return glyph_count_ != 0 && glyf_.ok() && loca_.ok() && hmtx_.ok() && vmtx_.ok();
  }

  bool build_headers(const CQVTTParser& parser) {
    std::uint8_t block[kHeadSize];
    if (!parser.read(tt_tag("head"), 0, block, kHeadSize))
      return false;
    tt_put16(block + 16, tt_u16(block + 16) & ~kInstructionFlags);
    tt_put16(block + 36, static_cast<std::uint32_t>(box_.left));
    tt_put16(block + 38, static_cast<std::uint32_t>(box_.bottom));
    tt_put16(block + 40, static_cast<std::uint32_t>(box_.right));
    tt_put16(block + 42, static_cast<std::uint32_t>(box_.top));
    tt_put16(block + 44, tt_u16(block + 44) | (face_.is_bold() ? 1U : 0U) | (face_.is_italic() ? 2U : 0U));
    tt_put16(block + 50, 1);  // long offsets
    head_.bytes(block, kHeadSize);

    if (!parser.read(tt_tag("hhea"), 0, block, kHheaSize))
      return false;
    tt_put16(block + 10, static_cast<std::uint32_t>(widest_));
    tt_put16(block + 12, static_cast<std::uint32_t>(box_.left));
    tt_put16(block + 14, static_cast<std::uint32_t>(least_right_bearing_));
    tt_put16(block + 16, static_cast<std::uint32_t>(box_.right));
    tt_put16(block + 34, glyph_count_);
    hhea_.bytes(block, kHheaSize);

    maxp_.u32(0x00010000);
    maxp_.u16(glyph_count_);
    maxp_.u16(most_points_);
    maxp_.u16(most_contours_);
    maxp_.u16(std::min<std::uint32_t>(most_points_ * most_parts_, UINT16_MAX));
    maxp_.u16(std::min<std::uint32_t>(most_contours_ * most_parts_, UINT16_MAX));
    maxp_.u16(1);  // one zone, as there are no instructions
    maxp_.zeros(kMaxpSize - 4 - maxp_.size());
    maxp_.u16(most_parts_);
    maxp_.u16(most_parts_ != 0 ? 1 : 0);
    if (face_.is_vertical())
      build_vhea();
    return true;
  }

  void add_to(TTAssembly& assembly) const {
    assembly.add(tt_tag("glyf"), glyf_);
    assembly.add(tt_tag("loca"), loca_);
    assembly.add(tt_tag("hmtx"), hmtx_);
    assembly.add(tt_tag("head"), head_);
    assembly.add(tt_tag("hhea"), hhea_);
    assembly.add(tt_tag("maxp"), maxp_);
    if (!face_.is_vertical())
      return;
    assembly.add(tt_tag("vhea"), vhea_);
    assembly.add(tt_tag("vmtx"), vmtx_);
  }

private:
  bool add_gap() {
    hmtx_.u32(0);
    if (face_.is_vertical())
      vmtx_.u32(0);
    return true;
  }

  bool add_glyph(std::uint32_t glyph) {
    const int advance = std::clamp(face_.advance(glyph), 0, 65535);
    const FT_Outline* outline = StyledOutline::load(face_, glyph);
    if (outline != nullptr && has_cubics(*outline)) {
      if (!quadratic_.take(*outline, face_.units_per_em()))
        return false;
      outline = &quadratic_.outline();
    }
    Box box;
    if (outline != nullptr && outline->n_contours > 0 && outline->n_points > 0) {
      box = Box::around(*outline);
      if (!box.fits())
        return false;
      put_outline(*outline, box);
      box_ = any_ ? Box{std::min(box_.left, box.left), std::min(box_.bottom, box.bottom),
                        std::max(box_.right, box.right), std::max(box_.top, box.top)}
                  : box;
      any_ = true;
      if (glyph < boxes_.size())
        boxes_[glyph] = {box.left, box.bottom, box.right, box.top};
      least_right_bearing_ = std::clamp(std::min(least_right_bearing_, advance - box.right), -32768, 32767);
    }
    widest_ = std::max(widest_, advance);
    hmtx_.u16(static_cast<std::uint32_t>(advance));
    hmtx_.i16(box.left);
    if (face_.is_vertical())
      put_vertical(glyph, box.top);
    return true;
  }

  bool add_composite(const PDF_TT_COMPOSITE& composite) {
    const PDF_TT_PART* const parts = codes_->parts + composite.first;
    GrowArray<GlyphBox> boxes;
    for (std::uint32_t i = 0; i < composite.count; ++i) {
      if (!boxes.push(parts[i].glyph < boxes_.size() ? boxes_[parts[i].glyph] : GlyphBox{}))
        return false;
    }
    const GlyphBox box = put_composite(glyf_, parts, composite.count, boxes);
    hmtx_.u16(composite.width);
    hmtx_.i16(box.left);
    if (face_.is_vertical())
      put_vertical(parts[0].glyph, box.top);
    most_parts_ = std::max(most_parts_, composite.count);
    ++glyph_count_;
    return true;
  }

  void put_vertical(std::uint32_t glyph, int top) {
    int advance = face_.units_per_em();
    int origin = advance * kVerticalOrigin / 1000;
    face_.vertical_metrics(glyph, advance, origin);
    vmtx_.u16(static_cast<std::uint32_t>(std::clamp(advance, 0, 65535)));
    vmtx_.i16(std::clamp(origin - top, -32768, 32767));
    tallest_ = std::max(tallest_, advance);
  }

  void build_vhea() {
    const int half = face_.units_per_em() / 2;
    vhea_.u32(0x00010000);
    vhea_.i16(half);
    vhea_.i16(-half);
    vhea_.u16(0);
    vhea_.u16(static_cast<std::uint32_t>(std::clamp(tallest_, 0, 65535)));
    vhea_.zeros(6);  // bearings and extent are hints of no use to a viewer
    vhea_.u16(0);    // caret slope: horizontal
    vhea_.u16(1);
    vhea_.zeros(12);
    vhea_.u16(glyph_count_);
  }

  static bool has_cubics(const FT_Outline& outline) {
    for (int i = 0; i < outline.n_points; ++i) {
      if (FT_CURVE_TAG(outline.tags[i]) == FT_CURVE_TAG_CUBIC)
        return true;
    }
    return false;
  }

  void put_outline(const FT_Outline& outline, const Box& box) {
    glyf_.i16(outline.n_contours);
    glyf_.i16(box.left);
    glyf_.i16(box.bottom);
    glyf_.i16(box.right);
    glyf_.i16(box.top);
    for (int i = 0; i < outline.n_contours; ++i)
      glyf_.i16(outline.contours[i]);
    glyf_.u16(0);  // no instructions
    put_flags(outline);
    put_coordinates(outline);
    glyf_.align4();
    most_points_ = std::max(most_points_, static_cast<std::uint32_t>(outline.n_points));
    most_contours_ = std::max(most_contours_, static_cast<std::uint32_t>(outline.n_contours));
  }

  static std::uint32_t point_flags(const FT_Outline& outline, int index, int& dx, int& dy) {
    const FT_Vector before = index > 0 ? outline.points[index - 1] : FT_Vector{0, 0};
    dx = static_cast<int>(outline.points[index].x - before.x);
    dy = static_cast<int>(outline.points[index].y - before.y);
    const std::uint32_t on = FT_CURVE_TAG(outline.tags[index]) == FT_CURVE_TAG_ON ? kOnCurve : 0U;
    return on | delta_flags(dx, kShortX, kSameX) | delta_flags(dy, kShortY, kSameY);
  }

  void put_flags(const FT_Outline& outline) {
    int dx = 0;
    int dy = 0;
    for (int i = 0; i < outline.n_points;) {
      const std::uint32_t flags = point_flags(outline, i, dx, dy);
      std::uint32_t repeats = 0;
      ++i;
      while (i < outline.n_points && repeats < kMostRepeats && point_flags(outline, i, dx, dy) == flags) {
        ++repeats;
        ++i;
      }
      glyf_.u8(flags | (repeats != 0 ? kRepeat : 0U));
      if (repeats != 0)
        glyf_.u8(repeats);
    }
  }

  void put_coordinates(const FT_Outline& outline) {
    int dx = 0;
    int dy = 0;
    for (int i = 0; i < outline.n_points; ++i) {
      const std::uint32_t flags = point_flags(outline, i, dx, dy);
      put_delta(glyf_, dx, flags, kShortX, kSameX);
    }
    for (int i = 0; i < outline.n_points; ++i) {
      const std::uint32_t flags = point_flags(outline, i, dx, dy);
      put_delta(glyf_, dy, flags, kShortY, kSameY);
    }
  }

  CQVFTFont& face_;
  const CQVTTCodesRec* codes_;
  std::uint32_t glyph_count_ = 0;
  TTBytes glyf_, loca_, hmtx_, vmtx_, head_, hhea_, vhea_, maxp_;
  Box box_;
  QuadraticOutline quadratic_;
  GrowArray<GlyphBox> boxes_;  // by glyph, where composites need them
  std::uint32_t most_parts_ = 0;
  bool any_ = false;
  int widest_ = 0;
  int tallest_ = 0;
  int least_right_bearing_ = 32767;
  std::uint32_t most_points_ = 0;
  std::uint32_t most_contours_ = 0;
};

// "post" with the slant added to its angle; empty when the font has none.
void build_post(const CQVTTParser& parser, const CQVFTFont& face, TTBytes& post) {
  std::uint32_t length = 0;
  const HeapBlock<std::uint8_t> block(parser.load(tt_tag("post"), length));
  if (!block || length < 8)
    return;
  if (face.is_italic())
    tt_put32(block.get() + 4, tt_u32(block.get() + 4) + static_cast<std::uint32_t>(kItalicTurn));
  post.bytes(block.get(), length);
}

}  // namespace

int CQVTTWriter::SaveFontData2(CQVStream* out, CQVFTFont* face, const CQVTTCodesRec* codes) {
  if (!loaded_ || face == nullptr || face->face_handle == nullptr || (!has_outlines() && !has_cubic_outlines()))
    return 1;
  StyledTables tables(*face, codes);
  if (!tables.build_glyphs() || !tables.build_headers(parser_))
    return 1;
  TTAssembly assembly;
  tables.add_to(assembly);
  TTBytes post;
  if (codes == nullptr) {
    for (const std::uint32_t tag : kCopiedTables) {
      if (const PDF_TT_TABLE* table = parser_.find(tag))
        assembly.copy(parser_, *table);
    }
    build_post(parser_, *face, post);
    if (post.size() != 0)
      assembly.add(tt_tag("post"), post);
  }
  return assembly.write(out) ? 0 : 1;
}
