// CCITT rows as an encoder of the test's own codes them: every pair of short rows in both
// two-dimensional codings, and pictures that change at every pixel, also inside JBIG2.
#include <gtest/gtest.h>

#include "filters/filter_support.h"
#include "sheaf/filters/ccitt.h"
#include "support/external_tool.h"
#include "support/fax_encoder.h"
#include "support/jbig2_pages.h"

using namespace fax_test;
using namespace std::string_literals;

namespace {

// Compares the rows that come back with those that were coded; gives the first that differs, or -1.
int first_wrong_row(const std::string& coded, int k, const std::vector<Row>& rows, int align = 0) {
  const int width = static_cast<int>(rows[0].size());
  CPDFStreamFAX fax(block_of(coded), static_cast<int>(coded.size()));
  fax.open(k, width, 0, align, 1);
  std::string row(static_cast<std::size_t>(width + 7) / 8, '\0');
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (fax.read_block(row.data(), static_cast<int>(row.size())) == 0 || row != packed(rows[i]))
      return static_cast<int>(i);
  }
  return -1;
}

std::string coded_t6(const std::vector<Row>& rows) {
  FaxEncoder encoder;
  Row above(rows[0].size());
  for (const Row& row : rows) {
    encoder.t6_row(row, above);
    above = row;
  }
  encoder.end_of_block();
  return encoder.bytes();
}

// Every `k` rows begin with one that is coded by itself.
std::string coded_mixed(const std::vector<Row>& rows, std::size_t k) {
  FaxEncoder encoder;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (i % k == 0)
      encoder.tagged_row(rows[i]);
    else
      encoder.tagged_row(rows[i], rows[i - 1]);
  }
  for (int i = 0; i < 6; ++i)
    encoder.tagged_row(Row());
  return encoder.bytes();
}

// A sequence in which every row of that width follows every row once.
std::vector<Row> all_pairs(int width) {
  const unsigned count = 1u << width;
  std::vector<Row> rows;
  for (unsigned i = 0; i < count; ++i) {
    rows.push_back(row_of(i, width));
    for (unsigned j = i + 1; j < count; ++j) {
      rows.push_back(row_of(i, width));
      rows.push_back(row_of(j, width));
    }
  }
  rows.push_back(row_of(0, width));
  return rows;
}

TEST(CcittRows, EveryPairOfShortRowsComesBack) {
  for (int width = 1; width <= 9; ++width) {
    const std::vector<Row> rows = all_pairs(width);
    EXPECT_EQ(first_wrong_row(coded_t6(rows), -1, rows), -1) << width;
    EXPECT_EQ(first_wrong_row(coded_mixed(rows, rows.size()), 4, rows), -1) << width;
  }
}

TEST(CcittRows, ARowThatChangesAtEveryPixelIsAReference) {
  const std::string coded("\x26\xA8\x8E\x88\xE8\x25\x11\x17\x00\x10\x01", 11);
  EXPECT_EQ(first_wrong_row(coded, -1, {row_of(0xAA, 8), row_of(0x01, 8)}), -1);
  const std::vector<Row> rows = dithered_ramp(1728, 200);
  EXPECT_EQ(first_wrong_row(coded_t6(rows), -1, rows), -1);
  EXPECT_EQ(first_wrong_row(coded_mixed(rows, 4), 4, rows), -1);
}

TEST(CcittRows, LinesThatBeginOnBytesComeBack) {
  for (const int width : {1, 5, 8, 61, 1728}) {
    const std::vector<Row> rows = dithered_ramp(width, 40);
    FaxEncoder t6;
    FaxEncoder t4;
    Row above(rows[0].size());
    for (const Row& row : rows) {
      t6.align();
      t6.t6_row(row, above);
      t4.align();
      t4.one_dimensional(row);
      above = row;
    }
    EXPECT_EQ(first_wrong_row(t6.bytes(), -1, rows, 1), -1) << width;
    EXPECT_EQ(first_wrong_row(t4.bytes(), 0, rows, 1), -1) << width;
  }
}

