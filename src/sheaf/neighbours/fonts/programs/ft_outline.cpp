// Synthetic styles, and what is measured on outlines.
#include <algorithm>

#include "sheaf/base/grow_array.h"
#include "sheaf/neighbours/fonts/programs/ft_outline_internal.h"

using namespace sheaf;

namespace {

constexpr FT_Fixed kSlant = 0x0366A;  // tan(12 degrees), what most oblique designs have
constexpr int kBoldDivisor = 24;      // a stroke gains a twenty-fourth of the em

// Far above what any script's composite glyphs have. A few glyphs that are parts of one another twice
// over would otherwise keep the rasteriser busy for ever.
constexpr std::size_t kMostParts = 1000;

// Appends the parts of a composite glyph that was loaded without them.
bool push_parts(FT_GlyphSlot slot, GrowArray<FT_UInt>& parts) {
  if (slot->format != FT_GLYPH_FORMAT_COMPOSITE)
    return true;
  for (FT_UInt i = 0; i < slot->num_subglyphs; ++i) {
    FT_Int part = 0;
    FT_UInt flags = 0;
    FT_Int x = 0;
    FT_Int y = 0;
    FT_Matrix shape;
    if (FT_Get_SubGlyph_Info(slot, i, &part, &flags, &x, &y, &shape) != 0 || parts.size() == kMostParts ||
        !parts.push(static_cast<FT_UInt>(part)))
      return false;
  }
  return true;
}

// Emboldening keeps the lower left corner; half of it back keeps the glyph centred on its advance.
void embolden(FT_Outline& outline, FT_Pos strength) {
  FT_Outline_Embolden(&outline, strength);
  FT_Outline_Translate(&outline, -strength / 2, -strength / 2);
}

void slant(FT_Outline& outline) {
  FT_Matrix shear{0x10000, kSlant, 0, 0x10000};
  FT_Outline_Transform(&outline, &shear);
}

// Where the outline's straight or curved sides cross the horizontal line at `height`. Control
// points replace curves: on an upright stroke there are none.
bool crossings(const FT_Outline& outline, FT_Pos height, GrowArray<FT_Pos>& at) {
  int first = 0;
  for (int contour = 0; contour < outline.n_contours; ++contour) {
    const int last = outline.contours[contour];
    for (int i = first; i <= last; ++i) {
      const FT_Vector a = outline.points[i];
      const FT_Vector b = outline.points[i == last ? first : i + 1];
      if ((a.y > height) == (b.y > height))
        continue;
      if (!at.push(a.x + (b.x - a.x) * (height - a.y) / (b.y - a.y)))
        return false;
    }
    first = last + 1;
  }
  return true;
}

}  // namespace

bool CQVFTFont::load_glyph(std::uint32_t glyph) {
  const auto face = static_cast<FT_Face>(face_handle);
  if (FT_Load_Glyph(face, glyph, FT_LOAD_NO_RECURSE) != 0)
    return false;
  if (face->glyph->format != FT_GLYPH_FORMAT_COMPOSITE)
    return true;
  GrowArray<FT_UInt> waiting;
  if (!push_parts(face->glyph, waiting))
    return false;
  for (std::size_t seen = 0; !waiting.empty(); ++seen) {
    const FT_UInt part = waiting.back();
    waiting.pop();
    if (seen == kMostParts || FT_Load_Glyph(face, part, FT_LOAD_NO_RECURSE) != 0 || !push_parts(face->glyph, waiting))
      return false;
  }
  return FT_Load_Glyph(face, glyph, FT_LOAD_NO_SCALE) == 0;
}

namespace sheaf {

FT_Outline* StyledOutline::load(CQVFTFont& font, std::uint32_t glyph) {
  const auto face = static_cast<FT_Face>(font.face_handle);
  if (!font.load_glyph(glyph) || face->glyph->format != FT_GLYPH_FORMAT_OUTLINE)
    return nullptr;
  FT_Outline& outline = face->glyph->outline;
  if (font.bold_)
    embolden(outline, font.units_per_em() / kBoldDivisor);
  if (font.italic_)
    slant(outline);
  return &outline;
}

}  // namespace sheaf

int CQVFTFont::stem_width() {
  for (const char32_t letter : {U'l', U'I', U'1'}) {
    const std::uint32_t glyph = glyph_index(letter);
    const auto face = static_cast<FT_Face>(face_handle);
    if (glyph == 0 || !load_glyph(glyph) || face->glyph->format != FT_GLYPH_FORMAT_OUTLINE)
      continue;
    FT_BBox box;
    FT_Outline_Get_CBox(&face->glyph->outline, &box);
    GrowArray<FT_Pos> at;
    if (!crossings(face->glyph->outline, (box.yMin + box.yMax) / 2, at) || at.size() < 2)
      continue;
    std::sort(at.begin(), at.end());
    return static_cast<int>(at[1] - at[0]);
  }
  return 0;
}
