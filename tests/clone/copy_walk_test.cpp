// Copies inside one document, and the export of annotations.
#include <gtest/gtest.h>

#include "support/pdf_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

struct Loaded : TestTable {
  explicit Loaded(const PdfBuilder& builder) : TestTable(builder.str()) {
    table.XRefRead(static_cast<unsigned>(builder.last_section()));
  }
  ~Loaded() { QVFree(map.entries); }
  std::string exported(int num) {
    Cleared<CPDFDictionary> out;
    if (table.export_annot(out, {num, 0}) == 0)
      return "refused";
    Freed<CPDFObj> value;
    auto* copy = new CPDFDictionary;
    copy->copy_from(&out);
    value.take_dict(copy);
    return syntax(value);
  }
  CPDFCloneMap map{};
};

TEST(CopyWalk, ThirdReferenceFindsTheSecondCopy) {
  PdfBuilder builder;
  builder.pages(1).obj(4, "<</A 5 0 R/B 5 0 R/C 5 0 R/D(x)>>").obj(5, "[6 0 R]").obj(6, "(leaf)").classic();
  Loaded doc(builder);
  const int first = doc.table.alloc_obj_num() + 1;
  const PDF_REF copy = doc.table.clone_obj(doc.map, {4, 0});
  EXPECT_EQ(copy.num, first);
  const auto n = [first](int i) { return std::to_string(first + i) + " 0 R"; };
  // X1 with its leaf, then X2 as a copy of X1 with a leaf of its own.
  EXPECT_EQ(doc.object(copy.num), "<</A " + n(1) + "/B " + n(3) + "/C " + n(3) + "/D(x)>>");
  EXPECT_EQ(doc.object(first + 1), "[" + n(2) + "]");
  EXPECT_EQ(doc.object(first + 3), "[" + n(4) + "]");
  EXPECT_EQ(doc.object(first + 4), "(leaf)");
  EXPECT_EQ(doc.table.clone_obj(doc.map, {4, 0}).num, copy.num);
  const auto next = doc.table.next_obj_num;
  EXPECT_EQ(doc.table.clone_obj(doc.map, {0, 0}), (PDF_REF{0, 0}));
  EXPECT_EQ(doc.table.next_obj_num, next);
}

TEST(CopyWalk, NullReferenceEndsItsContainerOnly) {
  PdfBuilder builder;
  builder.pages(1).obj(4, "<</A 5 0 R/B[6 0 R]>>").obj(5, "<</K 6 0 R/L 0 0 R/M 6 0 R>>").obj(6, "7").classic();
  Loaded doc(builder);
  const PDF_REF copy = doc.table.clone_obj(doc.map, {4, 0});
  EXPECT_EQ(doc.object(copy.num).substr(0, 9), "<</A 0 0 ");
  Freed<CPDFObj> value;
  read_value(value, "<</A 6 0 R/B 0 0 R/C 6 0 R>>");
  EXPECT_EQ(doc.table.clone_dict(doc.map, value.as_dict()), 0);
  EXPECT_NE(value.as_dict()->get_item("A")->as_ref().num, 6);
  EXPECT_EQ(value.as_dict()->get_item("C")->as_ref().num, 6);
  Cleared<CPDFArray> empty;
  EXPECT_EQ(doc.table.clone_array(doc.map, &empty), 1);
  EXPECT_EQ(doc.table.clone_array(doc.map, nullptr), 0);
}

TEST(CopyWalk, StreamsAreReadByTheirLengthOrToTheirEnd) {
  PdfBuilder builder;
  builder.pages(1)
      .stream(4, "", "counted")
      .obj(5, "<</Length 6 0 R>>\nstream\nreferred\nendstream")
      .obj(6, "8")
      .obj(7, "<</Length 3.5>>\nstream\nsearched\nendstream")
      .classic();
  Loaded doc(builder);
  for (const auto& [num, text] : {std::pair{4, "counted"}, {5, "referred"}, {7, "searched"}}) {
    const PDF_REF copy = doc.table.clone_obj(doc.map, {num, 0});
    Freed<CPDFObj> obj;
    doc.table.get_entity(obj, copy);
    ASSERT_NE(obj.as_stream(), nullptr) << num;
    EXPECT_EQ(obj.as_stream()->plain, 1);
    EXPECT_EQ(obj.as_stream()->length, static_cast<int>(std::string(text).size()));
    int len = 0;
    const HeapBlock<unsigned char> bytes(doc.table.load_raw_data(obj.as_stream(), len));
    EXPECT_EQ(std::string(reinterpret_cast<char*>(bytes.get()), static_cast<std::size_t>(len)), text);
  }
}

TEST(CopyWalk, DoublingAtEveryLevelIsBounded) {
  PdfBuilder builder;
  builder.pages(1);
  for (int num = 4; num < 64; ++num)
    builder.obj(num, "[" + std::to_string(num + 1) + " 0 R " + std::to_string(num + 1) + " 0 R]");
  builder.obj(64, "1").classic();
  Loaded doc(builder);
  EXPECT_NE(doc.table.clone_obj(doc.map, {4, 0}).num, 0);
  EXPECT_LT(doc.table.new_obj_count, 200000u);
}

