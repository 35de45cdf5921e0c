// Flattening: where appearances land on the page, what is drawn at all, and what is left of the form.
#include "sheaf/document/forms/flattener.h"

#include <gtest/gtest.h>

#include "filled_form.h"

namespace {

std::string look(const std::string& keys, const std::string& content = "0 0 10 20 re f") {
  return "<</Subtype/Form" + keys + "/Length " + std::to_string(content.size()) + ">>\nstream\n" + content +
         "\nendstream";
}

// All content of the first page, its streams one after the other.
std::string page_content(FilledForm& form) {
  Freed<CPDFObj> page;
  Freed<CPDFObj> contents;
  form.doc.table().get_entity(page, {3, 0});
  form.doc.table().resolve(contents, page.as_dict()->get_item("Contents"));
  std::string all;
  for (std::int32_t i = 0; contents.as_array() != nullptr && i < contents.as_array()->count; ++i)
    all += form.stream(contents.as_array()->get(i)->as_ref()) + "\n";
  return all;
}

TEST(Flattener, BringsTheTurnedBoxIntoTheRectangle) {
  struct Row {
    const char* form;
    const char* annotation;
    const char* placed;
  };
  const Row rows[] = {
      {"/BBox[0 0 10 20]", "/Rect[100 200 110 220]", "1 0 0 1 100 200 cm"},
      {"/BBox[0 0 10 20]", "/Rect[120 260 100 200]", "2 0 0 3 100 200 cm"},
      {"/BBox[5 5 15 25]/Matrix[0 1 -1 0 0 0]", "/Rect[100 200 120 210]", "1 0 0 1 125 195 cm"},
      {"/BBox[0 0 10 20]/Matrix[2 0 0 2 7 7]", "/Rect[100 200 120 240]", "1 0 0 1 93 193 cm"},
      {"/BBox[0 0 10 20]", "/F 20/Rect[100 200 110 220]", "0 1 -1 0 120 220 cm"},  // does not turn with the page
  };
  for (const Row& row : rows) {
    FormMaker maker;
    maker.page_keys = std::string(row.annotation).find("/F 20") == 0 ? "/Rotate 90" : "";
    maker.builder().obj(7, look(row.form));
    maker.annotation(std::string("/Subtype/Stamp/AP<</N 7 0 R>>") + row.annotation);
    FilledForm form(maker.str());
    CPDFFlattener flattener(form.doc);
    ASSERT_TRUE(flattener.run(PDF_FLATTEN::kAll));
    EXPECT_EQ(flattener.report().drawn, 1);
    EXPECT_NE(page_content(form).find(row.placed), std::string::npos) << row.placed << page_content(form);
    EXPECT_EQ(form.at(3, "Annots"), "");
  }
}

TEST(Flattener, DrawsWhatIsShownAndKeepsWhatItCannotDraw) {
  FormMaker maker;
  maker.builder().obj(7, look("/BBox[0 0 10 20]"));
  const std::string placed = "/Rect[0 0 10 20]/AP<</N 7 0 R>>";
  maker.annotation("/Subtype/Square" + placed);
  maker.annotation("/Subtype/Square/F 2" + placed);   // hidden
  maker.annotation("/Subtype/Square/F 36" + placed);  // printed, not shown
  const int link = maker.annotation("/Subtype/Link" + placed);
  const int bare = maker.annotation("/Subtype/Highlight/Rect[0 0 10 20]");
  const int bare_popup = maker.annotation("/Subtype/Popup/Parent " + std::to_string(bare) + " 0 R/Rect[0 0 9 9]");
  maker.annotation("/Subtype/Popup/Parent 10 0 R/Rect[0 0 9 9]");
  const int file = maker.annotation("/Subtype/FileAttachment" + placed);
  FilledForm form(maker.str());
  CPDFFlattener flattener(form.doc);
  ASSERT_TRUE(flattener.run(PDF_FLATTEN::kAll));
  EXPECT_EQ(flattener.report().drawn, 1);
  EXPECT_EQ(flattener.report().hidden, 2);
  EXPECT_EQ(flattener.report().kept, 1);
  std::string left = "[";
  for (const int num : {link, bare, file, bare_popup})
    left += (left.size() > 1 ? " " : "") + std::to_string(num) + " 0 R";
  EXPECT_EQ(form.at(3, "Annots"), left + "]");

  FilledForm printed(maker.str());
  CPDFFlattener printer(printed.doc);
  printer.for_print(true);
  ASSERT_TRUE(printer.run(PDF_FLATTEN::kAll));
  EXPECT_EQ(printer.report().drawn, 1);  // the one with its print flag
}

TEST(Flattener, StartsFromAnUntouchedGraphicsState) {
  struct Row {
    const char* content;
    const char* opened;
    const char* closed;
  };
  const Row rows[] = {
      {"q 1 0 0 1 5 5 cm Q", "q\n\n", "\nQ\nq\n"},
      {"q q (Q \\) Q) Tj", "q\n\n", "\nQ\nQ\nQ\nq\n"},
      {"Q Q 2 0 0 2 0 0 cm", "q\nq\nq\n\n", "\nQ\nq\n"},
      {"BI /W 1 ID Q Q Q EI q % q\n/q gs <</Q 1>> BDC", "q\n\n", "\nQ\nQ\nq\n"},
  };
  for (const Row& row : rows) {
    FormMaker maker;
    maker.content = row.content;
    maker.builder().obj(7, look("/BBox[0 0 10 20]"));
    maker.annotation("/Subtype/Stamp/Rect[0 0 10 20]/AP<</N 7 0 R>>");
    FilledForm form(maker.str());
    CPDFFlattener flattener(form.doc);
    ASSERT_TRUE(flattener.run(PDF_FLATTEN::kAll));
    const std::string content = page_content(form);
    EXPECT_EQ(content.substr(0, std::string(row.opened).size()), row.opened) << content;
    EXPECT_NE(content.find(std::string(row.content) + row.closed), std::string::npos) << content;
  }
}

TEST(Flattener, TheFormGoesAndItsValuesStay) {
  FormMaker maker;
  maker.catalog_keys = "/Perms<</DocMDP 9 0 R>>";
  maker.builder().obj(7, look("/BBox[0 0 10 20]")).obj(8, look("/BBox[0 0 10 20]"));
  maker.field("text", "/FT/Tx/V(shown)");
  maker.field("check", "/FT/Btn/V/On/AS/On/AP<</N<</On 7 0 R/Off 8 0 R>>>>", "300 700 320 720");
  const int tagged = maker.field("sig", "/FT/Sig/StructParent 0/V<</Type/Sig>>", "0 0 0 0");
  maker.field("layer", "/FT/Tx/V(layered)/OC 9 0 R", "300 650 400 670");
  maker.builder().obj(9, "<</Type/OCG/Name(L)>>");
  const int link = maker.annotation("/Subtype/Link/Rect[0 0 9 9]");
  FilledForm form(maker.str());
  CPDFFlattener flattener(form.doc);
  ASSERT_TRUE(flattener.run(PDF_FLATTEN::kWidgets));
  EXPECT_EQ(flattener.report().drawn, 3);
  EXPECT_EQ(flattener.report().blank, 1);
  EXPECT_EQ(flattener.report().signatures, 1);
  EXPECT_TRUE(flattener.report().dropped_form);
  EXPECT_EQ(form.at(1, "AcroForm") + form.at(1, "Perms"), "");
  EXPECT_EQ(form.at(3, "Annots"), "[" + std::to_string(link) + " 0 R]");
  Freed<CPDFObj> gone;  // what the structure tree may still name
  form.doc.table().get_entity(gone, {tagged, 0});
  EXPECT_TRUE(gone.is_null());
  const std::string resources = form.at(3, "Resources");
  EXPECT_NE(resources.find(" 7 0 R"), std::string::npos) << resources;
  EXPECT_EQ(resources.find(" 8 0 R"), std::string::npos) << resources;
  EXPECT_EQ(form.at(7, "Subtype") + form.at(7, "Type"), "/Form/XObject");
  EXPECT_NE(page_content(form).find("/OC /SheafFlat"), std::string::npos) << page_content(form);
  if (!has_program("pdftotext") || !has_program("qpdf"))
    GTEST_SKIP() << "pdftotext or qpdf is not installed";
  const TestFolder folder;
  write_file(folder / "flat.pdf", form.written());
  EXPECT_EQ(run_command("qpdf --check " + (folder / "flat.pdf") + " 2>&1").code, 0);
  const std::string text = run_command("pdftotext " + (folder / "flat.pdf") + " -").output;
  EXPECT_NE(text.find("Page"), std::string::npos) << text;
  EXPECT_NE(text.find("shown"), std::string::npos) << text;
}

// Resources that pages share stay one object, and those that stand above a page are not lost.
TEST(Flattener, ResourcesStayWhereTheyAre) {
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R>>")
      .obj(2, "<</Type/Pages/Kids[3 0 R 4 0 R 5 0 R]/Count 3/MediaBox[0 0 100 100]/Resources<</Font<</Up 9 0 R>>>>>>")
      .obj(3, "<</Type/Page/Parent 2 0 R/Resources 6 0 R/Annots[8 0 R]>>")
      .obj(4, "<</Type/Page/Parent 2 0 R/Resources 6 0 R/Annots[8 0 R]>>")
      .obj(5, "<</Type/Page/Parent 2 0 R/Annots[8 0 R]>>")
      .obj(6, "<</Font<</Shared 9 0 R>>/XObject<</SheafFlat0 7 0 R>>>>")
      .obj(7, look("/BBox[0 0 10 20]"))
      .obj(8, "<</Type/Annot/Subtype/Stamp/Rect[0 0 10 20]/AP<</N 7 0 R>>>>")
      .obj(9, "<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>");
  MemStream file(builder.classic().str());
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&file));
  CPDFFlattener flattener(doc);
  ASSERT_TRUE(flattener.run(PDF_FLATTEN::kAll));
  const auto object = [&doc](int num) {
    Freed<CPDFObj> obj;
    doc.table().get_entity(obj, {num, 0});
    return TestTable::syntax(obj);
  };
  EXPECT_NE(object(3).find("/Resources 6 0 R"), std::string::npos) << object(3);
  const std::string shared = object(6);
  for (const char* name : {"/Shared 9 0 R", "/SheafFlat0 7 0 R", "/SheafFlat1 7 0 R", "/SheafFlat2 7 0 R"})
    EXPECT_NE(shared.find(name), std::string::npos) << shared;
  EXPECT_NE(object(5).find("/Up 9 0 R"), std::string::npos) << object(5);
  EXPECT_NE(object(5).find("/SheafFlat3 7 0 R"), std::string::npos) << object(5);
}

