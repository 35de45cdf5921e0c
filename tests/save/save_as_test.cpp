// Complete new files: what is kept under which number, and the shape of the one section.
#include <gtest/gtest.h>

#include "sheaf/document/doc.h"
#include "sheaf/object/array.h"
#include "support/pdf_builder.h"
#include "support/read_back.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

// The file that save_as makes of `builder`'s document.
struct Rewritten {
  explicit Rewritten(const PdfBuilder& builder) : source(builder.str()) {
    source.table.XRefRead(static_cast<unsigned>(builder.last_section()));
  }
  void run() {
    target.stream = &out;
    source.table.save_as(target, nullptr);
    out.SetPos(CQVStream::STR_SEEK_SET, 0);
  }
  std::string section_value(const char* key) { return newest_section_value(out, key); }
  TestTable source;
  MemStream out{""};
  CPDFXRefTable target;
};

const char kCatalog[] = "<</Type/Catalog/Pages 2 0 R/Metadata 3 0 R/Items[%]>>";

PdfBuilder document(const std::string& items) {
  std::string catalog = kCatalog;
  catalog.replace(catalog.find('%'), 1, items);
  PdfBuilder builder;
  builder.obj(1, catalog).obj(2, "<</Type/Pages/Count 0/Kids[]>>").obj(3, "<<>>");
  return builder;
}

TEST(SaveAs, WhatNothingRefersToLeavesAGap) {
  PdfBuilder builder = document("5 0 R");
  builder.obj(4, "(dropped)").obj(5, "(kept)", 2).classic("/Root 1 0 R/Prev 0");
  Rewritten r(builder);
  r.source.table.xref_items[5].gen = 2;
  r.run();
  EXPECT_EQ(r.section_value("Index"), "[1 3 5 1]");
  EXPECT_EQ(r.section_value("Size"), "6");
  EXPECT_EQ(r.section_value("W"), "[1 1 1]");  // the generation 2 is kept
  EXPECT_EQ(r.section_value("Prev"), "");
  EXPECT_NE(r.out.str().find("5 2 obj\n(kept)\nendobj\n6 0 obj\n"), std::string::npos);
  EXPECT_EQ(r.target.xref_items[4].type, 0u);
  EXPECT_EQ(r.out.str().substr(0, 9), "%PDF-1.7\r");
}

TEST(SaveAs, WithoutGenerationsAndStreamsTheLastWidthIsZero) {
  PdfBuilder builder = document("");
  builder.classic();
  Rewritten r(builder);
  r.run();
  EXPECT_EQ(r.section_value("W"), "[1 1 0]");
}

TEST(SaveAs, ObjectStreamsStayWithTheirMembers) {
  PdfBuilder builder = document("7 0 R");
  builder.object_stream(9, {{6, "(not referred to)"}, {7, "(seven) % 8"}, {8, "(eight)"}}).xref_stream(10);
  Rewritten r(builder);
  r.run();
  EXPECT_EQ(r.target.xref_items[9].type, 1u);
  EXPECT_EQ(r.target.xref_items[6].type, 2u);  // survives, unmarked as it is
  EXPECT_EQ(r.target.xref_items[10].type, 0u);
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&r.out));
  Freed<CPDFObj> obj;
  doc.table().get_entity(obj, {7, 0});
  EXPECT_STREQ(obj.as_text(), "seven");
}

TEST(SaveAs, NewObjectsAreWrittenFromTheFirstSlotOn) {
  PdfBuilder builder = document("5 0 R");
  builder.obj(5, "(old)").classic();
  Rewritten r(builder);
  Freed<CPDFObj> obj;
  obj.set_string("new", 3);
  r.source.table.store_object({5, 0}, obj);  // slot 0: its entry's offset is 0
  r.run();
  EXPECT_NE(r.out.str().find("5 0 obj\n(new)\nendobj"), std::string::npos);
  EXPECT_EQ(r.source.table.new_obj_count, 1u);  // no commit
}

