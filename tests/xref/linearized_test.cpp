// Linearized files: the parameter dictionary, rectangles, and page lists by hints beside those by
// the page tree.
#include <gtest/gtest.h>

#include "sheaf/document/doc.h"
#include "support/counting_stream.h"
#include "support/external_tool.h"
#include "support/pdf_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

TEST(Linearized, TheParameterDictionaryDecides) {
  const std::string section =
      "\nxref\n0 1\n0000000000 65535 f \n7 1\n0000000100 00000 n \ntrailer\n<</Size 8/Root 7 0 R>>\n";
  struct Row {
    const char* keys;
    unsigned result;
    std::int32_t count;
    bool length_kept;
  };
  const Row rows[] = {
      {"/Linearized 1/N 3/O 7/H[500 20]", 500, 3, false},
      {"/Linearized 1/N 3.4/O 7/P 0/H[500 20]", 500, 3, false},
      {"/N 3/O 7/H[500 20]", 0, 0, false},
      {"/Linearized 1/L 99999/N 3/O 7/H[500 20]", 0, 0, true},
      {"/Linearized 1/L 5.0/N 3/O 7/H[500 20]", 0, 0, false},
      {"/Linearized 1/P 2/N 3/O 7/H[500 20]", 0, 0, false},
      {"/Linearized 1/O 7/H[500 20]", 0, 0, false},
      {"/Linearized 1/N 3/H[500 20]", 0, 0, false},
      {"/Linearized 1/N 3/O 7/H[500.0 20]", 0, 0, false},
      {"/Linearized 1/N 3/O 7/H[500]", 0, 0, false},
      {"/Linearized 1/N -2/O 7/H[500 20]", 0, 0, false},
      {"/Linearized 1/N 2000000000/O 7/H[500 20]", 0, 0, false},
      {"/Linearized 1/N 3/O 2000000000/H[500 20]", 0, 0, false},
  };
  for (const Row& row : rows) {
    TestTable t("%PDF-1.4\n9 0 obj\n<<" + std::string(row.keys) + ">>\nendobj" + section);
    PDF_PAGE_SET set{};
    EXPECT_EQ(t.table.read_linearized(set), row.result) << row.keys;
    EXPECT_EQ(set.count, row.count) << row.keys;
    EXPECT_EQ(t.table.linearized_length != 0, row.length_kept) << row.keys;
    if (set.pages != nullptr) {
      EXPECT_EQ(set.pages[0].obj, 7u);
      EXPECT_EQ(set.pages[1].obj, 1u);
    }
    QVFree(set.pages);
  }
}

TEST(Linearized, TheHeaderBeginsWithinSixteenBytes) {
  const std::string section =
      "\nxref\n0 1\n0000000000 65535 f \n7 1\n0000000100 00000 n \ntrailer\n<</Size 8/Root 7 0 R>>\n";
  for (const auto& [header, result] : {std::pair{"9        00000 obj", 500u}, std::pair{"9         00000 obj", 0u}}) {
    TestTable t("%PDF-1.4\n" + std::string(header) + "\n<</Linearized 1/N 3/O 7/H[500 20]>>\nendobj" + section);
    PDF_PAGE_SET set{};
    EXPECT_EQ(t.table.read_linearized(set), result) << header;
    QVFree(set.pages);
  }
}

TEST(Linearized, RectanglesAreTakenAsTheyStand) {
  PdfBuilder builder;
  builder.pages(1).obj(4, "[1 2 3.5 4]").obj(5, "[1 2 3]").obj(6, "9").classic();
  TestTable t(builder.str());
  t.table.XRefRead(static_cast<unsigned>(builder.last_section()));
  const auto rect_of = [&t](const std::string& text, bool with_table) {
    Freed<CPDFObj> value;
    read_value(value, text);
    _QVRECTF rect{7, 7, 7, 7};
    CPDFXRefTable::read_obj_rect(with_table ? &t.table : nullptr, rect, &value);
    return rect;
  };
  EXPECT_EQ(rect_of("[0 0 612 792]", true).right, fix_from_int(612));
  EXPECT_EQ(rect_of("[6 0 R 5 0 /X]", true).left, fix_from_int(9));
  EXPECT_EQ(rect_of("[6 0 R 5 0 /X]", false).left, 0);
  EXPECT_EQ(rect_of("4 0 R", true).right, fix_from_int(3) + kFixHalf);
  EXPECT_EQ(rect_of("[1 2 3]", true).left, 0);
  EXPECT_EQ(rect_of("5 0 R", true).left, 0);
  EXPECT_EQ(rect_of("/Name", true).left, fix_from_int(INT32_MAX));
  EXPECT_EQ(rect_of("4 0 R", false).right, fix_from_int(INT32_MIN));
  _QVRECTF rect{7, 7, 7, 7};
  t.table.read_obj_rect(rect, nullptr);
  EXPECT_EQ(rect.left, 7);
}

