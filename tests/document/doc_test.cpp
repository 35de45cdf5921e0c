// Opening: what the driver believes, and what it does when it believes nothing.
#include <gtest/gtest.h>

#include "sheaf/document/doc.h"
#include "support/counting_stream.h"
#include "support/pdf_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

struct Opened {
  explicit Opened(const std::string& bytes) : file(bytes) { good = doc.open(&file); }
  MemStream file;
  CPDFDoc doc;
  bool good;
};

TEST(Doc, JunkBeforeAndZerosAfterAreNoDamage) {
  PdfBuilder builder;
  builder.pages(3).classic();
  Opened behind("some mail header\r\n\r\n" + builder.str());
  EXPECT_EQ(behind.doc.status(), PDF_OPEN::kClean);
  EXPECT_EQ(behind.doc.page_count(), 3);
  EXPECT_EQ(behind.doc.header_offset(), 20);
  Opened zeros(builder.str() + std::string(5000, '\0'));
  EXPECT_EQ(zeros.doc.status(), PDF_OPEN::kClean);
  PdfBuilder from_start("front matter %PDF-1.4\n");  // its offsets count from the file's first byte
  from_start.pages(2).classic();
  Opened absolute(from_start.str());
  EXPECT_EQ(absolute.doc.status(), PDF_OPEN::kClean);
  EXPECT_EQ(absolute.doc.page_count(), 2);
}

TEST(Doc, TheStreamOfAHybridSectionIsNewerThanOlderSections) {
  PdfBuilder builder;
  builder.pages(1).obj(6, "(old)").classic();
  const std::string prev = std::to_string(builder.last_section());
  builder.object_stream(7, {{6, "(new)"}}).xref_stream(8);
  const std::string stream = std::to_string(builder.last_section());
  const std::string start = std::to_string(builder.str().size());
  Opened opened(builder.str() + "xref\n0 1\n0000000000 65535 f \ntrailer\n<</Size 9/Root 1 0 R/Prev " + prev +
                "/XRefStm " + stream + ">>\nstartxref\n" + start + "\n%%EOF\n");
  EXPECT_EQ(opened.doc.status(), PDF_OPEN::kClean);
  Freed<CPDFObj> obj;
  opened.doc.table().get_entity(obj, {6, 0});
  EXPECT_STREQ(obj.as_text(), "new");
}

TEST(Doc, DamageIsHealedStepByStep) {
  PdfBuilder builder;
  builder.pages(3).classic();
  const std::string good = builder.str();
  const std::size_t start = good.rfind("startxref\n") + 10;

  std::string off = good;
  off.replace(start, off.find('\n', start) - start, std::to_string(builder.last_section() + 7));
  Opened nearby(off);
  EXPECT_EQ(nearby.doc.status(), PDF_OPEN::kClean);
  EXPECT_STREQ(nearby.doc.repairs()[0].code, "startxref");

  Opened cut(good.substr(0, good.rfind("startxref")));
  EXPECT_EQ(cut.doc.status(), PDF_OPEN::kRebuilt);
  EXPECT_EQ(cut.doc.page_count(), 3);

  Opened no_trailer(good.substr(0, good.rfind("xref\n0")));
  EXPECT_EQ(no_trailer.doc.status(), PDF_OPEN::kRecovered);
  EXPECT_EQ(no_trailer.doc.page_count(), 3);

  std::string lost = good.substr(0, good.rfind("xref\n0"));
  lost.replace(lost.find("/Kids"), 5, "/Xxxx");
  lost.replace(lost.find("/Catalog"), 8, "/Xxxxxxx");
  Opened no_tree(lost);
  EXPECT_EQ(no_tree.doc.status(), PDF_OPEN::kRecovered);
  EXPECT_EQ(no_tree.doc.page_count(), 3);

  EXPECT_FALSE(Opened("").good);
  Opened text("this is no PDF at all");
  EXPECT_FALSE(text.good);
  EXPECT_EQ(text.doc.status(), PDF_OPEN::kDamaged);
}

