// Editing the page list, and merging documents: where every link, outline entry and name leads.
#include <gtest/gtest.h>

#include "sheaf/neighbours/page/acro_form.h"
#include "support/merged.h"

using namespace sheaf;

namespace {

// Three pages, with links and outline entries of every kind to each of them.
std::string manual() {
  PdfBuilder builder;
  builder.pages(3)
      .obj(1,
           "<</Type/Catalog/Pages 2 0 R/Outlines 10 0 R/Dests<</old[4 0 R/Fit]/gone[5 0 R/Fit]>>"
           "/Names<</Dests<</Names[(new)<</D[3 0 R/XYZ 0 9 null]>>]>>/EmbeddedFiles<</Names[(f)<</F(f)>>]>>>>"
           "/PageLabels<</Nums[0<</S/r>>1<</P(A-)/S/D/St 5>>]>>>>")
      .obj(3, "<</Type/Page/Parent 2 0 R/Annots[20 0 R 21 0 R 22 0 R 23 0 R 24 0 R 25 0 R]>>")
      .obj(10, "<</First 11 0 R/Last 13 0 R/Count 3>>")
      .obj(11, "<</Title(two)/Parent 10 0 R/Next 12 0 R/Dest[4 0 R/Fit]/First 14 0 R/Last 14 0 R/Count -1>>")
      .obj(12, "<</Title(three)/Parent 10 0 R/Prev 11 0 R/Next 13 0 R/Dest/gone>>")
      .obj(13, "<</Title(loop)/Parent 10 0 R/Prev 12 0 R/Next 11 0 R/A<</S/URI/URI(u)>>>>")
      .obj(14, "<</Title(one)/Parent 11 0 R/A<</S/GoTo/D(new)>>>>")
      .obj(20, "<</Subtype/Link/P 3 0 R/Dest[4 0 R/Fit]>>")
      .obj(21, "<</Subtype/Link/A<</S/GoTo/D/old>>>>")
      .obj(22, "<</Subtype/Link/A 26 0 R>>")
      .obj(23, "<</Subtype/Link/Dest(gone)>>")
      .obj(24, "<</Subtype/Link/Dest(new)/Odd 5 0 R>>")
      .obj(25, "<</Subtype/Link/Dest 27 0 R>>")
      .obj(26, "<</S/GoTo/D[5 0 R/Fit]>>")
      .obj(27, "[4 0 R/FitH 3]")
      .classic();
  return builder.str();
}

TEST(DocMerge, LinksLeadToThePagesThatCameAlong) {
  Merged merged;
  EXPECT_EQ(merged.append(manual(), {1, 0}), 2);
  EXPECT_EQ(merged.append(manual(), {0, 1}), 2);
  CPDFDoc& doc = merged.saved();
  ASSERT_EQ(doc.page_count(), 4);
  for (const bool second : {false, true}) {
    const int one = second ? 2 : 1;
    const int two = second ? 3 : 0;
    CPDFPage page;
    ASSERT_TRUE(doc.load_page(one, page));
    const CPDFArray* annots = page.dict.get_item("Annots")->as_array();
    ASSERT_EQ(annots->count, 6);
    const auto link = [&](int i, const char* key) { return merged.at(annots->items[i].as_ref(), key); };
    EXPECT_EQ(link(0, "Dest"), "[" + merged.page(two) + "/Fit]");
    EXPECT_EQ(link(0, "P").substr(0, 9), "<</Annots");
    EXPECT_EQ(link(1, "A"), second ? "<</D(old-2)/S/GoTo>>" : "<</D(old)/S/GoTo>>");
    EXPECT_EQ(link(2, "A"), "null");
    EXPECT_EQ(link(3, "Dest"), "null");
    EXPECT_EQ(link(4, "Dest"), second ? "(new-2)" : "(new)");
    EXPECT_EQ(link(4, "Odd"), "null");
    EXPECT_EQ(link(5, "Dest"), "[" + merged.page(two) + "/FitH 3]");
  }
  const std::string names = merged.catalog("Names");
  Freed<CPDFObj> value;
  read_value(value, names);
  const std::string tree = syntax_of(doc.table(), value.as_dict()->get_item("Dests"));
  EXPECT_NE(tree.find("(new)"), std::string::npos) << tree;
  EXPECT_NE(tree.find("(old-2)"), std::string::npos) << tree;
  EXPECT_EQ(tree.find("gone"), std::string::npos) << tree;
  EXPECT_NE(syntax_of(doc.table(), value.as_dict()->get_item("EmbeddedFiles")).find("(f-2)"), std::string::npos);
  EXPECT_EQ(merged.catalog("PageLabels"), "<</Nums[0<</P(A-)/S/D/St 5>>1<</S/r>>2<</S/r>>3<</P(A-)/S/D/St 5>>]>>");
}

TEST(DocMerge, OutlinesStandUnderOneEntryASource) {
  Merged merged;
  merged.append(manual(), {0, 1}, "first");
  merged.append(manual(), {2}, "second");
  merged.saved();
  const PDF_REF root = merged.go(merged.doc.table().root.as_ref(), "Outlines");
  const PDF_REF first = merged.go(root, "First");
  EXPECT_EQ(merged.at(first, "Title"), "(first)");
  EXPECT_EQ(merged.at(first, "Dest"), "[" + merged.page(0) + "/Fit]");
  EXPECT_EQ(merged.at(first, "Count"), "2");
  const PDF_REF two = merged.go(first, "First");
  EXPECT_EQ(merged.at(two, "Dest"), "[" + merged.page(1) + "/Fit]");
  EXPECT_EQ(merged.at(merged.go(two, "First"), "A"), "<</D(new)/S/GoTo>>");
  EXPECT_EQ(merged.at(merged.go(two, "Next"), "Title"), "(loop)");  // the entry of the missing page is gone
  EXPECT_EQ(merged.go(merged.go(two, "Next"), "Next").num, 0);
  const PDF_REF second = merged.go(first, "Next");
  EXPECT_EQ(merged.at(merged.go(second, "First"), "Title"), "(three)");
  EXPECT_EQ(merged.at(merged.go(second, "First"), "Dest"), "(gone)");
  EXPECT_EQ(merged.go(root, "Last"), second);
}

TEST(DocMerge, HeadingsThatLeadNowhereStayWithTheWholeDocument) {
  PdfBuilder builder;
  builder.pages(2)
      .obj(1, "<</Type/Catalog/Pages 2 0 R/Outlines 5 0 R>>")
      .obj(5, "<</First 6 0 R/Last 6 0 R/Count 1>>")
      .obj(6, "<</Title(heading)/Parent 5 0 R>>")
      .classic();
  for (const bool whole : {true, false}) {
    Merged merged;
    merged.append(builder.str(), whole ? std::vector<std::int32_t>{0, 1} : std::vector<std::int32_t>{0}, nullptr);
    merged.saved();
    EXPECT_EQ(merged.path({"Outlines", "First", "Title"}), whole ? "(heading)" : "null");
  }
}

TEST(DocMerge, FormsKeepWhatTheirFieldsNeed) {
  PdfBuilder builder;
  builder.pages(2)
      .obj(1,
           "<</Type/Catalog/Pages 2 0 R/AcroForm<</Fields[5 0 R 6 0 R]/DA(/F 9 Tf)/DR<</Font<</F 8 0 R>>>>"
           "/NeedAppearances true>>>>")
      .obj(3, "<</Type/Page/Parent 2 0 R/Annots[5 0 R]>>")
      .obj(4, "<</Type/Page/Parent 2 0 R/Annots[7 0 R]>>")
      .obj(5, "<</T(a)/FT/Tx/V(v)/Subtype/Widget/P 3 0 R>>")
      .obj(6, "<</T(b)/FT/Tx/Kids[7 0 R]>>")
      .obj(7, "<</Subtype/Widget/Parent 6 0 R/P 4 0 R>>")
      .obj(8, "<</Type/Font/BaseFont/Helvetica>>")
      .classic();
  Merged merged;
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(merged.append(builder.str(), {0}), 1);
  CPDFDoc& doc = merged.saved();
  CPDFAcroForm form(doc.table());
  ASSERT_TRUE(form.load());
  ASSERT_EQ(form.field_count(), 3);  // the field of the page left out stayed behind
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(std::wstring(form.field_at(i)->name()), i == 0 ? L"a" : i == 1 ? L"a0" : L"a1");
    CPDFPage page;
    ASSERT_TRUE(doc.load_page(i, page));
    EXPECT_EQ(page.dict.get_item("Annots")->as_array()->items[0].as_ref(), form.field_at(i)->ref());
    EXPECT_EQ(merged.go(form.field_at(i)->ref(), "P"), page.ref);
  }
  const std::string text = merged.catalog("AcroForm");
  for (const char* part : {"/DA(/F 9 Tf)", "/DR<</Font<</F ", "/NeedAppearances true"})
    EXPECT_NE(text.find(part), std::string::npos) << text;
}