// Fill lets each end-of-line code end on a byte, as libtiff writes them. The widest rows hold a white run whose make-up
// code looks like such a code to a decoder that does not know whether there are any.
TEST(CcittRows, FilledEndOfLineCodesBelongToTheirLines) {
  for (const int width : {1, 7, 61, 1728, 1791}) {
    std::vector<Row> rows = dithered_ramp(width, 40);
    rows.push_back(Row(static_cast<std::size_t>(width)));
    FaxEncoder plain;
    FaxEncoder mixed;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      plain.fill_for_end_of_line();
      plain.plain_row(rows[i]);
      mixed.fill_for_end_of_line();
      if (i % 4 == 0)
        mixed.tagged_row(rows[i]);
      else
        mixed.tagged_row(rows[i], rows[i - 1]);
    }
    for (const int align : {0, 1}) {
      EXPECT_EQ(first_wrong_row(plain.bytes(), 0, rows, align), -1) << width << ' ' << align;
      EXPECT_EQ(first_wrong_row(mixed.bytes(), 4, rows, align), -1) << width << ' ' << align;
    }
  }
}

TEST(CcittRows, TheLongestWhiteRunsAreNoFilledEndOfLineCodes) {
  // Two white lines of 1,792 pixels, each its make-up code and a run of 0, on bytes; and with codes in front.
  const std::string aligned("\x01\x06\xA0\x01\x06\xA0", 6);
  const std::string filled("\x00\x01\x01\x06\xA0\x00\x01\x01\x06\xA0", 10);
  for (const bool has_codes : {false, true}) {
    const std::string& data = has_codes ? filled : aligned;
    const StreamPtr fax = decoder_of(
        "CCITTFaxDecode", data,
        "<</Columns 1792/BlackIs1 true/EncodedByteAlign true/EndOfLine "s + (has_codes ? "true>>" : "false>>"));
    std::string row(224, '\1');
    for (int y = 0; y < 2; ++y) {
      ASSERT_EQ(fax->read_block(row.data(), 224), 224);
      EXPECT_EQ(row, std::string(224, '\0'));
    }
    EXPECT_EQ(static_cast<const CPDFStreamFAX&>(*fax).byte_pos, static_cast<int>(data.size())) << has_codes;
  }
}

// The same rows as a region of a JBIG2 page, here and by another decoder.
TEST(CcittRows, DithersInsideJbig2AgreeWithJbig2dec) {
  const bool has_peer = has_program("jbig2dec");
  const TestFolder folder;
  for (const int width : {8, 100, 1728}) {
    const std::vector<Row> rows = dithered_ramp(width, 60);
    jb2_test::Picture picture(width, 60);
    for (int y = 0; y < picture.height; ++y)
      for (int x = 0; x < width; ++x)
        picture.set(x, y, rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)]);
    const std::string body = jb2_test::region_info(picture) + '\x01' + coded_t6(rows);
    const std::string bytes = jb2_test::page_of(picture, jb2_test::segment(1, 38, {}, body));
    EXPECT_TRUE(jb2_test::Decoded(bytes).page() == picture) << width;
    if (!has_peer)
      continue;
    write_file(folder / "page.jb2", bytes);
    const std::string command =
        "jbig2dec -q -e -t pbm -o '" + (folder / "page.pbm") + "' '" + (folder / "page.jb2") + "'";
    ASSERT_EQ(run_command(command).code, 0) << width;
    std::string pixels;
    for (const Row& row : rows)
      pixels += packed(row);
    EXPECT_TRUE(read_file(folder / "page.pbm").ends_with(pixels)) << width;
  }
  if (!has_peer)
    GTEST_SKIP() << "jbig2dec is not installed; the library's own result was right";
}

}  // namespace