TEST(Doc, FilesWithOnlyStreamsOpenWithoutTheirSection) {
  PdfBuilder builder;
  builder.object_stream(9, {{1, "<</Type/Catalog/Pages 2 0 R>>"},
                            {2, "<</Type/Pages/Count 1/Kids[3 0 R]>>"},
                            {3, "<</Type/Page/Parent 2 0 R>>"}});
  builder.xref_stream(10);
  EXPECT_EQ(Opened(builder.str()).doc.status(), PDF_OPEN::kClean);
  std::string bytes = builder.str();
  bytes.replace(bytes.rfind("startxref"), 9, "startyref");
  Opened scanned(bytes);
  EXPECT_EQ(scanned.doc.status(), PDF_OPEN::kRecovered);
  EXPECT_EQ(scanned.doc.page_count(), 1);
  Opened no_section(bytes.substr(0, bytes.find("10 0 obj")));
  EXPECT_EQ(no_section.doc.page_count(), 1);
}

// Headers of object streams can be damaged too. What is found in such streams must live on in a save.
TEST(Doc, ObjectStreamsWithoutAUsableNumberKeepTheirObjects) {
  PdfBuilder builder;
  builder.object_stream(0, {{1, "<</Type/Catalog/Pages 2 0 R>>"}, {3, "<</Type/Page/Parent 2 0 R/Lost true>>"}});
  builder.object_stream(2'000'000'000, {{2, "<</Type/Pages/Count 9/Kids[3 0 R 256 0 R 7 0 R 8 0 R]>>"}});
  builder.object_stream(0, {{256, "<</Type/Page/Parent 2 0 R>>"}, {3, "<</Type/Page/Parent 2 0 R/Rotate 90>>"}});
  builder.obj(0, "<</Type/Page>>");
  Opened opened(builder.str());
  EXPECT_EQ(opened.doc.status(), PDF_OPEN::kRecovered);
  EXPECT_EQ(opened.doc.page_count(), 2);

  MemStream out("");
  CPDFXRefTable target;
  target.stream = &out;
  opened.doc.save_complete(target, nullptr);
  CPDFDoc again;
  ASSERT_TRUE(again.open(&out));
  EXPECT_EQ(again.status(), PDF_OPEN::kClean);
  EXPECT_EQ(again.page_ref(1).num, 256);
  CPDFPage page;
  ASSERT_TRUE(again.load_page(0, page));
  EXPECT_EQ(page.rotate, 90);
}

TEST(Doc, AWrongOffsetInAFileOfStreamsLeadsToARebuild) {
  PdfBuilder builder;
  builder.pages(2).raw("trailer\n<</Root 1 0 R>>\n").xref_stream(10);
  std::string bytes = builder.str();
  // The entry of the page tree (rows of six bytes, object 2 being the second) points elsewhere.
  const std::size_t rows = bytes.rfind("stream\n", bytes.rfind("endstream") - 1) + 7;
  bytes[rows + 6 + 4] = 1;
  Opened doc(bytes);
  EXPECT_NE(doc.doc.status(), PDF_OPEN::kClean);
  EXPECT_EQ(doc.doc.page_count(), 2);
}

// What such an entry leads to looks like the header of another object: "1 0 obj" for "11 0 obj".
TEST(Doc, AnEntryIntoTheMiddleOfItsNumberLeadsToARebuild) {
  PdfBuilder builder;
  builder.pages(9).classic();
  std::string bytes = builder.str();
  const std::size_t entry = bytes.find(std::to_string(builder.offset_of(11)) + " 00000 n");
  const std::string shifted = std::to_string(builder.offset_of(11) + 1);
  bytes.replace(entry, shifted.size(), shifted);
  Opened opened(bytes);
  EXPECT_EQ(opened.doc.status(), PDF_OPEN::kRebuilt);
  EXPECT_EQ(opened.doc.page_ref(8).num, 11);
}

TEST(PageTree, LoopsNullsAndMissingTypesDoNoHarm) {
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R>>").obj(2, "<</Kids[3 0 R null 2 0 R 4 0 R 99 0 R 5 0 R 7 5 0 R]>>");
  builder.obj(3, "<</Type/Page/Parent 2 0 R>>").obj(4, "<</Type/Pages/Kids[2 0 R 4 0 R 6 0 R]/Count -3>>");
  builder.obj(5, "<</Contents 9 0 R>>").obj(6, "<</Parent 4 0 R>>").classic();
  Opened opened(builder.str());
  EXPECT_EQ(opened.doc.status(), PDF_OPEN::kClean);
  ASSERT_EQ(opened.doc.page_count(), 4);
  const int expected[] = {3, 6, 5, 5};
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(opened.doc.page_ref(i).num, expected[i]);
  EXPECT_EQ(opened.doc.page_ref(4).num, 0);
}

TEST(PageTree, AKidListedOverAndOverIsReadOnce) {
  constexpr int kTimes = 2000;
  std::string kids;
  for (int i = 0; i < kTimes; ++i)
    kids += "2 0 R 3 0 R 9 0 R 4 0 R ";  // the node itself, a page, a number that is free, no page
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R>>").obj(2, "<</Type/Pages/Kids[" + kids + "]>>");
  builder.obj(3, "<</Type/Page/Parent 2 0 R/Long(" + std::string(50000, 'x') + ")>>");
  builder.obj(4, "<</Long(" + std::string(50000, 'x') + ")>>").classic();
  const std::string bytes = builder.str();
  MemStream file(bytes);
  CountingStream counted(file);
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&counted));
  EXPECT_EQ(doc.page_count(), kTimes);
  EXPECT_EQ(doc.page_ref(kTimes - 1).num, 3);
  EXPECT_LT(counted.bytes, static_cast<std::int64_t>(40 * bytes.size()));
}

