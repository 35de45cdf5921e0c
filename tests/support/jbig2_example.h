// The worked example of ITU-T T.88, Annex H: its test sequence for the arithmetic decoder, and its
// file of three pages, segment by segment.
#pragma once

#include <string>
#include <vector>

namespace jb2_test {

/// Bytes from hexadecimal text; blanks are for the reader.
inline std::string from_hex(const std::string& text) {
  std::string bytes;
  std::string digits;
  for (const char c : text) {
    if (c == ' ')
      continue;
    digits += c;
    if (digits.size() < 2)
      continue;
    bytes += static_cast<char>(std::stoi(digits, nullptr, 16));
    digits.clear();
  }
  return bytes;
}

/// H.2: the coded sequence and what it decodes to, all decisions in one context.
inline const char* const kSequenceCoded =
    "84 C7 3B FC E1 A1 43 04 02 20 00 00 41 0D BB 86 F4 31 7F FF 88 FF 37 47 1A DB 6A DF FF AC";
inline const char* const kSequence =
    "00 02 00 51 00 00 00 C0 03 52 87 2A AA AA AA AA 82 C0 20 00 FC D7 9E F6 BF 7F ED 90 4F 46 A3 BF";

/// H.1: the header of the file, which is sequential.
inline const char* const kExampleHeader = "97 4A 42 32 0D 0A 1A 0A 01 00 00 00 03";

/// H.1: the segments. 0 to 7 are the first page with its global symbol (Huffman codes and MMR), 8 to
/// 14 the second (arithmetic coding), which looks the same, 15 to 20 the third (aggregates).
inline const std::vector<std::string>& example_segments() {
  static const std::vector<std::string> segments = {
      "00 00 00 00 00 01 00 00 00 00 18 00 01 00 00 00 01 00 00 00 01 E9 CB F4 00 26 AF 04 BF F0 78 2F E0 00 40",
      "00 00 00 01 30 00 01 00 00 00 13 00 00 00 40 00 00 00 38 00 00 00 00 00 00 00 00 01 00 00",
      "00 00 00 02 00 01 01 00 00 00 1C 00 01 00 00 00 02 00 00 00 02 E5 CD F8 00 79 E0 84 10 81 F0 82 10 86 10 79 "
      "F0 00 80",
      "00 00 00 03 07 42 00 02 01 00 00 00 31 00 00 00 25 00 00 00 08 00 00 00 04 00 00 00 01 00 0C 09 00 10 00 00 "
      "00 05 01 10 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 0C 40 07 08 70 41 D0",
      "00 00 00 04 27 00 01 00 00 00 2C 00 00 00 36 00 00 00 2C 00 00 00 04 00 00 00 0B 00 01 26 A0 71 CE A7 FF FF "
      "FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF F8 F0",
      "00 00 00 05 10 01 01 00 00 00 2D 01 04 04 00 00 00 0F 20 D1 84 61 18 45 F2 F9 7C 8F 11 C3 9E 45 F2 F9 7D 42 "
      "85 0A AA 84 62 2F EE EC 44 62 22 35 2A 0A 83 B9 DC EE 77 80",
      "00 00 00 06 17 20 05 01 00 00 00 57 00 00 00 20 00 00 00 24 00 00 00 10 00 00 00 0F 00 01 00 00 00 08 00 00 "
      "00 09 00 00 00 00 00 00 00 00 04 00 00 00 AA AA AA AA 80 08 00 80 36 D5 55 6B 5A D4 00 40 04 2E E9 52 D2 D2 "
      "D2 8A A5 4A 00 20 02 23 E0 95 24 B4 92 8A 4A 92 54 92 D2 4A 29 2A 49 40 04 00 40",
      "00 00 00 07 31 00 01 00 00 00 00",
      "00 00 00 08 30 00 02 00 00 00 13 00 00 00 40 00 00 00 38 00 00 00 00 00 00 00 00 01 00 00",
      "00 00 00 09 00 01 02 00 00 00 1B 08 00 02 FF 00 00 00 02 00 00 00 02 4F E7 8C 20 0E 1D C7 CF 01 11 C4 B2 6F "
      "FF AC",
      "00 00 00 0A 07 40 00 09 02 00 00 00 1F 00 00 00 25 00 00 00 08 00 00 00 04 00 00 00 01 00 0C 08 00 00 00 05 "
      "8D 6E 5A 12 40 85 FF AC",
      "00 00 00 0B 27 00 02 00 00 00 23 00 00 00 36 00 00 00 2C 00 00 00 04 00 00 00 0B 00 08 03 FF FD FF 02 FE FE "
      "FE 04 EE ED 87 FB CB 2B FF AC",
      "00 00 00 0C 10 01 02 00 00 00 1C 06 04 04 00 00 00 0F 90 71 6B 6D 99 A7 AA 49 7D F2 E5 48 1F DC 68 BC 6E 40 "
      "BB FF AC",
      "00 00 00 0D 17 20 0C 02 00 00 00 3E 00 00 00 20 00 00 00 24 00 00 00 10 00 00 00 0F 00 02 00 00 00 08 00 00 "
      "00 09 00 00 00 00 00 00 00 00 04 00 00 00 87 CB 82 1E 66 A4 14 EB 3C 4A 15 FA CC D6 F3 B1 6F 4C ED BF A7 BF "
      "FF AC",
      "00 00 00 0E 31 00 02 00 00 00 00",
      "00 00 00 0F 30 00 03 00 00 00 13 00 00 00 25 00 00 00 08 00 00 00 00 00 00 00 00 01 00 00",
      "00 00 00 10 00 01 00 00 00 00 16 08 00 02 FF 00 00 00 01 00 00 00 01 4F E7 8D 68 1B 14 2F 3F FF AC",
      "00 00 00 11 00 21 10 03 00 00 00 20 08 02 02 FF FF FF FF FF 00 00 00 03 00 00 00 02 4F E9 D7 D5 90 C3 B5 26 "
      "A7 FB 6D 14 98 3F FF AC",
      "00 00 00 12 07 20 11 03 00 00 00 25 00 00 00 25 00 00 00 08 00 00 00 00 00 00 00 00 00 8C 12 00 00 00 04 A9 "
      "5C 8B F4 C3 7D 96 6A 28 E5 76 8F FF AC",
      "00 00 00 13 31 00 03 00 00 00 00",
      "00 00 00 14 33 00 00 00 00 00 00",
  };
  return segments;
}

/// The segments from `first` to `last`, behind the file's header if asked for.
inline std::string example(int first, int last, bool with_header) {
  std::string bytes = with_header ? from_hex(kExampleHeader) : "";
  for (int i = first; i <= last; ++i)
    bytes += from_hex(example_segments()[static_cast<std::size_t>(i)]);
  return bytes;
}

}  // namespace jb2_test
