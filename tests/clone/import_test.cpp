// Objects, pages and forms from another document.
#include <gtest/gtest.h>

#include <cstring>

#include "sheaf/document/doc.h"
#include "sheaf/neighbours/page/acro_form.h"
#include "support/pdf_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

// A new destination, and a source with an import open.
struct Import {
  /// The number that a source object got.
  int mapped(int num) const { return static_cast<int>(context->map[num]); }
  explicit Import(const std::string& bytes) : file(bytes) {
    into.create(&out);
    from.open(&file);
    context = into.table().import_start(&into, &from.table());
  }
  ~Import() { into.table().import_end(context); }
  int page(int index) {
    CPDFPage page;
    return from.load_page(index, page) ? into.table().clone_page(&from.table(), context, &page) : -1;
  }
  PDF_REF object(int num) { return into.table().clone_obj(&from.table(), context, {num, 0}); }
  std::string text(int num) {
    Freed<CPDFObj> obj;
    into.table().get_entity(obj, {num, 0});
    return TestTable::syntax(obj);
  }
  int resources_of(int num) {
    Freed<CPDFObj> obj;
    into.table().get_entity(obj, {num, 0});
    return obj.as_dict()->get_item("Resources")->as_ref().num;
  }
  MemStream file;
  CQVStreamMem out;
  CPDFDoc from;
  CPDFDoc into;
  CPDFMergeContext* context;
};

std::string ref(int num) {
  return std::to_string(num) + " 0 R";
}

TEST(Import, PagesShareWhatTheirResourcesName) {
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R>>")
      .obj(2, "<</Type/Pages/Count 2/Kids[3 0 R 4 0 R]/MediaBox[0 0 99 50]/Resources 5 0 R/Rotate 90>>")
      .obj(3, "<</Type/Page/Parent 2 0 R/Group<</S/Transparency>>/StructParents 0>>")
      .obj(4, "<</Type/Page/Parent 2 0 R/Resources<<>>/MediaBox[0 0 1 1]/Rotate 0>>")
      .obj(5, "<</Font 6 0 R/XObject 8 0 R/ProcSet[/PDF]>>")
      .obj(6, "<</F1 7 0 R>>")
      .obj(7, "<</Type/Font>>")
      .stream(8, "", "no dictionary")
      .classic();
  Import import(builder.str());
  const int page = import.page(0);
  const int first = import.resources_of(page);
  EXPECT_EQ(import.text(page), "<</CropBox[0.0 0.0 99.0 50.0]/MediaBox[0.0 0.0 99.0 50.0]/Resources " + ref(first) +
                                   "/Rotate 90/Type/Page>>");
  const int font = import.object(7).num;
  EXPECT_EQ(import.text(first), "<</Font<</F1 " + ref(font) + ">>/ProcSet[/PDF]>>");
  EXPECT_EQ(import.text(import.page(1)), "<</MediaBox[0 0 1 1]/Resources 0 0 R/Rotate 0/Type/Page>>");
  EXPECT_EQ(import.page(0), page);
  EXPECT_NE(import.resources_of(page), first);
  EXPECT_EQ(import.text(import.resources_of(page)), import.text(first));
}

TEST(Import, AnnotationsFindTheirPageAndDestinationsBringNone) {
  PdfBuilder builder;
  builder.pages(2)
      .obj(3, "<</Type/Page/Parent 2 0 R/Resources<<>>/MediaBox[0 0 9 9]/Annots[5 0 R]>>")
      .obj(5, "<</Subtype/Link/P 3 0 R/Dest[4 0 R/Fit]/Odd[6 0 R/Foo]/Far 9999 0 R>>")
      .obj(6, "[5 0 R]")
      .classic();
  Import import(builder.str());
  const int page = import.page(0);
  const int annot = import.mapped(5);
  EXPECT_EQ(import.text(annot),
            "<</Dest[4 0 R/Fit]/Far 0 0 R/Odd[" + ref(import.mapped(6)) + "/Foo]/P " + ref(page) + "/Subtype/Link>>");
  EXPECT_EQ(import.text(import.mapped(6)), "[" + ref(annot) + "]");  // a cycle closes on the object itself
  const int reserved = import.mapped(4);
  EXPECT_NE(reserved, 0);
  EXPECT_EQ(import.text(reserved), "null");
  EXPECT_EQ(import.page(1), reserved);
}