// A document of `count` pages with boxes and contents of their own, linearized by qpdf.
std::string linearized(int count, const TestFolder& folder) {
  PdfBuilder builder;
  std::string kids;
  for (int i = 0; i < count; ++i)
    kids += std::to_string(3 + 2 * i) + " 0 R ";
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R>>");
  builder.obj(2, "<</Type/Pages/Count " + std::to_string(count) + "/Kids[" + kids + "]>>");
  for (int i = 0; i < count; ++i) {
    builder.obj(3 + 2 * i, "<</Type/Page/Parent 2 0 R/MediaBox[0 0 " + std::to_string(300 + i) + " 400]/Rotate " +
                               std::to_string(i % 4 * 90) + "/Contents " + std::to_string(4 + 2 * i) + " 0 R>>");
    builder.stream(4 + 2 * i, "",
                   "% contents of page " + std::to_string(i) + std::string(static_cast<std::size_t>(i % 50), '.'));
  }
  write_file(folder / "plain.pdf", builder.classic().str());
  run_command("qpdf --linearize --object-streams=disable " + (folder / "plain.pdf") + " " + (folder / "linear.pdf") +
              " 2>&1");
  return read_file(folder / "linear.pdf");
}

TEST(Hints, GiveThePagesOfTheTreeFromTheStartOfTheFile) {
  if (!has_program("qpdf"))
    GTEST_SKIP() << "qpdf is not installed";
  const TestFolder folder;
  for (const int count : {2, 3, 300}) {
    MemStream file(linearized(count, folder));
    CountingStream counted(file);
    PDF_PAGE_SET set{};
    ASSERT_TRUE(CPDFDoc::read_page_hints(&counted, set)) << count;
    CPDFDoc doc;
    ASSERT_TRUE(doc.open(&file));
    EXPECT_TRUE(doc.is_linearized());
    EXPECT_TRUE(doc.hints_hold());
    ASSERT_EQ(set.count, doc.page_count());
    long long last_page = 0;
    for (int i = 0; i < set.count; ++i) {
      CPDFPage page;
      ASSERT_TRUE(doc.load_page(i, page));
      EXPECT_EQ(set.pages[i].obj, static_cast<std::uint32_t>(page.ref.num));
      EXPECT_EQ(set.pages[i].width, fix_round(page.shown_width() * 100));
      EXPECT_EQ(set.pages[i].height, fix_round(page.shown_height() * 100));
      const long long place = doc.table().xref_items[page.ref.num].offset;
      EXPECT_EQ(counted.reads_at(place), 1) << "page " << i;
      last_page = std::max(last_page, place);
    }
    EXPECT_LE(counted.last_byte(), last_page + 2000);
    QVFree(set.pages);
  }
}

TEST(Hints, OnePageNeedsNoneAndUpdatedFilesHaveNone) {
  if (!has_program("qpdf"))
    GTEST_SKIP() << "qpdf is not installed";
  const TestFolder folder;
  const std::string bytes = linearized(5, folder);
  MemStream updated(bytes);
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&updated));
  ASSERT_TRUE(doc.set_info("Title", "updated"));
  ASSERT_TRUE(doc.save_update(PDF_SAVE_FORM::kClassic, nullptr));
  doc.close();
  ASSERT_TRUE(doc.open(&updated));
  EXPECT_EQ(doc.status(), PDF_OPEN::kClean);
  EXPECT_EQ(doc.page_count(), 5);
  EXPECT_EQ(doc.linearized_length(), bytes.size());
  EXPECT_FALSE(doc.is_linearized());
  EXPECT_FALSE(doc.hints_hold());
}

TEST(Hints, EveryDamagedByteGivesTheRightListOrNone) {
  if (!has_program("qpdf"))
    GTEST_SKIP() << "qpdf is not installed";
  const TestFolder folder;
  const std::string good = linearized(6, folder);
  MemStream file(good);
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&file));
  std::vector<int> pages;
  for (int i = 0; i < doc.page_count(); ++i)
    pages.push_back(doc.page_ref(i).num);
  // Everything before the first page's own objects: parameters, first section, hint stream.
  for (std::size_t at = 0; at < good.size() / 2; ++at) {
    std::string bytes = good;
    bytes[at] = static_cast<char>(bytes[at] ^ 0x11);
    MemStream damaged(bytes);
    PDF_PAGE_SET set{};
    if (!CPDFDoc::read_page_hints(&damaged, set))
      continue;
    std::vector<int> hinted;
    for (int i = 0; i < set.count; ++i)
      hinted.push_back(static_cast<int>(set.pages[i].obj));
    EXPECT_EQ(hinted, pages) << "byte " << at;
    QVFree(set.pages);
  }
}

}  // namespace
