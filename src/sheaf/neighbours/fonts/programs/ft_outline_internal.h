// A glyph's outline in font units, with the synthetic style of its face worked in.
#pragma once

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

#include "sheaf/neighbours/fonts/programs/ft_font.h"

namespace sheaf {

class StyledOutline {
public:
  /// Loads the outline of `glyph`; null when the face has none for it or it is no outline. Borrowed;
  /// valid until the next glyph is loaded.
  static FT_Outline* load(CQVFTFont& font, std::uint32_t glyph);
};

}  // namespace sheaf