TEST(Import, ChainOfManyObjectsKeepsItsOrder) {
  constexpr int kLinks = 100'000;
  PdfBuilder builder;
  builder.pages(1);
  for (int num = 4; num < kLinks + 4; ++num)
    builder.obj(num, "<</N " + ref(num + 1) + ">>");
  builder.obj(kLinks + 4, "(end)").classic();
  Import import(builder.str());
  const int first = import.object(4).num;
  EXPECT_EQ(import.text(first), "<</N " + ref(first + 1) + ">>");
  EXPECT_EQ(import.text(first + kLinks), "(end)");
}

TEST(Import, StreamsComeWithTheirTrueLength) {
  PdfBuilder builder;
  builder.pages(1)
      .obj(4, "<</Filter/X/Length 5 0 R>>\nstream\nbytes\nendstream")
      .obj(5, "5")
      .obj(6, "<</Length 0>>\nstream\nendstream")
      .classic();
  Import import(builder.str());
  EXPECT_NE(import.text(import.object(4).num).find("<</Filter/X/Length 5>>"), std::string::npos);
  EXPECT_NE(import.text(import.object(6).num).find("/Length 0"), std::string::npos);
}

TEST(Import, DigestsRunToTheEndOfTheFile) {
  TestTable table(std::string(100, 'a'));
  unsigned char digest[20];
  unsigned char whole[16];
  PDF_STREAM_REC part{0, 10};
  PDF_STREAM_REC all{0, 100};
  EXPECT_EQ(table.table.calc_md5(&part, 1, digest), 1);
  EXPECT_EQ(table.table.calc_md5(&all, 1, whole), 1);
  EXPECT_EQ(std::string(digest, digest + 16), std::string(whole, whole + 16));
  EXPECT_EQ(whole[0], 0x36);  // MD5 of a hundred "a" is 36a92cc94a9e0fa21f625f8bfb007adf
  EXPECT_EQ(whole[15], 0xDF);
  PDF_STREAM_REC over{90, 11};
  EXPECT_EQ(table.table.calc_sha1(&over, 1, digest), 0);
  EXPECT_EQ(table.table.calc_sha1(nullptr, 0, digest), 1);
  EXPECT_EQ(digest[0], 0xDA);  // SHA-1 of nothing
}

std::string with_form(const std::string& form, const std::string& field) {
  PdfBuilder builder;
  builder.pages(1)
      .obj(1, "<</Type/Catalog/Pages 2 0 R/AcroForm " + form + ">>")
      .obj(4, field)
      .obj(5, "(a)")
      .obj(6, "<</Fields[4 0 R<</T(direct)>>]>>")
      .classic();
  return builder.str();
}

TEST(AcroForm, ClashingFieldsGetTheFirstFreeDigit) {
  MemStream empty("");
  CPDFDoc into;
  into.create(&empty);
  CPDFAcroForm form(into.table());
  for (int i = 0; i < 12; ++i) {
    Import source(with_form("6 0 R", "<</T 5 0 R/FT/Tx/V(v)>>"));
    CPDFMergeContext* context = into.table().import_start(&into, &source.from.table());
    EXPECT_EQ(into.table().merge_acro_form(&source.from.table(), context, &form), 1);
    EXPECT_EQ(into.table().merge_acro_form(&source.from.table(), context, &form), 1);  // known by now
    into.table().import_end(context);
  }
  ASSERT_EQ(form.field_count(), 12);
  EXPECT_EQ(std::wstring(form.field_at(1)->name()), L"a0");
  EXPECT_EQ(std::wstring(form.field_at(10)->name()), L"a9");
  EXPECT_EQ(std::wstring(form.field_at(11)->name()), L"a");
  CPDFAcroForm read_again(into.table());
  ASSERT_TRUE(read_again.load());
  ASSERT_NE(read_again.get_field(L"a9"), nullptr);
  Freed<CPDFObj> value;
  read_again.get_field(L"a9")->get_value("V", value);
  EXPECT_EQ(TestTable::syntax(value), "(v)");
}

