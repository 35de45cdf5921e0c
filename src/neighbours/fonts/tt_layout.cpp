#include "neighbours/fonts/tt_layout.h"

#include <hb-ot.h>

#include <algorithm>

#include "base/scope_guard.h"
#include "neighbours/fonts/ft_font.h"

namespace {

hb_blob_t* load_blob(hb_face_t*, hb_tag_t tag, void* context) {
  std::uint32_t length = 0;
  std::uint8_t* const block = static_cast<CQVFTFont*>(context)->load_table(tag, length);
  if (block == nullptr)
    return nullptr;
  return hb_blob_create(reinterpret_cast<const char*>(block), length, HB_MEMORY_MODE_WRITABLE, block, QVFree);
}

}  // namespace

void CQVTTLayout::load(CQVFTFont& face) {
  forms_.clear();
  hb_face_t* const tables = hb_face_create_for_tables(load_blob, &face, nullptr);
  hb_set_t* const lookups = hb_set_create();
  hb_set_t* const glyphs = hb_set_create();
  const ScopeGuard release([tables, lookups, glyphs] {
    hb_set_destroy(glyphs);
    hb_set_destroy(lookups);
    hb_face_destroy(tables);
  });
  const hb_tag_t features[] = {HB_TAG('v', 'e', 'r', 't'), HB_TAG('v', 'r', 't', '2'), HB_TAG_NONE};
  hb_ot_layout_collect_lookups(tables, HB_OT_TAG_GSUB, nullptr, nullptr, features, lookups);
  for (hb_codepoint_t lookup = HB_SET_VALUE_INVALID; hb_set_next(lookups, &lookup);) {
    hb_set_clear(glyphs);
    hb_ot_layout_lookup_collect_glyphs(tables, HB_OT_TAG_GSUB, lookup, nullptr, glyphs, nullptr, nullptr);
    for (hb_codepoint_t glyph = HB_SET_VALUE_INVALID; hb_set_next(glyphs, &glyph);) {
      hb_codepoint_t form = 0;
      unsigned count = 1;
      hb_ot_layout_lookup_get_glyph_alternates(tables, lookup, glyph, 0, &count, &form);
      if (count == 0 || glyph > UINT16_MAX || form >= face.glyph_count())
        continue;
      if (!forms_.push({static_cast<std::uint16_t>(glyph), static_cast<std::uint16_t>(form)}))
        return;
    }
  }
  const auto by_glyph = [](const Form& a, const Form& b) { return a.glyph < b.glyph; };
  std::stable_sort(forms_.begin(), forms_.end(), by_glyph);
}

std::uint32_t CQVTTLayout::vertical_form(std::uint32_t glyph) const {
  const Form* const at = std::lower_bound(forms_.begin(), forms_.end(), glyph,
                                          [](const Form& form, std::uint32_t key) { return form.glyph < key; });
  return at != forms_.end() && at->glyph == glyph ? at->vertical : glyph;
}
