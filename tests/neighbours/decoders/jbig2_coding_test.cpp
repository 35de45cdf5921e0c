// The coders beneath JBIG2 regions: arithmetic decisions and integers, Huffman tables, and the
// combination of bitmaps.
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "sheaf/base/heap.h"
#include "sheaf/neighbours/decoders/jbig2/jb2_huffman.h"
#include "support/jbig2_encoder.h"
#include "support/jbig2_example.h"
#include "support/jbig2_pages.h"

using namespace sheaf;

using namespace jb2;
using namespace jb2_test;

namespace {

const std::uint8_t* bytes_of(const std::string& text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

TEST(Jbig2Arithmetic, DecodesTheSequenceOfTheStandard) {
  const std::string coded = from_hex(kSequenceCoded);
  ArithmeticDecoder decoder(bytes_of(coded), coded.size());
  std::uint8_t context = 0;
  std::string out;
  for (std::size_t i = 0; i < from_hex(kSequence).size(); ++i) {
    unsigned byte = 0;
    for (int bit = 0; bit < 8; ++bit)
      byte = byte << 1 | decoder.bit(context);
    out += static_cast<char>(byte);
  }
  EXPECT_EQ(out, from_hex(kSequence));
}

TEST(Jbig2Arithmetic, RunsOfZerosAreTheSameDecisionsAsOneByOne) {
  std::mt19937 random(7);
  std::vector<unsigned> bits(60000);
  for (std::size_t i = 0; i < bits.size(); ++i)
    bits[i] = random() % (i < 20000 ? 3u : i < 40000 ? 50u : 5000u) == 0 ? 1 : 0;
  ArithmeticEncoder encoder;
  std::uint8_t context = 0;
  for (const unsigned bit : bits)
    encoder.bit(context, bit);
  const std::string coded = encoder.finish();
  ArithmeticDecoder decoder(bytes_of(coded), coded.size());
  context = 0;
  std::size_t at = 0;
  while (at < bits.size()) {
    const auto most = static_cast<unsigned>(std::min<std::size_t>(1 + random() % 900, bits.size() - at));
    bool has_one = false;
    const unsigned zeros = decoder.zeros(context, most, has_one);
    for (unsigned i = 0; i < zeros; ++i)
      ASSERT_EQ(bits[at++], 0u) << at;
    ASSERT_TRUE(has_one || zeros == most);
    if (has_one) {
      ASSERT_EQ(bits[at++], 1u) << at;
    }
  }
}

TEST(Jbig2Arithmetic, IntegersAndIdsComeBack) {
  std::vector<std::int64_t> values = {0,  1,   -1,   3,   4,    -4,   19,     20,        83,
                                      84, 339, -339, 340, 4435, 4436, -70000, 2147483647};
  values.push_back(IntegerEncoder::kNone);
  ArithmeticEncoder encoder;
  IntegerEncoder integers;
  for (const std::int64_t value : values) {
    integers.put(encoder, "IADT", value);
    integers.put_id(encoder, static_cast<unsigned>(value & 63), 6);
  }
  const std::string coded = encoder.finish();
  ArithmeticDecoder decoder(bytes_of(coded), coded.size());
  IntegerDecoder integer;
  std::uint8_t ids[64] = {};
  for (const std::int64_t value : values) {
    EXPECT_EQ(integer.decode(decoder), value == IntegerEncoder::kNone ? kOutOfBand : value);
    EXPECT_EQ(decode_id(decoder, ids, 6), static_cast<unsigned>(value & 63));
  }
}

// A value out of a table from bits written as text.
std::int64_t huffman_value(const HuffmanTable& table, const std::string& bits) {
  std::string bytes(bits.size() / 8 + 9, '\0');
  for (std::size_t i = 0; i < bits.size(); ++i)
    if (bits[i] == '1')
      bytes[i / 8] = static_cast<char>(bytes[i / 8] | 0x80 >> i % 8);
  BitReader reader(bytes_of(bytes), bytes.size());
  return table.decode(reader);
}

// Code words as the standard prints them.
TEST(Jbig2Huffman, StandardTables) {
  const std::string zeros32(32, '0');
  EXPECT_EQ(huffman_value(standard_table(1),
                          "0"
                          "0101"),
            5);
  EXPECT_EQ(huffman_value(standard_table(1),
                          "10"
                          "00000001"),
            17);
  EXPECT_EQ(huffman_value(standard_table(1), "111" + zeros32), 65808);
  EXPECT_EQ(huffman_value(standard_table(2), "111111"), kOutOfBand);
  EXPECT_EQ(huffman_value(standard_table(2), "111110" + zeros32), 75);
  EXPECT_EQ(huffman_value(standard_table(3),
                          "11111110"
                          "00000000"),
            -256);
  EXPECT_EQ(huffman_value(standard_table(3), "11111111" + zeros32), -257);
  EXPECT_EQ(huffman_value(standard_table(3), "11111111" + std::string(31, '0') + "1"), -258);
  EXPECT_EQ(huffman_value(standard_table(3), "111110"), kOutOfBand);
  EXPECT_EQ(huffman_value(standard_table(4),
                          "11110"
                          "000001"),
            13);
  EXPECT_EQ(huffman_value(standard_table(6),
                          "00"
                          "0000011"),
            3);
  EXPECT_EQ(huffman_value(standard_table(6), "111111" + zeros32), 2048);
  EXPECT_EQ(huffman_value(standard_table(8), "01"), kOutOfBand);
  EXPECT_EQ(huffman_value(standard_table(8),
                          "00"
                          "1"),
            1);
  EXPECT_EQ(huffman_value(standard_table(11), "100"), 2);
  EXPECT_EQ(huffman_value(standard_table(14), "100"), -2);
  EXPECT_EQ(huffman_value(standard_table(15), "1111110" + zeros32), -25);
}

TEST(Jbig2Huffman, CodesThatCannotBeAreRefusedAndUnusedOnesAreDamage) {
  const auto line = [](int low, unsigned bits) {
    return HuffmanLine{low, static_cast<std::uint8_t>(bits), 0, LineKind::kRange};
  };
  HuffmanLine sorted[3];
  HuffmanCodes codes;
  const HuffmanLine crowded[] = {line(0, 1), line(1, 1), line(2, 5)};
  EXPECT_FALSE(build_codes(crowded, 3, sorted, codes));
  const HuffmanLine sparse[] = {line(7, 32), line(0, 0), line(8, 3)};
  ASSERT_TRUE(build_codes(sparse, 3, sorted, codes));
  const HuffmanTable table = {sorted, codes};
  EXPECT_EQ(huffman_value(table, "000"), 8);
  EXPECT_EQ(huffman_value(table, "001" + std::string(29, '0')), 7);
  EXPECT_EQ(huffman_value(table, "01"), kDamaged);
  BitReader empty(nullptr, 0);
  EXPECT_EQ(table.decode(empty), kDamaged);
  const HuffmanTable nothing = {};
  EXPECT_EQ(huffman_value(nothing, "0000"), kDamaged);
}

TEST(Jbig2Huffman, CustomTableComesFromItsSegment) {
  // Codes of 3 bits, ranges of 3: -1 and 0 with 2 bits of range... the open ends and out-of-band.
  const std::string bits =
      "010"
      "001"
      "010"
      "001"
      "011"
      "011"
      "010"
      "0000";  // 8 fields of a table of -2 to 2
  std::string body = u8(1 | 2 << 1 | 2 << 4) + u32(static_cast<std::uint32_t>(-2)) + u32(2);
  for (std::size_t i = 0; i + 8 <= bits.size(); i += 8)
    body += u8(static_cast<unsigned>(std::stoi(bits.substr(i, 8), nullptr, 2)));
  const Decoded decoded(segment(3, 53, {}, body));
  ASSERT_EQ(decoded.segment_count, 1);
  ASSERT_NE(decoded.segments[0].result, nullptr);
  const auto& record = *static_cast<const HuffmanRecord*>(decoded.segments[0].result);
  EXPECT_EQ(record.count, 5);
  const HuffmanTable table = {record.lines, record.codes};
  EXPECT_EQ(huffman_value(table,
                          "00"
                          "1"),
            -1);
  EXPECT_EQ(huffman_value(table,
                          "01"
                          "0"),
            0);
  EXPECT_EQ(huffman_value(table, "10"), kOutOfBand);
  EXPECT_EQ(huffman_value(table, "110" + std::string(31, '0') + "1"), -4);
  EXPECT_EQ(huffman_value(table, "111" + std::string(31, '0') + "1"), 3);
}

TEST(Jbig2Bitmap, CombinationByWordsIsThatByPixels) {
  Limits limits = {};
  limits.allow_data(1000);
  std::mt19937 random(3);
  const auto noise = [&](QVJB2_Bitmap& bitmap) {
    for (int i = 0; i < bitmap.stride * bitmap.height; ++i)
      bitmap.data[i] = static_cast<std::uint8_t>(random());
    bitmap_clear_padding(bitmap);
  };
  for (int round = 0; round < 400; ++round) {
    const BitmapHold page(limits, bitmap_new(limits, 1 + random() % 200, 1 + random() % 5));
    const BitmapHold part(limits, bitmap_new(limits, 1 + random() % 200, 1 + random() % 5));
    noise(*page);
    noise(*part);
    const int x = static_cast<int>(random() % 400) - 200;
    const int y = static_cast<int>(random() % 8) - 4;
    const auto op = static_cast<unsigned>(random() % 5);
    Picture expected = picture_of(*page);
    combine(expected, picture_of(*part), x, y, op);
    bitmap_combine(*page, *part, x, y, static_cast<Combine>(op));
    ASSERT_EQ(picture_of(*page), expected) << page->width << " " << part->width << " " << x << " " << op;
    for (int row = 0; row < page->height && page->width % 8 != 0; ++row)
      ASSERT_EQ(bitmap_row(*page, row)[page->stride - 1] & (0xFF >> page->width % 8), 0);
  }
}

}  // namespace