TEST(AcroForm, FieldsCanStillBeAppendedAfterASeal) {
  MemStream file("");
  CPDFDoc doc;
  doc.create(&file);
  CPDFAcroForm form(doc.table());
  for (const char* name : {"first", "second"}) {
    Cleared<CPDFDictionary> field;
    field.set_item_str("T", name, static_cast<int>(std::strlen(name)));
    const PDF_REF ref{doc.table().alloc_obj_num(), 0};
    doc.table().store_dict(ref, &field);
    EXPECT_NE(form.append_field(ref), nullptr);
    PDF_SIGN_DATA sign;
    EXPECT_TRUE(doc.save_update(PDF_SAVE_FORM::kStream, &sign));
  }
  CPDFDoc saved;
  ASSERT_TRUE(saved.open(&file));
  CPDFAcroForm read_again(saved.table());
  ASSERT_TRUE(read_again.load());
  EXPECT_NE(read_again.get_field(L"first"), nullptr);
  EXPECT_NE(read_again.get_field(L"second"), nullptr);
}

TEST(AcroForm, NamesReachThroughTheTreeAndFollowARenaming) {
  PdfBuilder builder;
  builder.pages(1)
      .obj(1, "<</Type/Catalog/Pages 2 0 R/AcroForm<</Fields[4 0 R 4 0 R]>>>>")
      .obj(4, "<</T(top)/FT/Tx/Kids[5 0 R 6 0 R 4 0 R]>>")
      .obj(5, "<</T(left)/Parent 4 0 R/Kids[7 0 R]>>")
      .obj(6, "<</Subtype/Widget/Parent 4 0 R>>")
      .obj(7, "<</Subtype/Widget/Parent 5 0 R>>")
      .classic();
  Import import(builder.str());
  CPDFAcroForm form(import.from.table());
  ASSERT_TRUE(form.load());
  ASSERT_NE(form.get_field(L"top.left"), nullptr);
  EXPECT_TRUE(form.get_field(L"top.left")->is_terminal());
  EXPECT_FALSE(form.get_field(L"top")->is_terminal());
  form.get_field(L"top")->set_name(L"new");
  ASSERT_NE(form.get_field(L"new.left"), nullptr);
  EXPECT_EQ(form.get_field(L"new.left")->ref().num, 5);
  Freed<CPDFObj> kind;
  form.get_field(L"new.left")->get_value("FT", kind);
  EXPECT_EQ(TestTable::syntax(kind), "/Tx");
}

TEST(AcroForm, WholeFormsReplaceOnlyWhenTheyAreObjects) {
  Import direct(with_form("<</Fields[4 0 R]>>", "<</T(a)>>"));
  EXPECT_EQ(direct.into.table().clone_acro_form(&direct.from.table(), direct.context), 1);
  EXPECT_EQ(direct.text(direct.into.table().root.as_ref().num).find("AcroForm"), std::string::npos);
  EXPECT_EQ(direct.into.table().new_obj_count, 2u);  // nothing to copy, nothing changed
  Import object(with_form("6 0 R", "<</T(a)>>"));
  EXPECT_EQ(object.into.table().clone_acro_form(&object.from.table(), object.context), 1);
  EXPECT_NE(object.text(object.into.table().root.as_ref().num).find("/AcroForm " + ref(object.mapped(6))),
            std::string::npos);
}

}  // namespace
