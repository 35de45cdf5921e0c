// Objects of a generation above 0 keep it through every save: references go on naming it, and other
// readers believe references.
#include <gtest/gtest.h>

#include "sheaf/document/doc.h"
#include "sheaf/neighbours/security/encrypter.h"
#include "support/external_tool.h"
#include "support/pdf_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

constexpr PDF_REF kPage{3, 300};
constexpr PDF_REF kContent{4, 7};

std::string words(const std::string& text) {
  return "BT /F1 24 Tf 72 700 Td (" + text + ") Tj ET";
}

PdfBuilder reused_numbers() {
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 2 R>>", 1).obj(2, "<</Type/Pages/Count 1/Kids[3 300 R]>>", 2);
  builder.obj(3, "<</Type/Page/Parent 2 2 R/MediaBox[0 0 612 792]/Contents 4 7 R/Resources<</Font<</F1 5 0 R>>>>>>",
              kPage.gen);
  const std::string old = words("Old words");
  builder.obj(4, "<</Length " + std::to_string(old.size()) + ">>\nstream\n" + old + "\nendstream", kContent.gen);
  builder.obj(5, "<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>").obj(6, "<</Title(old)>>", 9);
  builder.classic("/Root 1 1 R/Info 6 9 R/ID[(0123456789abcdef)(0123456789abcdef)]");
  return builder;
}

void change_everything(CPDFDoc& doc, const std::string& text) {
  CPDFStreamRec rec;
  const std::string data = words(text);
  doc.table().write_stream(kContent, &rec, data.data(), static_cast<unsigned>(data.size()));
  doc.table().store_stream(kContent, rec);
  Freed<CPDFObj> page;
  doc.table().get_entity(page, doc.page_ref(0));
  page.as_dict()->set_item_str("Label", text.data(), static_cast<int>(text.size()));
  doc.table().store_object(doc.page_ref(0), page);
  ASSERT_TRUE(doc.set_info("Title", text.c_str()));
}

// What other programs make of the file.
void expect_words(const std::string& bytes, const std::string& text) {
  if (!has_program("pdftotext") || !has_program("qpdf"))
    return;
  const TestFolder folder;
  const std::string path = folder / "saved.pdf";
  write_file(path, bytes);
  EXPECT_NE(run_command("pdftotext " + path + " - 2>&1").output.find(text), std::string::npos);
  EXPECT_NE(run_command("pdfinfo " + path + " 2>&1").output.find(text), std::string::npos);
  EXPECT_EQ(run_command("qpdf --check " + path + " 2>&1").code, 0) << run_command("qpdf --check " + path).output;
  const std::string page = run_command("qpdf --show-object=3,300 " + path + " 2>&1").output;
  EXPECT_NE(page.find("/Label (" + text + ")"), std::string::npos) << page;
}

std::string encrypted(const std::string& bytes) {
  MemStream file(bytes);
  CPDFDoc doc;
  EXPECT_TRUE(doc.open(&file));
  MemStream out("");
  CPDFXRefTable target;
  target.stream = &out;
  CPDFStandardEncrypt enc;
  EXPECT_TRUE(enc.create({}, {0, nullptr}));
  doc.save_complete(target, &enc);
  return out.str();
}

TEST(Generations, AreKeptByEverySave) {
  const std::string plain = reused_numbers().str();
  for (const std::string& source : {plain, encrypted(plain)}) {
    for (const PDF_SAVE_FORM form : {PDF_SAVE_FORM::kClassic, PDF_SAVE_FORM::kStream}) {
      MemStream file(source);
      CPDFDoc doc;
      ASSERT_TRUE(doc.open(&file));
      change_everything(doc, "Plain words");
      ASSERT_TRUE(doc.save_update(form, nullptr));
      expect_words(file.str(), "Plain words");
      PDF_SIGN_DATA sign;
      change_everything(doc, "Sealed words");
      ASSERT_TRUE(doc.save_update(form, &sign));
      expect_words(file.str(), "Sealed words");
      change_everything(doc, "Later words");
      ASSERT_TRUE(doc.save_update(form, nullptr));
      doc.close();
      expect_words(file.str(), "Later words");
      ASSERT_TRUE(doc.open(&file));
      EXPECT_EQ(doc.status(), PDF_OPEN::kClean);
      Freed<CPDFObj> page;
      doc.table().get_entity(page, kPage);
      ASSERT_NE(page.as_dict(), nullptr);
      EXPECT_STREQ(page.as_dict()->get_item("Label")->as_text(), "Later words");
    }
  }
}

// A caller that does not know the generation must not make another object of it.
TEST(Generations, ComeFromTheFileAndNotFromTheCaller) {
  MemStream file(reused_numbers().str());
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&file));
  Freed<CPDFObj> page;
  doc.table().get_entity(page, kPage);
  page.as_dict()->set_item_str("Label", "new", 3);
  ASSERT_TRUE(doc.table().store_object({kPage.num, 0}, page));
  ASSERT_TRUE(doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr));
  EXPECT_NE(file.str().rfind("\n3 300 obj\n<</Contents 4 7 R/Label(new)"), std::string::npos);
  EXPECT_NE(file.str().rfind(" 00300 n\r\n"), std::string::npos);
}

// Entries that were found by scanning hold none; the objects' own headers do.
TEST(Generations, OfObjectsFoundByScanningAreThoseOfTheirHeaders) {
  const std::string good = reused_numbers().str();
  const std::string no_trailer = good.substr(0, good.rfind("xref\n0"));
  for (const std::string& damaged : {good.substr(0, good.rfind("startxref")), no_trailer}) {
    MemStream file(damaged);
    CPDFDoc doc;
    ASSERT_TRUE(doc.open(&file));
    EXPECT_NE(doc.status(), PDF_OPEN::kClean);
    MemStream out("");
    CPDFXRefTable target;
    target.stream = &out;
    change_everything(doc, "Healed words");
    doc.save_complete(target, nullptr);
    expect_words(out.str(), "Healed words");
    ASSERT_TRUE(doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr));
    expect_words(file.str(), "Healed words");
  }
}

}  // namespace
