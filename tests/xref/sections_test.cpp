// Cross-reference sections: the forms that are read, the leniencies, and the guards.
#include <gtest/gtest.h>

#include "support/pdf_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

std::string line(unsigned offset, int gen, char keyword) {
  char text[32];
  std::snprintf(text, sizeof(text), "%010u %05d %c\r\n", offset, gen, keyword);
  return text;
}

// A table that has read the classic section `body` (after the keyword), 16 bytes into its file.
struct Section : TestTable {
  explicit Section(const std::string& body) : TestTable("%PDF-1.4 padding" + ("xref\n" + body)) {
    result = table.XRefRead(16u);
  }
  std::string entry(std::uint32_t num) const {
    if (num >= table.xref_count)
      return "none";
    const PDF_XREF& e = table.xref_items[num];
    return std::to_string(e.type) + " " + std::to_string(e.offset) + " " + std::to_string(e.gen);
  }
  int result;
};

const char kTrailer[] = "trailer\n<</Size 9/Root 1 0 R>>\n";

TEST(ClassicSection, FreeLinesAreNeverStored) {
  const Section s("0 3\r\n" + line(0, 65535, 'f') + line(20, 0, 'n') + line(30, 2, 'n') + kTrailer);
  EXPECT_EQ(s.result, 1);
  EXPECT_EQ(s.entry(0), "0 0 -1");
  EXPECT_EQ(s.entry(1), "1 20 0");
  EXPECT_EQ(s.entry(2), "1 30 2");
  EXPECT_EQ(s.table.next_obj_num, 3u);
  EXPECT_EQ(s.table.first_xref_kind, 1u);
  EXPECT_EQ(s.table.last_xref_offset, 16u);
  EXPECT_EQ(s.table.root.as_ref().num, 1);
}

TEST(ClassicSection, AHeadOfTheFreeListCountedAsObjectOneIsPassedOver) {
  const Section s("1 3\n" + line(0, 65535, 'f') + line(20, 0, 'n') + line(30, 0, 'n') + line(40, 0, 'n') + kTrailer);
  EXPECT_EQ(s.entry(1), "1 20 0");
  EXPECT_EQ(s.entry(2), "1 30 0");
  EXPECT_EQ(s.entry(3), "1 40 0");
}

TEST(ClassicSection, LinesOfAnyShapeAreRead) {
  const Section s("0 1\n0000000000 65535 f\n1 3\n20 0 n\n   30   0\tn 40 65535 n\n" + std::string(kTrailer));
  EXPECT_EQ(s.result, 1);
  EXPECT_EQ(s.entry(1), "1 20 0");
  EXPECT_EQ(s.entry(2), "1 30 0");
  EXPECT_EQ(s.entry(3), "1 40 65535");
  const Section fixed_zero("1 1\n" + line(0, 0, 'n') + kTrailer);
  EXPECT_EQ(fixed_zero.entry(1), "1 0 0");
  const Section count_too_high("1 5\n" + line(20, 0, 'n') + kTrailer);
  EXPECT_EQ(count_too_high.result, 1);
  EXPECT_EQ(count_too_high.table.root.as_ref().num, 1);
}

TEST(ClassicSection, OddLinesAmongPlainOnesAreReadAsEver) {
  struct Odd {
    const char* text;
    const char* entry;
  };
  const Odd odd[] = {
      {"0000000123 00002 n\r\n", "1 123 2"},
      {"0000000123 00000 f\r\n", "0 0 -1"},
      {"0000000123 00000 n\n", "1 123 0"},
      {"0000000123 00000 n \r\n", "1 123 0"},
      {"4294967299 00000 n \n", "1 3 0"},
      {"00000001A3 00000 n\r\n", "1 273 0"},
      {"000000012: 00000 n\r\n", "1 130 0"},
      {"/000000123 00000 n\r\n", "1 3294967419 0"},
      {"0000000123\t00000\tn \r", "1 123 0"},
      {"0000000123 00000 n\r\n\n", "1 123 0"},
      {"123 0 n\n", "1 123 0"},
      {"0000000123 00000 N\r\n", "1 123 0"},
  };
  // Enough lines that the odd ones meet the borders of the buffer in every way.
  for (const Odd& one : odd) {
    for (unsigned period : {2u, 3u, 7u}) {
      constexpr unsigned kLines = 320;
      std::string body = "1 " + std::to_string(kLines) + "\n";
      for (unsigned num = 1; num <= kLines; ++num)
        body += num % period == 0 ? one.text : line(98'765'430 + num, 0, 'n');
      const Section s(body + "trailer\n<</Size 321/Root 1 0 R>>\n");
      ASSERT_EQ(s.result, 1) << one.text;
      for (unsigned num = 1; num <= kLines; ++num) {
        const std::string plain = "1 " + std::to_string(98'765'430 + num) + " 0";
        ASSERT_EQ(s.entry(num), num % period == 0 ? one.entry : plain) << one.text << num;
      }
    }
  }
}