TEST(DocMerge, RepeatedPagesHaveAnnotationsOfTheirOwn) {
  Merged merged;
  EXPECT_EQ(merged.append(manual(), {0, 0, 7}), 2);
  CPDFDoc& doc = merged.saved();
  CPDFPage first;
  CPDFPage second;
  ASSERT_TRUE(doc.load_page(0, first) && doc.load_page(1, second));
  EXPECT_NE(first.ref.num, second.ref.num);
  const PDF_REF annot = second.dict.get_item("Annots")->as_array()->items[0].as_ref();
  EXPECT_NE(first.dict.get_item("Annots")->as_array()->items[0].as_ref(), annot);
  EXPECT_EQ(merged.go(annot, "P"), second.ref);
}

// The counts of such a tree are right, and yet one of the kids that look like a page each is a node.
TEST(DocMerge, PagesBelowNodesOfOnePageAreTaken) {
  constexpr int kKids = 70;  // more than are looked at beforehand
  constexpr int kFirstPage = 10;
  PdfBuilder builder;
  std::string kids = ref(3) + " " + ref(4);
  for (int i = 2; i < kKids; ++i) {
    kids += " " + ref(kFirstPage + i);
    builder.obj(kFirstPage + i, "<</Type/Page/Parent 2 0 R/Mark " + std::to_string(i + 1) + ">>");
  }
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R>>")
      .obj(2, "<</Type/Pages/Count " + std::to_string(kKids) + "/Kids[" + kids + "]/MediaBox[0 0 9 9]>>")
      .obj(3, "<</Type/Page/Parent 2 0 R/Mark 1/Annots[<</Subtype/Link/Dest[5 0 R/Fit]>>]>>")
      .obj(4, "<</Type/Pages/Parent 2 0 R/Count 1/Kids[5 0 R]/Rotate 90>>")
      .obj(5, "<</Type/Page/Parent 4 0 R/Mark 2>>")
      .classic();
  Merged merged;
  EXPECT_EQ(merged.append(builder.str(), {0, 1, 2}), 3);
  EXPECT_EQ(merged.append(builder.str(), {1}), 1);
  CPDFDoc& doc = merged.saved();
  ASSERT_EQ(doc.page_count(), 4);
  const char* const marks[] = {"1", "2", "3", "2"};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(merged.at(doc.page_ref(i), "Mark"), marks[i]);
    EXPECT_EQ(merged.at(doc.page_ref(i), "Rotate"), i % 2 == 1 ? "90" : "null");
  }
  CPDFPage page;
  ASSERT_TRUE(doc.load_page(0, page));
  EXPECT_EQ(merged.at(page.ref, "Annots"), "[<</Dest[" + merged.page(1) + "/Fit]/Subtype/Link>>]");
}

