// The colour profile that goes into every document saved: Adobe RGB (1998), as a zlib stream.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "sheaf/base/chars.h"

namespace sheaf {

constexpr std::size_t kPdfaProfileSize = 279;

// 32 bytes a line, in hexadecimal.
constexpr char kPdfaProfileText[] =
    "68DE626060327074717265126060C8CD2B290A72775288888C52603FCFC0C6C0"
    "CC000689C9C5058E01013E20765E7E5E2A0306F8768D8111445FD60599C5401A"
    "E04A2E282A01D27F80D82825B538998181D100C8CE2E2F29008A33CE01B24592"
    "B2C1EC0D207651489033907D04C8E64B87B0AF80D84910F61310BB08E80920FB"
    "0B487D3A98CDC4013607C29601B14B522B40F63238E717541665A6679428185A"
    "5A5A2A38A6E427A52A04571697A4E6162B78E625E71715E4172596A4A600D542"
    "DC0706821085A010D3006AB4D064A03200C50384F539101CBE8C626710620890"
    "5C5A54066532321913E623CC9823C1C0E0BF948181E50F42CCA4978161810E03"
    "03FF5484989A210383803E03C3BE3900010600C0C64FFD";
static_assert(sizeof(kPdfaProfileText) == 2 * kPdfaProfileSize + 1);

}  // namespace sheaf

constexpr std::array<std::uint8_t, sheaf::kPdfaProfileSize> PDFA_RGB = []() {
  std::array<std::uint8_t, sheaf::kPdfaProfileSize> bytes{};
  for (std::size_t i = 0; i < bytes.size(); ++i)
    bytes[i] = static_cast<std::uint8_t>(sheaf::hex_value(sheaf::kPdfaProfileText[2 * i]) * 16 +
                                         sheaf::hex_value(sheaf::kPdfaProfileText[2 * i + 1]));
  return bytes;
}();