TEST(ClassicSection, SizeMayBeOneShortButNoMore) {
  const std::string lines = line(20, 0, 'n') + line(30, 0, 'n');
  EXPECT_EQ(Section("1 2\n" + lines + "trailer<</Size 2>>").result, 1);
  EXPECT_EQ(Section("1 2\n" + lines + "trailer<</Size 1>>").result, 0);
  EXPECT_EQ(Section("1 2\n" + lines + "no keyword here").result, 1);
  EXPECT_EQ(Section("1 2\n" + lines + "trailer(no dictionary)").result, 0);
}

TEST(ClassicSection, OffsetsOfOlderSectionsAreTakenExactly) {
  struct Row {
    const char* keys;
    std::vector<std::int64_t> pending;
  };
  const Row rows[] = {{"/Prev 1234", {1234}},
                      {"/Prev 1234.0", {1234}},
                      {"/Prev 1234.5", {}},
                      {"/Prev 5 0 R", {}},
                      {"/Prev -3", {}},
                      {"/Prev 3000000000", {3000000000}},
                      {"/Prev 100/XRefStm 200", {200, 100}},
                      {"/Prev 16", {}}};
  for (const Row& row : rows) {
    const Section s("1 1\n" + line(20, 0, 'n') + "trailer<</Size 9" + row.keys + ">>");
    const std::vector<std::int64_t> pending(s.table.pending_xref, s.table.pending_xref + s.table.pending_count);
    EXPECT_EQ(pending, row.pending) << row.keys;
  }
}

TEST(ClassicSection, WhatIsNoSectionTakesTheHandlerOffAndStillCountsAsStream) {
  TestTable t("%PDF-1.4\nnothing that could be read here");
  t.table.sec_hand = reinterpret_cast<CPDFSecHand*>(16);
  EXPECT_EQ(t.table.XRefRead(0u), 0);
  EXPECT_EQ(t.table.last_xref_offset, 0u);
  EXPECT_NE(t.table.sec_hand, nullptr);
  EXPECT_EQ(t.table.XRefRead(10u), 0);
  EXPECT_EQ(t.table.first_xref_kind, 2u);
  EXPECT_EQ(t.table.sec_hand, nullptr);
  EXPECT_EQ(t.table.last_xref_offset, 10u);
}

TEST(ClassicSection, SectionsAfterTheLinearizedPartAreLate) {
  TestTable t("%PDF-1.4 padding....xref\n1 1\n" + line(20, 0, 'n') + kTrailer);
  t.table.linearized_length = 10;
  EXPECT_EQ(t.table.XRefRead(20u), 1);
  EXPECT_EQ(t.table.xref_items[1].type, 4u);
}

// A table that has read the cross-reference stream with these keys and rows.
struct StreamSection : TestTable {
  StreamSection(const std::string& keys, const std::string& rows)
      : TestTable(PdfBuilder().stream(7, "/Type/XRef" + keys, rows).str()) {
    result = table.XRefRead(15u);
  }
  int result;
};

