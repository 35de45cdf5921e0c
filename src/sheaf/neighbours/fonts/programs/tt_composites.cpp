// Offsets become long ones, and every glyph gets an advance of its own: both are then simple to go on with.
#include "sheaf/neighbours/fonts/programs/tt_composites_internal.h"

#include <algorithm>

namespace sheaf {

namespace {

enum PartFlag : std::uint32_t { kWords = 0x1, kOffsets = 0x2, kMore = 0x20, kUnscaledOffsets = 0x1000 };

constexpr std::uint32_t kGlyphHead = 10;
constexpr std::uint32_t kMaxpSize = 32;

LoadedTable* find(GrowArray<LoadedTable>& tables, std::uint32_t tag) {
  for (LoadedTable& table : tables) {
    if (table.tag == tag)
      return &table;
  }
  return nullptr;
}

bool replace(LoadedTable& table, TTBytes& bytes) {
  auto* const block = bytes.ok() ? static_cast<std::uint8_t*>(QVAlloc(bytes.size() + 1)) : nullptr;
  if (block == nullptr)
    return false;
  std::memcpy(block, bytes.data(), bytes.size());
  QVFree(table.block);
  table.block = block;
  table.length = bytes.size();
  return true;
}

class Extension {
public:
  Extension(GrowArray<LoadedTable>& tables, const CQVTTCodesRec& codes)
      : codes_(codes),
        glyf_(find(tables, tt_tag("glyf"))),
        loca_(find(tables, tt_tag("loca"))),
        hmtx_(find(tables, tt_tag("hmtx"))),
        head_(find(tables, tt_tag("head"))),
        hhea_(find(tables, tt_tag("hhea"))),
        maxp_(find(tables, tt_tag("maxp"))) {}

  bool run() {
    if (glyf_ == nullptr || loca_ == nullptr || hmtx_ == nullptr || head_ == nullptr || head_->length < 54 ||
        hhea_ == nullptr || hhea_->length < 36 || maxp_ == nullptr || maxp_->length < kMaxpSize)
      return false;
    is_long_ = tt_u16(head_->block + 50) != 0;
    metrics_ = tt_u16(hhea_->block + 34);
    count_ = tt_u16(maxp_->block + 4);
    if (count_ != codes_.face_glyphs || count_ + codes_.composite_count > UINT16_MAX || metrics_ == 0 ||
        hmtx_->length / 4 < metrics_ || loca_->length / (is_long_ ? 4 : 2) < count_ + 1)
      return false;
    return put_outlines() && put_metrics() && put_counts();
  }

private:
  std::uint32_t offset(std::uint32_t glyph) const {
    return is_long_ ? tt_u32(loca_->block + glyph * 4) : std::uint32_t{tt_u16(loca_->block + glyph * 2)} * 2;
  }

  GlyphBox box(std::uint32_t glyph) const {
    const std::uint32_t at = glyph < count_ ? offset(glyph) : glyf_->length;
    if (glyph >= count_ || offset(glyph + 1) < at + kGlyphHead || at > glyf_->length - kGlyphHead)
      return {};
    const std::uint8_t* const head = glyf_->block + at;
    return {tt_i16(head + 2), tt_i16(head + 4), tt_i16(head + 6), tt_i16(head + 8)};
  }

  bool put_outlines() {
    TTBytes further;
    TTBytes loca;
    const std::uint32_t base = glyf_->length + tt_padding(glyf_->length);
    for (std::uint32_t i = 0; i < count_; ++i)
      loca.u32(offset(i));
    GrowArray<GlyphBox> boxes;
    for (std::uint32_t i = 0; i < codes_.composite_count; ++i) {
      const PDF_TT_COMPOSITE& composite = codes_.composites[i];
      const PDF_TT_PART* const parts = codes_.parts + composite.first;
      boxes.clear();
      for (std::uint32_t part = 0; part < composite.count; ++part) {
        if (!boxes.push(box(parts[part].glyph)))
          return false;
      }
      loca.u32(base + further.size());
      if (!lefts_.push(put_composite(further, parts, composite.count, boxes).left))
        return false;
      most_parts_ = std::max(most_parts_, composite.count);
    }
    loca.u32(base + further.size());
    auto* const block = further.ok() ? static_cast<std::uint8_t*>(QVCalloc(1, base + further.size())) : nullptr;
    if (block == nullptr)
      return false;
    std::memcpy(block, glyf_->block, glyf_->length);
    std::memcpy(block + base, further.data(), further.size());
    QVFree(glyf_->block);
    glyf_->block = block;
    glyf_->length = base + further.size();
    return replace(*loca_, loca);
  }