// A name may lead by another name, by a place that is an object of its own, or both; a part of a
// long document takes those that end at its pages.
TEST(DocMerge, DestinationsOfAPartAreFoundHoweverTheyAreStored) {
  PdfBuilder builder;
  builder.pages(8)
      .obj(1,
           "<</Type/Catalog/Pages 2 0 R/Names<</Dests<</Names[(a)20 0 R(b)21 0 R(c)22 0 R(d)23 0 R(e)(a)(f)24 0 R"
           "(g)[3 0 R/Fit](h)[4 0 R/Fit]]>>>>>>")
      .obj(3, "<</Type/Page/Parent 2 0 R/Annots[30 0 R 31 0 R 32 0 R 33 0 R 34 0 R]>>")
      .obj(20, "<</D[3 0 R/Fit]>>")
      .obj(21, "<</D[4 0 R/Fit]>>")
      .obj(22, "<</D 25 0 R>>")
      .obj(23, "26 0 R")
      .obj(24, "(b)")
      .obj(25, "[3 0 R/FitH 1]")
      .obj(26, "[3 0 R/FitV 2]")
      .obj(30, "<</Dest(a)>>")
      .obj(31, "<</Dest(b)>>")
      .obj(32, "<</Dest(c)>>")
      .obj(33, "<</Dest(d)>>")
      .obj(34, "<</Dest(h)>>")
      .classic();
  Merged merged;
  ASSERT_EQ(merged.append(builder.str(), {0}), 1);
  CPDFDoc& doc = merged.saved();
  CPDFPage page;
  ASSERT_TRUE(doc.load_page(0, page));
  const char* const kept[] = {"(a)", "null", "(c)", "(d)", "null"};
  for (int i = 0; i < 5; ++i)
    EXPECT_EQ(merged.at(page.dict.get_item("Annots")->as_array()->items[i].as_ref(), "Dest"), kept[i]) << i;
  Freed<CPDFObj> value;
  read_value(value, merged.catalog("Names"));
  const std::string names = syntax_of(doc.table(), value.as_dict()->get_item("Dests"));
  for (const char* name : {"(a)", "(c)", "(d)", "(g)"})
    EXPECT_NE(names.find(name), std::string::npos) << names;
  for (const char* name : {"(b)", "(f)", "(h)"})
    EXPECT_EQ(names.find(name), std::string::npos) << names;
}