TEST(SaveAs, CyclesReferencesToReferencesAndChainsAreFollowed) {
  constexpr int kLinks = 50'000;
  PdfBuilder builder = document("5 0 R 6 0 R");
  builder.obj(5, "<</Next 5 0 R>>").obj(6, "7 0 R").obj(7, "<</Next 10 0 R/Missing 8 0 R>>");
  for (int i = 0; i < kLinks; ++i)
    builder.obj(10 + i, "<</Next " + std::to_string(11 + i) + " 0 R>>");
  builder.classic();
  Rewritten r(builder);
  r.run();
  EXPECT_EQ(r.target.xref_items[6].type, 1u);
  EXPECT_EQ(r.target.xref_items[7].type, 1u);
  EXPECT_EQ(r.target.xref_items[10 + kLinks - 1].type, 1u);
}

TEST(SaveAs, MisplacedObjectsAreTakenFromWhereTheyWereFound) {
  PdfBuilder builder = document("5 0 R");
  builder.obj(4, "(four)").obj(5, "(five)").classic();
  Rewritten r(builder);
  r.source.table.xref_items[5].offset -= 3;
  r.run();
  EXPECT_NE(r.out.str().find("5 0 obj\n(five)\nendobj"), std::string::npos);
}

TEST(SaveAs, AGarbledGenerationDoesNotReachTheHeader) {
  PdfBuilder builder = document("5 0 R");
  builder.obj(5, "(five)").classic();
  Rewritten r(builder);
  r.source.table.xref_items[5].gen = -800;  // of "00(00" in its line
  r.run();
  EXPECT_NE(r.out.str().find("5 0 obj\n(five)\nendobj"), std::string::npos);
}

TEST(SaveAs, StreamsWithEveryKindOfLengthAreCopied) {
  PdfBuilder builder = document("5 0 R 6 0 R 7 0 R 8 0 R");
  builder.stream(5, "", "direct").obj(6, "<</Length 9 0 R>>\nstream\nby reference\nendstream");
  builder.obj(7, "<<>>\nstream\nsearched for\nendstream").obj(8, "<</Length 7.5>>\nstream\na real\nendstream");
  builder.obj(9, "12").classic();
  Rewritten r(builder);
  r.run();
  for (const char* piece :
       {"5 0 obj\n<</Length 6>>\nstream\ndirect\nendstream", "<</Length 12>>\nstream\nby reference\n",
        "<</Length 12>>\nstream\nsearched for\n", "<</Length 6>>\nstream\na real\n"})
    EXPECT_NE(r.out.str().find(piece), std::string::npos) << piece;
}

TEST(SaveAs, ASecondRewriteChangesNothingMore) {
  PdfBuilder builder = document("5 0 R 7 0 R");
  builder.stream(5, "/Filter/FlateDecode", PdfBuilder::deflated("data"))
      .object_stream(9, {{7, "[5 0 R]"}})
      .xref_stream(10);
  Rewritten once(builder);
  once.run();
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&once.out));
  MemStream out("");
  CPDFXRefTable target;
  target.stream = &out;
  doc.save_complete(target, nullptr);
  EXPECT_NEAR(static_cast<double>(out.len), static_cast<double>(once.out.len), 64);
}

TEST(MarkWalk, MapsBuiltByHandGrowAsTheyMust) {
  PdfBuilder builder = document("5 0 R");
  builder.obj(5, "[6 0 R 300 0 R]").obj(6, "(six)").classic();
  TestTable t(builder.str());
  t.table.XRefRead(static_cast<unsigned>(builder.last_section()));
  CPDFCloneMap map{static_cast<std::uint32_t*>(QVCalloc(t.table.xref_count, 4)), 256};
  t.table.rec_obj(map, {5, 0});
  EXPECT_EQ(map.entries[5], 1u);
  EXPECT_EQ(map.entries[6], 1u);
  EXPECT_EQ(map.entries[1], 0u);
  EXPECT_EQ(map.count, 258);  // one more a recording; 300 lies outside the table
  QVFree(map.entries);
}

}  // namespace