  bool put_metrics() {
    TTBytes hmtx;
    for (std::uint32_t i = 0; i < count_; ++i) {
      hmtx.u16(tt_u16(hmtx_->block + std::min(i, metrics_ - 1) * 4));
      const std::uint32_t at = i < metrics_ ? i * 4 + 2 : metrics_ * 4 + (i - metrics_) * 2;
      hmtx.u16(at + 2 <= hmtx_->length ? tt_u16(hmtx_->block + at) : 0U);
    }
    for (std::uint32_t i = 0; i < codes_.composite_count; ++i) {
      hmtx.u16(codes_.composites[i].width);
      hmtx.i16(lefts_[i]);
    }
    return replace(*hmtx_, hmtx);
  }

  // The greatest counts of points and contours are those of one part times the parts, at most.
  bool put_counts() {
    const std::uint32_t all = count_ + codes_.composite_count;
    tt_put16(head_->block + 50, 1);
    tt_put16(hhea_->block + 34, all);
    std::uint8_t* const maxp = maxp_->block;
    tt_put16(maxp + 4, all);
    for (const std::uint32_t at : {6U, 8U}) {
      const std::uint32_t most = std::max(tt_u16(maxp + at), tt_u16(maxp + at + 4)) * most_parts_;
      tt_put16(maxp + at + 4, std::min<std::uint32_t>(most, UINT16_MAX));
    }
    tt_put16(maxp + 28, std::max<std::uint32_t>(tt_u16(maxp + 28), most_parts_));
    tt_put16(maxp + 30, std::min<std::uint32_t>(tt_u16(maxp + 30) + 1U, UINT16_MAX));
    return true;
  }

  const CQVTTCodesRec& codes_;
  LoadedTable* glyf_;
  LoadedTable* loca_;
  LoadedTable* hmtx_;
  LoadedTable* head_;
  LoadedTable* hhea_;
  LoadedTable* maxp_;
  bool is_long_ = false;
  std::uint32_t metrics_ = 0;
  std::uint32_t count_ = 0;
  std::uint32_t most_parts_ = 0;
  GrowArray<int> lefts_;
};

}  // namespace

GlyphBox put_composite(TTBytes& glyf, const PDF_TT_PART* parts, std::uint32_t count, const GrowArray<GlyphBox>& boxes) {
  GlyphBox all{INT16_MAX, INT16_MAX, INT16_MIN, INT16_MIN};
  for (std::uint32_t i = 0; i < count; ++i) {
    const GlyphBox& box = boxes[i];
    if (box.left == box.right)
      continue;  // no outline
    all = {std::min(all.left, box.left + parts[i].x), std::min(all.bottom, box.bottom + parts[i].y),
           std::max(all.right, box.right + parts[i].x), std::max(all.top, box.top + parts[i].y)};
  }
  if (all.left > all.right)
    all = {};
  glyf.i16(-1);
  for (const int side : {all.left, all.bottom, all.right, all.top})
    glyf.i16(std::clamp<int>(side, INT16_MIN, INT16_MAX));
  for (std::uint32_t i = 0; i < count; ++i) {
    glyf.u16(kWords | kOffsets | kUnscaledOffsets | (i + 1 < count ? std::uint32_t{kMore} : 0U));
    glyf.u16(parts[i].glyph);
    glyf.i16(parts[i].x);
    glyf.i16(parts[i].y);
  }
  glyf.align4();
  return all;
}

bool add_composites(GrowArray<LoadedTable>& tables, const CQVTTCodesRec& codes) {
  return codes.composite_count == 0 || Extension(tables, codes).run();
}

}  // namespace sheaf
