// What pages inherit, and what they share, when they are edited and when they come into another document.
#include "sheaf/document/pages/page_labels.h"
#include "support/merged.h"

using namespace sheaf;

namespace {

// Pages below two nodes that hold all that can be inherited, one of them directly.
std::string inheriting() {
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R>>")
      .obj(2,
           "<</Type/Pages/Count 4/Kids[3 0 R 4 0 R]/MediaBox[0 0 90 80]/CropBox[1 2 80 70]/Rotate 90"
           "/Resources<</Font<</Top 20 0 R>>>>>>")
      .obj(3, "<</Type/Pages/Parent 2 0 R/Count 2/Kids[10 0 R 11 0 R]>>")
      .obj(4, "<</Type/Pages/Parent 2 0 R/Count 2/Kids[12 0 R 13 0 R]/Resources 21 0 R>>")
      .obj(10, "<</Type/Page/Parent 3 0 R/Mark 0/MediaBox[0 0 99 88]>>")
      .obj(11, "<</Type/Page/Parent 3 0 R/Mark 1/Resources null/Rotate null>>")
      .obj(12, "<</Type/Page/Parent 4 0 R/Mark 2>>")
      .obj(13, "<</Type/Page/Parent 4 0 R/Mark 3/Rotate 0/Resources<<>>>>")
      .obj(20, "<</Type/Font/BaseFont/A>>")
      .obj(21, "<</Font<</Near 20 0 R>>>>")
      .classic();
  return builder.str();
}

// What a reader sees of a page: its own number, boxes, rotation and fonts.
std::string look(CPDFDoc& doc, int index) {
  CPDFPage page;
  if (!doc.load_page(index, page))
    return "none";
  PDF_INHERITED values = page.from_above;
  std::string text = syntax_of(doc.table(), page.dict.get_item("Mark"));
  for (const char* key : {"MediaBox", "CropBox"}) {
    const CPDFObj* own = page.dict.get_item(key);
    const bool media = std::string(key) == "MediaBox";
    _QVRECTF box = media ? values.media_box : values.crop_box;
    if (own != nullptr && !own->is_null())
      doc.table().read_obj_rect(box, own);
    for (const QVFIX side : {box.left, box.bottom, box.right, box.top})
      text += " " + std::to_string(side / fix_from_int(1));
  }
  Freed<CPDFObj> resources;
  const CPDFObj* own = page.dict.get_item("Resources");
  doc.table().resolve(resources, own);
  if (resources.is_null())
    doc.table().get_entity(resources, values.resources);
  const CPDFObj* fonts = resources.as_dict() != nullptr ? resources.as_dict()->get_item("Font") : nullptr;
  return text + " " + std::to_string(page.rotate) + " " +
         (fonts != nullptr && fonts->as_dict() != nullptr && fonts->as_dict()->count > 0
              ? fonts->as_dict()->items[0]->key()
              : "-");
}

const char* const kLooks[] = {"0 0 0 99 88 1 2 80 70 90 Top", "1 0 0 90 80 1 2 80 70 90 Top",
                              "2 0 0 90 80 1 2 80 70 90 Near", "3 0 0 90 80 1 2 80 70 0 -"};

TEST(DocMergePages, EveryPageLooksAsItDid) {
  Merged merged;
  ASSERT_EQ(merged.append(inheriting(), {3, 2, 1, 0}), 4);
  CPDFDoc& doc = merged.saved();
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(look(doc, i), kLooks[3 - i]);
  // One copy of what they share.
  EXPECT_EQ(merged.go(doc.page_ref(2), "Resources"), merged.go(doc.page_ref(3), "Resources"));
  EXPECT_NE(merged.go(doc.page_ref(2), "Resources").num, 0);
}

TEST(DocMergePages, EditsKeepWhatPagesInherit) {
  const struct {
    const char* what;
    bool (*edit)(CPDFDoc& doc);
    std::vector<int> pages;
  } rows[] = {
      {"removed and put back",
       [](CPDFDoc& doc) {
         const PDF_REF page = doc.page_ref(1);
         return doc.remove_page(1) && doc.insert_page(3, page);
       },
       {0, 2, 3, 1}},
      {"put back behind a save",
       [](CPDFDoc& doc) {
         const PDF_REF page = doc.page_ref(0);
         return doc.remove_page(0) && doc.store_page_tree() && doc.insert_page(1, page);
       },
       {1, 0, 2, 3}},
      {"listed twice, the copy in front",
       [](CPDFDoc& doc) { return doc.insert_page(0, doc.page_ref(2)); },
       {2, 0, 1, 2, 3}},
      {"listed twice", [](CPDFDoc& doc) { return doc.insert_page(4, doc.page_ref(0)); }, {0, 1, 2, 3, 0}},
  };
  for (const auto& row : rows) {
    MemStream file(inheriting());
    CPDFDoc doc;
    ASSERT_TRUE(doc.open(&file));
    ASSERT_TRUE(row.edit(doc)) << row.what;
    ASSERT_TRUE(doc.save_update(PDF_SAVE_FORM::kClassic, nullptr));
    CPDFDoc again;
    ASSERT_TRUE(again.open(&file));
    ASSERT_EQ(again.page_count(), static_cast<int>(row.pages.size())) << row.what;
    for (std::size_t i = 0; i < row.pages.size(); ++i)
      EXPECT_EQ(look(again, static_cast<int>(i)), kLooks[row.pages[i]]) << row.what;
  }
}

// The catalogue is written in the trailer, or names an action as page tree: neither is lost by an edit.
TEST(DocMergePages, EditsOfDamagedDocumentsLoseNothingElse) {
  PdfBuilder direct;
  direct.pages(2).classic("/Root<</Type/Catalog/Pages 2 0 R/Lang(x)/AcroForm<</DA(own)/Fields[]>>>>");
  PdfBuilder mistaken;
  mistaken.obj(1, "<</Type/Catalog/Lang(x)/Pages 2 0 R/OpenAction 2 0 R>>")
      .obj(2, "<</S/JavaScript/JS(kept)>>")
      .classic();
  for (const bool is_direct : {true, false}) {
    MemStream file((is_direct ? direct : mistaken).str());
    CPDFDoc doc;
    ASSERT_TRUE(doc.open(&file));
    CPDFPageLabels labels;
    Freed<CPDFObj> page;
    read_value(page, "<</Type/Page>>");
    const PDF_REF added{doc.table().alloc_obj_num(), 0};
    ASSERT_TRUE(doc.table().store_object(added, page) && doc.insert_page(0, added));
    ASSERT_TRUE(labels.store(doc));
    ASSERT_TRUE(doc.save_update(PDF_SAVE_FORM::kClassic, nullptr));
    CPDFDoc again;
    ASSERT_TRUE(again.open(&file));
    EXPECT_EQ(again.page_count(), is_direct ? 3 : 1);
    const Freed<CPDFObj> catalog = again.table().catalog();
    ASSERT_NE(catalog.as_dict(), nullptr);
    EXPECT_EQ(syntax_of(again.table(), catalog.as_dict()->get_item("Lang")), "(x)");
    EXPECT_EQ(syntax_of(again.table(), catalog.as_dict()->get_item("OpenAction")),
              is_direct ? "null" : "<</JS(kept)/S/JavaScript>>");
  }
}

// A damaged reference in a page, or in what it leads to, costs nothing but itself.
TEST(DocMergePages, NullReferencesDoNotCostThePage) {
  PdfBuilder builder;
  builder.pages(1)
      .obj(3, "<</Type/Page/Parent 2 0 R/Annots[0 0 R 4 0 R]/Odd 0 0 R/Contents 0 0 R>>")
      .obj(4, "<</Subtype/Text/Contents(note)/Popup 0 0 R/StructParent 5>>")
      .classic();
  Merged merged;
  ASSERT_EQ(merged.append(builder.str(), {0}), 1);
  CPDFDoc& doc = merged.saved();
  CPDFPage page;
  ASSERT_TRUE(doc.load_page(0, page));
  ASSERT_EQ(page.dict.get_item("Annots")->as_array()->count, 1);
  const PDF_REF note = page.dict.get_item("Annots")->as_array()->items[0].as_ref();
  EXPECT_EQ(merged.at(note, "Contents"), "(note)");
  EXPECT_EQ(merged.at(note, "StructParent"), "null");  // no tree was taken
}

// A tree that lists one page very often lists it so in the result, where copies would outgrow the file.
TEST(DocMergePages, OnePageListedVeryOftenStaysSmall) {
  constexpr int kTimes = 50'000;
  PdfBuilder builder;
  std::string kids;
  std::vector<std::int32_t> pages;
  for (int i = 0; i < kTimes; ++i) {
    kids += "3 0 R ";
    pages.push_back(i);
  }
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R>>")
      .obj(2, "<</Type/Pages/Count " + std::to_string(kTimes) + "/Kids[" + kids + "]/MediaBox[0 0 9 9]>>")
      .obj(3, "<</Type/Page/Parent 2 0 R>>")
      .classic();
  Merged merged;
  ASSERT_EQ(merged.append(builder.str(), pages), kTimes);
  EXPECT_EQ(merged.saved().page_count(), kTimes);
  EXPECT_LT(merged.doc.table().xref_count, 4u * CPDFDoc::kMostPageCopies);
}

std::int32_t image_of(CPDFDoc& doc, int page, const char* name) {
  const Freed<CPDFObj> dict = doc.table().object(doc.page_ref(page));
  const Freed<CPDFObj> resources = doc.table().value(dict.as_dict(), "Resources");
  const Freed<CPDFObj> images = doc.table().value(resources.as_dict(), "XObject");
  return images.as_dict()->get_item(name)->as_ref().num;
}

TEST(DocMergePages, EqualStreamsAreWrittenOnce) {
  const auto source = [](const std::string& mask, const std::string& other) {
    PdfBuilder builder;
    builder.pages(1)
        .obj(3, "<</Type/Page/Parent 2 0 R/Resources<</XObject<</I 4 0 R/J 6 0 R>>>>>>")
        .stream(4, "/Subtype/Image/SMask 5 0 R", std::string(100, 'i'))
        .stream(5, "/Subtype/Image", std::string(100, 'm') + mask)
        .stream(6, "/Subtype/Image" + other, std::string(100, 'j'))
        .classic();
    return builder.str();
  };
  Merged merged;
  merged.merge.set_options({PDF_MERGE_FILES::kAll, true, true});
  for (const char* mask : {"", "", "x"})
    ASSERT_EQ(merged.append(source(mask, mask[0] != 0 ? "/Odd 1" : ""), {0}), 1);
  CPDFDoc& doc = merged.saved();
  const auto image = [&](int page, const char* name) { return image_of(doc, page, name); };
  EXPECT_EQ(image(0, "I"), image(1, "I"));
  EXPECT_NE(image(0, "I"), image(2, "I"));  // its mask differs
  EXPECT_EQ(image(0, "J"), image(1, "J"));
  EXPECT_NE(image(0, "J"), image(2, "J"));  // its dictionary differs
}

// Two images of one document are equal once their masks are one: the first gives way to the second, which gives way
// to that of the document before.
TEST(DocMergePages, AStreamThatGaveWayToOneThatGivesWayIsNotLost) {
  PdfBuilder builder;
  builder.pages(1)
      .obj(3, "<</Type/Page/Parent 2 0 R/Resources<</XObject<</I 4 0 R/J 6 0 R>>>>>>")
      .stream(4, "/Subtype/Image/SMask 5 0 R", std::string(100, 'i'))
      .stream(5, "/Subtype/Image", std::string(100, 'm'))
      .stream(6, "/Subtype/Image/SMask 7 0 R", std::string(100, 'i'))
      .stream(7, "/Subtype/Image", std::string(100, 'm'))
      .classic();
  Merged merged;
  merged.merge.set_options({PDF_MERGE_FILES::kAll, true, true});
  for (int i = 0; i < 3; ++i)
    ASSERT_EQ(merged.append(builder.str(), {0}), 1);
  CPDFDoc& doc = merged.saved();
  const std::int32_t first = image_of(doc, 0, "I");
  EXPECT_NE(doc.table().object({first, 0}).as_stream(), nullptr);
  for (int page = 0; page < 3; ++page) {
    for (const char* name : {"I", "J"})
      EXPECT_EQ(image_of(doc, page, name), first) << page << name;
  }
}

}  // namespace