// A new file holds nothing of the form, also where its fields stood in an object stream with others, or an older
// version of them still does.
TEST(Flattener, ANewFileHoldsNothingOfTheFields) {
  for (const bool updated : {false, true}) {
    PdfBuilder builder;
    builder
        .object_stream(9, {{1, "<</Type/Catalog/Pages 2 0 R/AcroForm<</Fields[4 0 R]>>>>"},
                           {2, "<</Type/Pages/Kids[3 0 R]/Count 1/MediaBox[0 0 99 99]>>"},
                           {3, "<</Type/Page/Parent 2 0 R/Annots[4 0 R]/Kept(kept)>>"},
                           {4, "<</Subtype/Widget/FT/Tx/T(hidden)/F 2/V(secret)/Rect[0 0 9 9]>>"}})
        .xref_stream(10);
    if (updated)
      builder.obj(4, "<</Subtype/Widget/FT/Tx/T(hidden)/F 2/V(newer)/Rect[0 0 9 9]>>").xref_stream(11);
    FilledForm form(builder.str());
    CPDFFlattener flattener(form.doc);
    ASSERT_TRUE(flattener.run(PDF_FLATTEN::kWidgets));
    const std::string written = form.written();
    EXPECT_NE(written.find("(kept)"), std::string::npos);
    EXPECT_EQ(written.find("secret"), std::string::npos) << updated;
  }
}

}  // namespace
