// The blend modes of the standard (ISO 32000-1, 11.3.5).
#include "sheaf/neighbours/page/blend_mode.h"

#include <array>
#include <cstddef>

namespace {

constexpr std::array kBlendNames = {
    // table 136, the separable modes
    "Normal",
    "Multiply",
    "Screen",
    "Overlay",
    "Darken",
    "Lighten",
    "ColorDodge",
    "ColorBurn",
    "HardLight",
    "SoftLight",
    "Difference",
    "Exclusion",
    // table 137, the others
    "Hue",
    "Saturation",
    "Color",
    "Luminosity",
};
static_assert(kBlendNames.size() == 16);

}  // namespace

const char* get_blend_name(int mode) {
  const bool known = mode >= 0 && static_cast<std::size_t>(mode) < kBlendNames.size();
  return kBlendNames[known ? static_cast<std::size_t>(mode) : 0];
}
