// ASCIIHex, ASCII85, RunLength and LZW by vectors from the standards and by hand.
#include <gtest/gtest.h>

#include <string>

#include "filters/filter_support.h"
#include "filters/lzw_encoder.h"
#include "sheaf/filters/ascii_hex.h"
#include "sheaf/filters/run_length.h"

using namespace sheaf;

namespace {

struct Vector {
  const char* label;
  const char* filter;
  std::string_view input;
  std::string_view output;
  const char* parms = "";
};

const std::string kLongestRun(128, 'y');

const Vector kVectors[] = {
    {"white space", "ASCIIHexDecode", "41 42>", "AB"},
    {"odd count", "AHx", "414", "A@"},
    {"marker ends nothing", "AHx", "41>42", "AB"},
    {"junk within a byte", "AHx", "4>1", "A"},
    {"junk behind the last digit", "AHx", "414xyz", "A@"},
    {"no digit", "AHx", "xyz >", ""},
    {"both cases", "AHx", "aFAf", "\xAF\xAF"},
    {"whole text", "ASCII85Decode", "9jqo^BlbD-BleB1DJ+*+F(f,q~>", "Man is distinguished"},
    {"short group", "A85", "9jqo^BlbD-BleB1DJ+*+F(f,q/0JhKF<GL>Cj@.4Gl~>", "Man is distinguished, not only by"},
    {"start marker and line ends", "A85", " <~9jqo^\r\nBl bD-~>", "Man is d"},
    {"zeros", "A85", "zz!!~>", "\0\0\0\0\0\0\0\0\0"sv},
    {"lone last digit is dropped", "A85", "9jqo^B~>", "Man "},
    {"nothing behind the marker", "A85", "9jqo^~>9jqo^", "Man "},
    {"group beyond 32 bits wraps", "A85", "uuuuu", "\x08\x78\x0E\xC4"},
    {"literal, repeat, end", "RunLengthDecode",
     "\x02"
     "abc\xFEx\x80"
     "zz"sv,
     "abcxxx"},
    {"longest repeat", "RL", "\x81y"sv, kLongestRun},
    {"literal cut off", "RL",
     "\x05"
     "ab"sv,
     "ab"},
    {"repeat cut off", "RL",
     "\x00"
     "a\xFE"sv,
     "a"},
    {"example of the standard", "LZWDecode", "\x80\x0B\x60\x50\x22\x0C\x0C\x85\x01", "-----A---B"},
    {"no clear code in front", "LZW", "\x16\xC0\xA0\x20", "---"},
    {"code that cannot be", "LZW", "\x80\x0B\x7F\xFF\xFF", "-"},
    {"cut off in a code", "LZW", "\x80\x0B\x60\x50", "---"},
};

TEST(SmallDecoders, DecodeKnownVectorsWhateverTheStep) {
  for (const Vector& v : kVectors) {
    SCOPED_TRACE(v.label);
    for (const int step : {1, 2, 3, 128, 4096})
      EXPECT_EQ(decoded(v.filter, v.input, v.parms, step), v.output) << step;
  }
}

TEST(SmallDecoders, EveryPrefixOfGoodInputGivesABeginningOfTheOutput) {
  for (const Vector& v : kVectors) {
    for (std::size_t len = 0; len < v.input.size(); ++len) {
      const std::string part = decoded(v.filter, v.input.substr(0, len), v.parms);
      // The last byte of a cut hexadecimal or base-85 text is made of what is there.
      const std::size_t sure = part.empty() ? 0 : part.size() - 1;
      EXPECT_EQ(part.substr(0, sure), v.output.substr(0, sure)) << v.label << " " << len;
      EXPECT_LE(part.size(), v.output.size()) << v.label << " " << len;
    }
  }
}

TEST(SmallDecoders, HexStopsWhereTheRequestEnds) {
  CPDFStreamASCIIHex hex(block_of("414243"), 6);
  char out[2];
  EXPECT_EQ(hex.read_block(out, 0), 0);
  EXPECT_EQ(hex.read_block(out, 2), 2);
  EXPECT_EQ(hex.left, 2);
  EXPECT_EQ(hex.read_block(out, 2), 1);
  EXPECT_EQ(out[0], 'C');
}

TEST(SmallDecoders, RunLengthDecodesTheNextRunOneStepEarly) {
  CPDFStreamRunlen runs(block_of("\x01"
                                 "ab\xFFz"sv),
                        5);
  char out[2];
  EXPECT_EQ(runs.read_block(out, 2), 2);
  EXPECT_EQ(runs.left, 0);
  EXPECT_EQ(runs.run_end - runs.run_start, 2);
  EXPECT_EQ(read_all(runs), "zz");
}

TEST(LZW, RoundTripsThroughAllWidthsAndAFullTable) {
  for (const std::size_t size : {300u, 700u, 5000u, 200000u}) {
    const std::string bytes = sample_bytes(size);
    for (const int early : {0, 1}) {
      const std::string parms = "<</EarlyChange " + std::to_string(early) + ">>";
      for (const bool clears : {true, false})
        EXPECT_EQ(decoded("LZWDecode", lzw_encoded(bytes, early, clears), parms, 1000), bytes)
            << size << early << clears;
    }
  }
  const std::string same(100000, 'a');  // each code defines itself
  EXPECT_EQ(decoded("LZW", lzw_encoded(same, 1, true)), same);
}

TEST(LZW, StatesItsSizeAndReadsBytesAndBlocksFromOneBuffer) {
  const std::string bytes = sample_bytes(4000);
  const std::string coded = lzw_encoded(bytes, 1, true);
  const StreamPtr decoder = decoder_of("LZW", coded);
  EXPECT_EQ(decoder->filter_type, kFilterLZW);
  EXPECT_EQ(decoder->size_hint, static_cast<int>(2 * coded.size()));
  auto& lzw = static_cast<CPDFStream2&>(*decoder);
  char out[10];
  EXPECT_EQ(lzw.get_char2(), static_cast<unsigned char>(bytes[0]));
  EXPECT_EQ(lzw.read_block2(out, 10), 10);
  EXPECT_EQ(std::string(out, 10), bytes.substr(1, 10));
  EXPECT_EQ(lzw.get_char2(), static_cast<unsigned char>(bytes[11]));
  EXPECT_EQ(read_all(lzw, 7), bytes.substr(12));
  EXPECT_EQ(lzw.get_char2(), -1);
}

}  // namespace