TEST(DocPages, EditsGiveABalancedTreeWithInheritedValues) {
  PdfBuilder builder;
  builder.pages(100).classic();
  MemStream file(builder.str());
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&file));
  EXPECT_TRUE(doc.move_page(99, 0));
  EXPECT_TRUE(doc.move_page(1, 99));
  EXPECT_TRUE(doc.remove_page(50));
  EXPECT_FALSE(doc.remove_page(99));
  EXPECT_TRUE(doc.insert_page(10, doc.page_ref(0)));  // listed twice
  EXPECT_FALSE(doc.insert_page(101, doc.page_ref(0)));
  ASSERT_TRUE(doc.save_update(PDF_SAVE_FORM::kClassic, nullptr));
  CPDFDoc again;
  ASSERT_TRUE(again.open(&file));
  ASSERT_EQ(again.page_count(), 100);
  EXPECT_EQ(again.page_ref(0).num, 102);
  EXPECT_EQ(again.page_ref(1).num, 4);
  EXPECT_EQ(again.page_ref(99).num, 3);
  EXPECT_GT(again.page_ref(10).num, 102);
  Freed<CPDFObj> root;
  again.table().get_entity(root, {2, 0});
  EXPECT_EQ(root.as_dict()->get_item("Count")->as_int(), 100);
  const CPDFArray* kids = root.as_dict()->get_item("Kids")->as_array();
  ASSERT_EQ(kids->count, 4);
  EXPECT_EQ(root.as_dict()->get_item("MediaBox"), nullptr);
  Freed<CPDFObj> node;
  again.table().get_entity(node, kids->items[3].as_ref());
  EXPECT_EQ(node.as_dict()->get_item("Count")->as_int(), 4);
  EXPECT_EQ(node.as_dict()->get_item("Parent")->as_ref().num, 2);
  CPDFPage page;
  ASSERT_TRUE(again.load_page(99, page));
  EXPECT_EQ(page.dict.get_item("Parent")->as_ref(), kids->items[3].as_ref());
  EXPECT_EQ(page.shown_width(), fix_from_int(612));
}

}  // namespace