// What no save has put into the file yet is no less of the document, and data that were encrypted may be
// none at all.
TEST(CopyWalk, CopiesStreamsOfAnySizeThatTheFileDoesNotHold) {
  PdfBuilder builder;
  builder.pages(1).classic();
  Loaded doc(builder);
  doc.table.copies_own_source = 1;
  std::vector<unsigned char> large(20 << 20, 'x');
  const PDF_REF held = doc.table.adv_new_stream_raw(large.data(), static_cast<int>(large.size()));
  const PDF_REF copy = doc.table.clone_obj(doc.map, held);
  Freed<CPDFObj> obj;
  doc.table.get_stored(obj, copy);
  ASSERT_NE(obj.as_stream(), nullptr);
  EXPECT_EQ(obj.as_stream()->length, 20 << 20);

  CPDFStreamRec none;
  doc.table.write_stream(held, &none, "", 0);
  none.dict.set_item_int("Length", 32);
  doc.table.store_stream(held, none);
  CPDFCloneMap map{};
  const PDF_REF empty = doc.table.clone_obj(map, held);
  QVFree(map.entries);
  doc.table.get_stored(obj, empty);
  ASSERT_NE(obj.as_stream(), nullptr);
  EXPECT_EQ(obj.as_stream()->dict.get_item("Length")->as_int(), 0);
}

TEST(CloneAnnot, LeavesThePageAndEndsBackReferencesOnNull) {
  PdfBuilder builder;
  builder.pages(1).obj(4, "<</P 3 0 R/Popup 5 0 R/Subtype/Text>>").obj(5, "<</Parent 4 0 R>>").obj(6, "(no)").classic();
  Loaded doc(builder);
  const int copy = doc.table.clone_annot({4, 0});
  const std::string popup = std::to_string(copy + 1);
  EXPECT_EQ(doc.object(copy), "<</Popup " + popup + " 0 R/Subtype/Text>>");
  EXPECT_EQ(doc.object(copy + 1), "<</Parent " + std::to_string(copy + 2) + " 0 R>>");
  EXPECT_EQ(doc.object(copy + 2), "null");
  EXPECT_EQ(doc.object(4), "<</P 3 0 R/Popup 5 0 R/Subtype/Text>>");
  const auto next = doc.table.next_obj_num;
  EXPECT_EQ(doc.table.clone_annot({6, 0}), 0);
  EXPECT_EQ(doc.table.clone_annot({0, 0}), 0);
  EXPECT_EQ(doc.table.next_obj_num, next);
}

TEST(ExportAnnot, FlattensReferencesAndDropsWhatHasNoPlace) {
  PdfBuilder builder;
  builder.pages(1)
      .obj(4,
           "<</P 3 0 R/AP<</N 5 0 R>>/Popup 5 0 R/Rect 6 0 R/Contents(a\\000b)/D 7 0 R/L[<</X 1>> 2 7 0 R]/S 5 0 R>>")
      .stream(5, "", "<p>rich</p>")
      .obj(6, "[0 0.5 10 20]")
      .obj(7, "<</N/Name/Self 7 0 R>>")
      .obj(8, "<</RC 5 0 R>>")
      .classic();
  Loaded doc(builder);
  EXPECT_EQ(doc.exported(4), "<</Contents(a\\000b)/D<</N/Name>>/L[2]/Rect[0 0.5 10 20]>>");
  EXPECT_EQ(doc.exported(8), "<</RC(<p>rich</p>)>>");
  EXPECT_EQ(doc.exported(6), "refused");
}

// What is kept of one export for those that follow never changes what they give.
TEST(ExportAnnot, AnnotationsThatShareObjectsAreExportedAlike) {
  PdfBuilder builder;
  builder.pages(1)
      .obj(4, "<</Parent 6 0 R/Dest[3 0 R/Fit]/N 1>>")
      .obj(5, "<</Parent 6 0 R/Dest[3 0 R/Fit]/N 2/Page 3 0 R>>")
      .obj(6, "<</T(name)/Kids[4 0 R 5 0 R]/Up 7 0 R>>")
      .obj(7, "<</T(top)/In<</Deep[1]>>>>")
      .classic();
  Loaded doc(builder);
  const std::string parent = "/Parent<</Kids[]/T(name)/Up<</In<</Deep[1]>>/T(top)>>>>";
  for (int turn = 0; turn < 3; ++turn) {
    EXPECT_EQ(doc.exported(4), "<</Dest[/Fit]/N 1" + parent + ">>") << turn;
    EXPECT_EQ(doc.exported(5).substr(0, 23), "<</Dest[/Fit]/N 2/Page<") << turn;
  }
  doc.table.export_depth = 3;
  EXPECT_EQ(doc.exported(4), "<</Dest[/Fit]/N 1/Parent<</Kids[]/T(name)/Up<</T(top)>>>>>>");
  doc.table.export_depth = 0;
  Cleared<CPDFDictionary> changed;
  changed.set_item_int("Changed", 1);
  doc.table.store_dict({7, 0}, &changed);
  EXPECT_EQ(doc.exported(4), "<</Dest[/Fit]/N 1/Parent<</Kids[]/T(name)/Up<</Changed 1>>>>>>");
}

}  // namespace
