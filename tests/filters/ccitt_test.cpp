// CCITT decoding: the tables, bits and code words, whole lines, and what damaged data become.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <sstream>

#include "sheaf/base/heap.h"
#include "sheaf/filters/ccitt.h"
#include "sheaf/filters/ccitt_tables.h"
#include "support/external_tool.h"
#include "support/fax_encoder.h"

using namespace sheaf;

namespace {

// A decoder over bits written as text; blanks are for the reader.
std::unique_ptr<CPDFStreamFAX> decoder(const std::string& bits, int k, int columns, int align = 0, int black_is1 = 1) {
  std::string bytes;
  int used = 0;
  for (const char c : bits) {
    if (c != '0' && c != '1')
      continue;
    if (used % 8 == 0)
      bytes += '\0';
    if (c == '1')
      bytes.back() = static_cast<char>(bytes.back() | 0x80 >> used % 8);
    ++used;
  }
  auto* block = static_cast<std::uint8_t*>(QVAlloc(bytes.size()));
  std::memcpy(block, bytes.data(), bytes.size());
  auto fax = std::make_unique<CPDFStreamFAX>(block, static_cast<int>(bytes.size()));
  fax->open(k, columns, 0, align, black_is1);
  return fax;
}

// The next lines as text: "#" black, "." white, "-" for no line.
std::string lines(CPDFStreamFAX& fax, int count) {
  std::string out;
  std::vector<unsigned char> row(static_cast<std::size_t>(fax.columns + 7) / 8 + 1);
  for (int i = 0; i < count; ++i) {
    if (fax.read_block(row.data(), (fax.columns + 7) / 8) == 0)
      return out + "-";
    for (int x = 0; x < fax.columns; ++x)
      out += (row[static_cast<std::size_t>(x / 8)] >> (7 - x % 8) & 1) != 0 ? '#' : '.';
    out += i + 1 < count ? "/" : "";
  }
  return out;
}

std::string lines(const std::string& bits, int k, int columns, int count, int align = 0) {
  return lines(*decoder(bits, k, columns, align), count);
}

TEST(CcittTables, FieldsAreWhereTheyBelong) {
  const auto white = [](unsigned index) { return CPDFStreamFAX::ms_white[index]; };
  EXPECT_EQ(white(0b0111'000000), 2 << 5 | 4 << 1);
  EXPECT_EQ(white(0b11011'00000), 64 << 5 | 5 << 1 | 1);
  EXPECT_EQ(white(0) >> 1 & 15, 15);
  EXPECT_EQ(white(1), 0);
  EXPECT_EQ(white(4) >> 1 & 15, 12);
  EXPECT_EQ(CPDFStreamFAX::ms_initBlack[0] >> 5, 100);
  EXPECT_EQ(CPDFStreamFAX::ms_initBlack[1] >> 5, 200);
  EXPECT_EQ(CPDFStreamFAX::ms_initBlack[0b1100], 2 << 5 | 2 << 1);
  EXPECT_EQ(CPDFStreamFAX::ms_twoBitBlack[1], 8 << 5 | 2 << 1);
  EXPECT_EQ(CPDFStreamFAX::ms_twoBitBlack[2], 7 << 5 | 1 << 1);
  EXPECT_EQ(CPDFStreamFAX::ms_black[0b100'000000], 10 << 5 | 3 << 1);
  EXPECT_EQ(CPDFStreamFAX::ms_black[3] >> 1 & 15, 15);
  EXPECT_EQ(CPDFStreamFAX::ms_black[17], 0);
  EXPECT_EQ(CPDFStreamFAX::ms_black[40] >> 1 & 15, 12);
  EXPECT_EQ(CPDFStreamFAX::ms_additionalMakeup[0], 1792 << 4 | 3 << 1);
  EXPECT_EQ(CPDFStreamFAX::ms_additionalMakeup[1], 1792 << 4 | 3 << 1);
  EXPECT_EQ(CPDFStreamFAX::ms_additionalMakeup[15], 2560 << 4 | 4 << 1);
  EXPECT_EQ(CPDFStreamFAX::ms_twoDCodes[0b1000000], 5 << 3 | 1);
  EXPECT_EQ(CPDFStreamFAX::ms_twoDCodes[1] >> 3, 11);
  EXPECT_GT(CPDFStreamFAX::ms_twoDCodes[0] >> 3, 8);
  EXPECT_EQ(CPDFStreamFAX::ms_table1[8], 255u);
  EXPECT_EQ(CPDFStreamFAX::ms_table2[3], 0xE0u);
}

TEST(CcittTables, EveryCodeWordGivesItsRun) {
  for (const ccitt::CodeWord& code : ccitt::kWhiteCodes) {
    const std::string end = code.run >= 64 ? "00110101" : "";  // a run of 0 closes make-up codes
    auto fax = decoder(std::string(code.bits) + end + "1111111111", 0, 10);
    EXPECT_EQ(fax->decodeWhiteCodeWord(), static_cast<int>(code.run));
    EXPECT_EQ(fax->byte_pos * 8 + fax->bit_pos, static_cast<int>(code.bits.size() + end.size()));
  }
  for (const ccitt::CodeWord& code : ccitt::kBlackCodes) {
    const std::string end = code.run >= 64 ? "0000110111" : "";
    auto fax = decoder(std::string(code.bits) + end + "1111111111", 0, 10);
    EXPECT_EQ(fax->dec_black_word(), static_cast<int>(code.run));
    EXPECT_EQ(fax->byte_pos * 8 + fax->bit_pos, static_cast<int>(code.bits.size() + end.size()));
  }
  EXPECT_EQ(decoder("000000011111 000000011111 00110101 11", 0, 10)->decodeWhiteCodeWord(), 5120);
  EXPECT_EQ(decoder("00000001000 000000011111 0000110111 11", 0, 10)->dec_black_word(), 4352);
}

TEST(CcittBits, ReadingPastTheEndGivesZerosAndGivingBackReturns) {
  auto fax = decoder("10110101", 0, 10);
  EXPECT_EQ(fax->next_bits(3), 5u);
  EXPECT_EQ(fax->next_bits(12), 0b101010000000u);
  fax->give_back(12);
  EXPECT_EQ(fax->next_bits(5), 0b10101u);
  for (int i = 0; i < 100; ++i)
    EXPECT_EQ(fax->next_bits(12), 0u);
}

TEST(CcittBits, RunsNeverPassTheLine) {
  auto fax = decoder("1", 0, 40);
  const auto drawn = [&](int pos, int count) {
    unsigned char row[6] = {};
    fax->set_bits(row, pos, count);
    std::string text;
    for (const unsigned char byte : row)
      for (int bit = 7; bit >= 0; --bit)
        text += (byte >> bit & 1) != 0 ? '#' : '.';
    return text;
  };
  for (int pos = -1; pos < 42; ++pos) {
    for (const int count : {-1, 0, 1, 2, 7, 8, 9, 31, 100}) {
      std::string expected(48, '.');
      for (int x = pos; pos >= 0 && x < pos + count && x < 40; ++x)
        expected[static_cast<std::size_t>(x)] = '#';
      EXPECT_EQ(drawn(pos, count), expected) << pos << " " << count;
    }
  }
}

TEST(CcittEol, CodesAreFoundAnywhere) {
  auto middle = decoder("10110 00000000 0001 1", 0, 10);
  middle->next_bits(5);
  EXPECT_EQ(middle->seekEOL(), 1);
  EXPECT_EQ(middle->next_bits(12), 1u);
  auto fill = decoder("00000000 00000000 0000 1 1", 0, 10);
  fill->skip_eol();
  EXPECT_EQ(fill->byte_pos * 8 + fill->bit_pos, 21);
  auto none = decoder("0000 0000 0010 1111", 0, 10);
  none->skip_eol();
  EXPECT_EQ(none->byte_pos * 8 + none->bit_pos, 0);
  auto tagged = decoder("00000000 00000001 1 0 11111111", 1, 10);
  EXPECT_EQ(tagged->readEOL(1), 1);
  EXPECT_EQ(tagged->byte_pos * 8 + tagged->bit_pos, 17);
  auto padded = decoder("10101 000 00000000 00000001 1 1111111", 1, 10);
  padded->next_bits(5);
  padded->eol_padded = 1;
  EXPECT_EQ(padded->readEOL(0), 1);
  EXPECT_EQ(padded->byte_pos * 8 + padded->bit_pos, 25);
}

TEST(CcittLines, OneDimensional) {
  EXPECT_EQ(lines("0111 11 1000", 0, 7, 1), "..##...");
  EXPECT_EQ(lines("000000000001 0111 11 1000 000000000001 1111", 0, 7, 2), "..##.../.......");
  EXPECT_EQ(lines("0111 11 1000 000000 0111 11 1000", 0, 7, 2, 1), "..##.../..##...");
  EXPECT_EQ(lines("", 0, 0, 1), "-");
}

TEST(CcittLines, TwoDimensional) {
  // The first T.6 line against white: a horizontal pair, then the closing code.
  EXPECT_EQ(lines("001 0111 11 1  1 1 1", -1, 7, 2), "..##.../..##...");
  EXPECT_EQ(lines("001 0111 11 1  011 1 1", -1, 7, 2), "..##.../...#...");
  EXPECT_EQ(lines("001 0111 11 1  0001 1", -1, 7, 2), "..##.../.......");
  EXPECT_EQ(lines("1 000000000001000000000001", -1, 7, 3), "......./......./.......");
  EXPECT_EQ(lines("000000000001 1 0111 11 1000 000000000001 0 011 1 1 000000000001 0", 2, 7, 2), "..##.../...#...");
}

TEST(CcittLines, BadCodeWordsEndTheLineOrTheData) {
  struct Row {
    const char* what;
    const char* bits;
    int k;
    int count;
    const char* result;
  };
  const Row rows[] = {
      {"white code: ten bits dropped", "0000000010 0111 11 1000", 0, 1, "..##..."},
      {"black code: a run of 0", "0111 0000 000010001 1", 0, 1, "......."},
      {"end of line inside a line", "0111 11 000000000001 0111 11 1000", 0, 2, "..##.../..##..."},
      {"bad mode in a mixed stream", "000000000001 1 0111 11 1000 000000000001 0 0000000", 2, 2, "..##.../-"},
      {"extension in a mixed stream", "000000000001 1 0111 11 1000 000000000001 0 0000001111", 2, 2, "..##.../-"},
      {"bad mode in T.6", "1 001 0111 11 0000000 1", -1, 2, "......./..##..."},
      {"extension without its bits", "0000001 110", -1, 1, "-"},
      {"mixed stream without end-of-line codes", "0111 11 1000 0111", 2, 1, "-"},
      {"tag bit 0 in front of the first line", "000000000001 0 0111 11 1000", 2, 1, "-"},
      {"damage in a mixed stream: on to the next end of line",
       "000000000001 1 0111 11 1000 1111111111 000000000001 1 1000 11 0111", 2, 2, "..##.../...##.."},
  };
  for (const Row& row : rows)
    EXPECT_EQ(lines(row.bits, row.k, 7, row.count), row.result) << row.what;
}

// As many zeros as white pixels and a one for a black pixel; after six zeros or more a one leaves the mode, and a tag
// bit follows. Zeros are counted from the mode's start, and the pass that leaves it draws its pixels a second time with
// a black one after, which is kept as it was made.
TEST(CcittLines, UncompressedModeDrawsItsPixels) {
  const struct {
    const char* what;
    const char* bits;
    const char* row;
  } rows[] = {
      {"2 white, a black one; 2 counted again by leaving, twice", "0000001111 001 0000001 0 1", "..#....##"},
      {"the same, the tag saying black", "0000001111 001 0000001 1 1", "..#....##"},
      {"5 white alone, then one more zero leaves", "0000001111 000001 01 0 1", ".....####"},
      {"left at once", "0000001111 0000001 0 1", "#########"},
      {"the data end within the mode", "0000001111 01 0000", ".#......."},
  };
  for (const auto& row : rows)
    EXPECT_EQ(lines(row.bits, -1, 9, 1), row.row) << row.what;
}

TEST(CcittLines, RandomDataNeitherHangNorOverrun) {
  std::mt19937 random(1);
  for (int round = 0; round < 300; ++round) {
    std::string bits;
    for (int i = 0; i < 600; ++i)
      bits += random() % static_cast<unsigned>(round % 4 + 2) == 0 ? '1' : '0';
    for (const int k : {-1, 0, 3})
      lines(bits, k, 1 + round, 60, round % 2);
  }
  EXPECT_EQ(lines(std::string(64, '0'), -1, 1 << 30, 1), "-");
}

TEST(CcittCorpus, RowsAreAsExpected) {
  const char* corpus = std::getenv("SHEAF_CORPUS");
  const std::filesystem::path folder = std::filesystem::path(corpus != nullptr ? corpus : "") / "ccitt";
  if (corpus == nullptr || !std::filesystem::exists(folder / "expected.tsv"))
    GTEST_SKIP() << "SHEAF_CORPUS names no folder with ccitt cases";
  std::ifstream in(folder / "expected.tsv");
  std::string line;
  std::getline(in, line);
  int cases = 0;
  while (std::getline(in, line)) {
    std::stringstream fields(line);
    std::string name;
    int k = 0;
    int columns = 0;
    int rows = 0;
    int align = 0;
    int black_is1 = 0;
    fields >> name >> k >> columns >> rows >> align >> black_is1;
    const std::string data = read_file(folder / (name + ".ccitt"));
    auto* block = static_cast<std::uint8_t*>(QVAlloc(data.size()));
    std::memcpy(block, data.data(), data.size());
    CPDFStreamFAX fax(block, static_cast<int>(data.size()));
    fax.open(k, columns, rows, align, black_is1);
    std::string decoded;
    std::string row(static_cast<std::size_t>(columns + 7) / 8, '\0');
    for (int i = 0; i < rows && fax.read_block(row.data(), static_cast<int>(row.size())) != 0; ++i)
      decoded += row;
    EXPECT_TRUE(decoded == read_file(folder / (name + ".rows"))) << name;
    ++cases;
  }
  EXPECT_GT(cases, 0);
}

// Pages that libtiff's tools code, in every form, compared row by row.
TEST(CcittPeers, WhatLibtiffCodesComesBack) {
  if (!has_program("fax2tiff") || !has_program("tiffcp") || !has_program("tiffinfo"))
    GTEST_SKIP() << "libtiff's tools are not installed";
  std::mt19937 random(5);
  const TestFolder folder;
  for (const int width : {1, 7, 8, 9, 1728, 2480, 10000}) {
    for (const char* kind : {"blank", "solid", "text", "dither", "ordered dither"}) {
      constexpr int kRows = 20;
      const std::size_t stride = static_cast<std::size_t>(width + 7) / 8;
      std::string pixels(stride * kRows, '\0');
      for (std::size_t i = 0; i < pixels.size(); ++i) {
        const bool inked = *kind == 's' || *kind == 'd' || (*kind == 't' && i / 7 % 3 == 0);
        if (inked)
          pixels[i] = static_cast<char>(*kind == 's' ? 0xFF : *kind == 'd' ? random() : 0x3C);
      }
      if (*kind == 'o') {
        pixels.clear();
        for (const fax_test::Row& row : fax_test::dithered_ramp(width, kRows))
          pixels += fax_test::packed(row);
      }
      const int spare = static_cast<int>(stride) * 8 - width;
      for (std::size_t row = 1; row <= kRows; ++row)
        pixels[row * stride - 1] = static_cast<char>(pixels[row * stride - 1] & 0xFF << spare);
      // An uncompressed bilevel TIFF, MinIsWhite, made by hand: header, one strip, one directory.
      std::string tiff("II*\0", 4);
      const auto put = [&tiff](std::uint32_t value, int bytes) {
        for (int i = 0; i < bytes; ++i)
          tiff += static_cast<char>(value >> (8 * i));
      };
      put(static_cast<std::uint32_t>(8 + pixels.size()), 4);
      tiff += pixels;
      const std::uint32_t entries[][3] = {{256, 4, static_cast<std::uint32_t>(width)},
                                          {257, 4, kRows},
                                          {258, 3, 1},
                                          {259, 3, 1},
                                          {262, 3, 0},
                                          {273, 4, 8},
                                          {277, 3, 1},
                                          {278, 4, kRows},
                                          {279, 4, static_cast<std::uint32_t>(pixels.size())}};
      put(static_cast<std::uint32_t>(std::size(entries)), 2);
      for (const auto& entry : entries) {
        put(entry[0], 2);
        put(entry[1], 2);
        put(1, 4);
        put(entry[2], 4);
      }
      put(0, 4);
      write_file(folder / "in.tif", tiff);
      struct Form {
        const char* option;
        int k;
        int align;
      };
      for (const Form& form : {Form{"g4", -1, 0}, Form{"g3:1d", 0, 0}, Form{"g3:2d", 4, 0}, Form{"g3:1d:fill", 0, 0},
                               Form{"g3:2d:fill", 4, 0}}) {
        const std::string out = folder / "out.tif";
        ASSERT_EQ(
            run_command("tiffcp -r 20 -c " + std::string(form.option) + " " + (folder / "in.tif") + " " + out + " 2>&1")
                .code,
            0);
        const std::string coded = read_file(out);
        const auto word = [&coded](std::size_t at, int bytes) {
          std::uint32_t value = 0;
          for (int i = bytes; i-- > 0;)
            value = value << 8 | static_cast<unsigned char>(coded[at + static_cast<std::size_t>(i)]);
          return value;
        };
        std::uint32_t offset = 0;
        std::uint32_t size = 0;
        const std::size_t directory = word(4, 4);
        for (std::size_t i = 0; i < word(directory, 2); ++i) {
          const std::size_t entry = directory + 2 + 12 * i;
          const std::uint32_t value = word(entry + 8, word(entry + 2, 2) == 3 ? 2 : 4);
          offset = word(entry, 2) == 273 ? value : offset;
          size = word(entry, 2) == 279 ? value : size;
        }
        auto* block = static_cast<std::uint8_t*>(QVAlloc(size));
        std::memcpy(block, coded.data() + offset, size);
        CPDFStreamFAX fax(block, static_cast<int>(size));
        fax.open(form.k, width, kRows, form.align, 1);
        std::string decoded;
        std::string row(stride, '\0');
        for (int i = 0; i < kRows && fax.read_block(row.data(), static_cast<int>(stride)) != 0; ++i)
          decoded += row;
        EXPECT_TRUE(decoded == pixels) << kind << " " << width << " " << form.option;
      }
    }
  }
}

}  // namespace
