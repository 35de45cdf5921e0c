// The table of PDFDocEncoding, made from Latin-1 and the two stretches that differ from it
// (ISO 32000-1, D.3).
#include "sheaf/base/doc_encoding.h"

using namespace sheaf;

namespace {

// The two stretches in which PDFDocEncoding differs from Latin-1 (ISO 32000-1, D.3).
constexpr std::uint32_t kAccents[8] = {0x02D8, 0x02C7, 0x02C6, 0x02D9, 0x02DD, 0x02DB, 0x02DA, 0x02DC};  // 0x18 on
constexpr std::uint32_t kSpecials[33] = {0x2022, 0x2020, 0x2021, 0x2026, 0x2014, 0x2013, 0x0192, 0x2044, 0x2039,
                                         0x203A, 0x2212, 0x2030, 0x201E, 0x201C, 0x201D, 0x2018, 0x2019, 0x201A,
                                         0x2122, 0xFB01, 0xFB02, 0x0141, 0x0152, 0x0160, 0x0178, 0x017D, 0x0131,
                                         0x0142, 0x0153, 0x0161, 0x017E, 0,      0x20AC};  // 0x80 on

constexpr std::array<std::uint32_t, 256> make_table() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t byte = 0; byte < 256; ++byte)
    table[byte] = byte;
  for (std::uint32_t i = 0; i < 8; ++i)
    table[0x18 + i] = kAccents[i];
  for (std::uint32_t i = 0; i < 33; ++i)
    table[0x80 + i] = kSpecials[i];
  table[0x7F] = 0;
  table[0xAD] = 0;
  return table;
}

constexpr std::array<std::uint32_t, 256> kTable = make_table();
static_assert(kTable[0x80] == 0x2022 && kTable[0x92] == 0x2122 && kTable[0xA0] == 0x20AC && kTable[0xE9] == 0xE9);

}  // namespace

constexpr std::array<std::uint32_t, 256> PDF_DocEncoding = kTable;

namespace sheaf {

int doc_encoding_byte(std::uint32_t code) {
  if (code == 0)
    return -1;
  for (int byte = 0; byte < 256; ++byte) {
    if (kTable[static_cast<std::size_t>(byte)] == code)
      return byte;
  }
  return -1;
}

}  // namespace sheaf