TEST(PageTree, ValuesAreInheritedFromTheNearestNode) {
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R>>");
  builder.obj(2, "<</Type/Pages/Kids[3 0 R 4 0 R]/MediaBox[0 0 100 200]/Resources 8 0 R/Rotate 90>>");
  builder.obj(3, "<</Type/Page/CropBox[10 10 60 30]/Rotate -90>>").obj(4, "<</Type/Pages/Kids[5 0 R]/MediaBox 6 0 R>>");
  builder.obj(5, "<</Type/Page>>").obj(6, "[0 0 300.5 400]").classic();
  Opened opened(builder.str());
  CPDFPage page;
  ASSERT_TRUE(opened.doc.load_page(0, page));
  EXPECT_EQ(page.rotate, 270);
  EXPECT_EQ(page.shown_width(), fix_from_int(20));
  EXPECT_EQ(page.shown_height(), fix_from_int(50));
  EXPECT_EQ(page.inherited->resources.num, 8);
  CPDFPage second;
  ASSERT_TRUE(opened.doc.load_page(1, second));
  EXPECT_EQ(second.box.right, fix_from_int(300) + kFixHalf);
  EXPECT_EQ(second.rotate, 90);
  EXPECT_FALSE(opened.doc.load_page(2, second));
}

TEST(PageTree, AHundredThousandPagesInADeepTreeAreCounted) {
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R>>");
  constexpr int kDepth = 3000;
  for (int i = 0; i < kDepth; ++i)
    builder.obj(2 + i, "<</Type/Pages/Kids[" + std::to_string(3 + i) + " 0 R 5000 0 R 5000 0 R]>>");
  builder.obj(2 + kDepth, "<</Type/Page>>").obj(5000, "<</Type/Page>>").classic();
  Opened opened(builder.str());
  EXPECT_EQ(opened.doc.page_count(), 2 * kDepth + 1);
}

TEST(Doc, EveryPrefixAndEveryFlippedByteOfAFileIsSurvived) {
  PdfBuilder builder;
  builder.pages(1).object_stream(6, {{4, "<</A(b)>>"}, {5, "5"}}).xref_stream(7);
  const std::string good = builder.str();
  for (std::size_t i = 0; i < good.size(); ++i) {
    Opened cut(good.substr(0, i));
    std::string flipped = good;
    flipped[i] = static_cast<char>(flipped[i] ^ 0x55);
    Opened damaged(flipped);
    Freed<CPDFObj> obj;
    for (int num = 0; num < 8; ++num)
      damaged.doc.table().get_entity(obj, {num, 0});
    EXPECT_LE(damaged.doc.page_count(), 2);
  }
}

}  // namespace