TEST(StreamSection, WidthsAndIndexDecideTheEntries) {
  const std::string rows("\1\0\20\0\2\0\5\3\0\0\0\0", 12);
  const StreamSection s("/Size 6/W[1 2 1]/Index[1 2 5 1]", rows);
  ASSERT_EQ(s.result, 1);
  EXPECT_EQ(s.table.xref_items[1].type, 1u);
  EXPECT_EQ(s.table.xref_items[1].offset, 16u);
  EXPECT_EQ(s.table.xref_items[2].type, 2u);
  EXPECT_EQ(s.table.xref_items[2].offset, 5u);
  EXPECT_EQ(s.table.xref_items[2].gen, 3);
  EXPECT_EQ(s.table.xref_items[5].type, 0u);
  EXPECT_EQ(s.table.xref_count, 8u);  // its own number decides, being above "Size"
  const StreamSection no_type("/Size 2/W[0 2 0]", std::string("\0\20\0\40", 4));
  EXPECT_EQ(no_type.table.xref_items[1].type, 1u);
  EXPECT_EQ(no_type.table.xref_items[1].offset, 32u);
  // Fields of any width up to eight bytes, of which the low four count.
  const std::string bytes("\1\2\3\4\5\6\7\1\2\3\4\5\6\7", 14);
  const StreamSection seven("/Size 2/W[0 5 2]", bytes);
  EXPECT_EQ(seven.table.xref_items[1].offset, 0x02030405u);
  EXPECT_EQ(seven.table.xref_items[1].gen, 0x0607);
  const StreamSection eight("/Size 1/W[1 5 2]", bytes);
  EXPECT_EQ(eight.table.xref_items[0].offset, 0x03040506u);
  EXPECT_EQ(eight.table.xref_items[0].gen, 0x0701);
  const StreamSection type_alone("/Size 3/W[3 0 0]", bytes);
  EXPECT_EQ(type_alone.table.xref_items[2].type, 0x070102u);
}

TEST(StreamSection, ShortDataAreNoFailureAndStoreNothing) {
  const StreamSection s("/Size 3/W[1 2 1]", std::string("\1\0\20\0\1\0", 6));
  EXPECT_EQ(s.result, 1);
  EXPECT_EQ(s.table.xref_items[0].type, 0u);
  // A long section is decoded in pieces, and comes whole or not at all.
  constexpr std::size_t kEntries = 50'000;
  std::string rows;
  for (std::size_t i = 0; i < kEntries; ++i)
    rows += std::string("\1\0\20\0", 4);
  const StreamSection whole("/Size 50000/W[1 2 1]", rows);
  EXPECT_EQ(whole.table.xref_items[kEntries - 1].offset, 16u);
  rows.pop_back();
  const StreamSection cut("/Size 50000/W[1 2 1]", rows);
  EXPECT_EQ(cut.result, 1);
  for (std::size_t i = 0; i < kEntries; i += 1000)
    ASSERT_TRUE(cut.table.xref_items[i].type == 0 && cut.table.xref_items[i].gen == -1) << i;
}

TEST(StreamSection, SizesThatLieAreRefusedOrBounded) {
  const char* const bad[] = {"/W[1 2 1]",         "/Size 0/W[1 2 1]",   "/Size 2.0/W[1 2 1]", "/Size 2/W[1 2]",
                             "/Size 2/W[-1 2 1]", "/Size 2/W[100 2 1]", "/Size 2/W[0 0 0]"};
  for (const char* keys : bad) {
    const StreamSection s(keys, std::string(8, '\1'));
    EXPECT_EQ(s.result, std::string(keys).find("[1 2]") != std::string::npos ? 1 : 0) << keys;
  }
  const StreamSection huge("/Size 2147483647/W[1 2 1]/Index[2147483000 600 -5 3]", std::string(8, '\1'));
  EXPECT_LE(huge.table.xref_count, 1u << 23);
}

TEST(Sections, TheNewestWinsAndChainsThatLoopEnd) {
  PdfBuilder builder;
  builder.pages(1).obj(4, "(old)").classic();
  const std::size_t first = builder.last_section();
  builder.obj(4, "(new)").classic();
  TestTable t(builder.str());
  ASSERT_EQ(t.table.XRefRead(static_cast<unsigned>(builder.last_section())), 1);
  EXPECT_EQ(t.object(4), "(new)");
  EXPECT_EQ(t.table.pending_xref[0], static_cast<std::int64_t>(first));
  EXPECT_EQ(t.object(3), "<</Parent 2 0 R/Type/Page>>");
  EXPECT_EQ(t.table.pending_count, 0);

  TestTable loop("%PDF-1.4 padding" + ("xref\n1 1\n" + line(90, 0, 'n')) + "trailer<</Size 9/Prev 16/XRefStm 16>>");
  EXPECT_EQ(loop.table.XRefRead(16u), 1);
  loop.table.drain_pending();
  EXPECT_EQ(loop.object(5), "null");
}

TEST(Sections, MoreOlderSectionsThanThereAreSlotsDoNoHarm) {
  TestTable t("x");
  for (int i = 0; i < 1000; ++i)
    t.table.push_pending(i + 10);
  EXPECT_EQ(t.table.pending_count, CPDFXRefTable::kPendingSlots);
}

}  // namespace
