// Update sections of both kinds: their bytes, what state each save leaves, and faults of the disk.
#include <gtest/gtest.h>

#include "sheaf/document/doc.h"
#include "sheaf/object/array.h"
#include "support/pdf_builder.h"
#include "support/read_back.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

// A document with a catalogue that needs no PDF/A objects, opened as a caller opens it.
struct Changed : TestTable {
  explicit Changed(const PdfBuilder& builder) : TestTable(builder.str()) {
    table.XRefRead(static_cast<unsigned>(builder.last_section()));
    table.drain_pending();
  }
  static PdfBuilder document() {
    PdfBuilder builder;
    builder.obj(1, "<</Type/Catalog/Pages 2 0 R/Metadata 3 0 R>>").obj(2, "<</Type/Pages/Count 0/Kids[]>>");
    for (int num = 3; num < 10; ++num)
      builder.obj(num, "(number " + std::to_string(num) + ")");
    builder.classic("/Root 1 0 R/ID[(a)(b)]");
    return builder;
  }
  void change(int num, const std::string& value, int gen = 0) {
    Freed<CPDFObj> obj;
    read_value(obj, value);
    table.store_object({num, gen}, obj);
  }
  std::string tail() const { return file_text().substr(table.append_offset); }
  std::string file_text() const { return file.str(); }
  std::string section_value(const char* key) { return newest_section_value(file, key); }
};

TEST(ClassicSave, BytesAreAsLaidDown) {
  const PdfBuilder builder = Changed::document();
  Changed t(builder);
  t.change(5, "(changed)", 3);
  const std::size_t size = builder.str().size();
  EXPECT_EQ(t.table.save_14(nullptr, nullptr), 1);
  char entry[32];
  std::snprintf(entry, sizeof(entry), "%010zu 00000 n\r\n", size + 1);
  const std::string object = "\n5 0 obj\n(changed)\nendobj\n";
  const std::string expected = object + "xref\r\n5 1\r\n" + entry + "trailer\r\n<</ID[(a)(b)]/Prev " +
                               std::to_string(builder.last_section()) + "/Root 1 0 R/Size 6>>\nstartxref\n" +
                               std::to_string(size + object.size()) + "\n%%EOF\n";
  EXPECT_EQ(t.tail(), expected);
  EXPECT_EQ(t.file_text().substr(0, size), builder.str());
}

TEST(StreamSave, RunsDecideIndexAndSize) {
  const PdfBuilder builder = Changed::document();
  Changed t(builder);
  ASSERT_EQ(t.table.next_obj_num, 10u);
  t.change(5, "(changed)");
  EXPECT_EQ(t.table.save(nullptr, nullptr), 1);
  EXPECT_EQ(t.section_value("Index"), "[5 1 10 1]");
  EXPECT_EQ(t.section_value("Size"), "11");
  EXPECT_EQ(t.section_value("W"), "[1 4 1]");
  EXPECT_EQ(t.section_value("Prev"), std::to_string(builder.last_section()));
  Changed neighbours(builder);
  neighbours.change(9, "9");
  neighbours.table.next_obj_num = 11;
  neighbours.change(10, "10");
  EXPECT_EQ(neighbours.table.save(nullptr, nullptr), 1);
  EXPECT_EQ(neighbours.section_value("Index"), "[9 3]");
}

TEST(StreamSave, WithoutAChangeNothingHappens) {
  const PdfBuilder builder = Changed::document();
  Changed t(builder);
  t.table.id.free();
  EXPECT_EQ(t.table.save(nullptr, nullptr), 1);
  EXPECT_EQ(t.table.save_14(nullptr, nullptr), 1);
  EXPECT_EQ(t.file_text(), builder.str());
  EXPECT_TRUE(t.table.id.is_null());
}

TEST(StreamSave, APlainSaveIsWrittenOverByTheNext) {
  const PdfBuilder builder = Changed::document();
  Changed t(builder);
  t.change(5, "(" + std::string(3000, 'x') + ")");
  t.table.save(nullptr, nullptr);
  const std::string first = t.file_text();
  const std::uint32_t append = t.table.append_offset;
  t.change(5, "(short)");
  t.table.save(nullptr, nullptr);
  const std::string second = t.file_text();
  EXPECT_EQ(t.table.append_offset, append);
  EXPECT_EQ(t.section_value("Prev"), std::to_string(builder.last_section()));
  EXPECT_EQ(t.section_value("Index"), "[5 1 10 2]");  // the former number of the section stays behind
  EXPECT_NE(second.find("10 0 obj\nnull\nendobj"), std::string::npos);
  ASSERT_GE(second.size(), first.size());
  EXPECT_LE(second.size(), first.size() + 3);
  // Zeros fill what is left, and the tail lies within 32 bytes of the end.
  const std::size_t tail = second.rfind("\nstartxref\n");
  EXPECT_EQ(tail, second.size() - 32);
  EXPECT_EQ(second.substr(tail - 500, 500), std::string(500, '\0'));

  MemStream file(second);
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&file));
  EXPECT_EQ(doc.status(), PDF_OPEN::kClean);
  Freed<CPDFObj> obj;
  doc.table().get_entity(obj, {5, 0});
  EXPECT_STREQ(obj.as_text(), "short");
}

TEST(StreamSave, ASealedSaveCommitsAndItsBytesStay) {
  const PdfBuilder builder = Changed::document();
  Changed t(builder);
  t.change(5, "<</Type/Sig/Contents(c)>>");
  t.change(6, "(six)");
  PDF_SIGN_DATA sign;
  sign.num = 5;
  EXPECT_EQ(t.table.save(nullptr, &sign), 1);
  EXPECT_EQ(sign.dict.count, 2);
  sign.dict.clear();
  const std::string sealed = t.file_text();
  EXPECT_EQ(t.table.new_obj_count, 0u);
  EXPECT_EQ(t.table.append_offset, sealed.size());
  EXPECT_EQ(t.table.xref_items[6].type, 1u);
  EXPECT_EQ(sealed.substr(t.table.xref_items[6].offset, 7), "6 0 obj");
  const std::uint32_t section = t.table.last_xref_offset;
  EXPECT_EQ(t.object(6), "(six)");

  t.change(7, "(seven)");
  t.table.save(nullptr, nullptr);
  EXPECT_EQ(t.file_text().substr(0, sealed.size()), sealed);
  EXPECT_EQ(t.section_value("Prev"), std::to_string(section));
}

// The number that the first seal reserved keeps its slot, which the second object below gets too.
TEST(StreamSave, ASecondSealLosesNoObject) {
  Changed t(Changed::document());
  PDF_SIGN_DATA sign;
  t.change(5, "(five)");
  EXPECT_EQ(t.table.save(nullptr, &sign), 1);
  const std::int32_t first = t.table.alloc_obj_num();
  const std::int32_t second = t.table.alloc_obj_num();
  t.change(first, "(first)");
  t.change(second, "(second)");
  EXPECT_EQ(t.table.save(nullptr, &sign), 1);
  EXPECT_EQ(t.object(first), "(first)");
  EXPECT_EQ(t.object(second), "(second)");
}

TEST(StreamSave, ASealOverAStreamHandsOutNoDictionary) {
  Changed t(Changed::document());
  t.change(5, "(no dictionary)");
  PDF_SIGN_DATA sign;
  sign.num = 5;
  sign.dict.set_item_int("Old", 1);
  t.table.save_14(nullptr, &sign);
  EXPECT_EQ(sign.dict.count, 0);
}

TEST(StreamSave, RepairedEntriesAreListedWhereTheyAre) {
  const PdfBuilder builder = Changed::document();
  Changed t(builder);
  const auto place = static_cast<std::uint32_t>(builder.offset_of(6));
  t.table.xref_items[6] = {3, place, -1};
  t.change(5, "(changed)");
  t.table.save_14(nullptr, nullptr);
  char line[32];
  std::snprintf(line, sizeof(line), "%010u 00000 n\r\n", place);
  EXPECT_NE(t.tail().find("5 2\r\n"), std::string::npos);
  EXPECT_NE(t.tail().find(line), std::string::npos);
  EXPECT_EQ(t.tail().find("6 0 obj"), std::string::npos);
}

TEST(StreamSave, ManyRepairsMakeEveryPlaceBeConfirmed) {
  for (const std::uint32_t repairs : {10u, 11u}) {
    const PdfBuilder builder = Changed::document();
    Changed t(builder);
    t.table.xref_items[6].offset -= 4;  // misplaced, and nobody has asked for it yet
    t.table.repaired_count = repairs;
    t.change(5, "(changed)");
    t.table.save_14(nullptr, nullptr);
    EXPECT_EQ(t.table.xref_items[6].type == 3, repairs > 10);
    EXPECT_EQ(t.table.repaired_count == 0, repairs > 10);
  }
}

TEST(StreamSave, ADigitBeforeALateObjectBecomesASpace) {
  PdfBuilder builder = Changed::document();
  Changed t(builder);
  const auto place = static_cast<std::uint32_t>(builder.offset_of(7));
  t.file.data[place - 1] = '9';
  t.table.xref_items[7].type = 4;
  t.change(5, "(changed)");
  t.table.save(nullptr, nullptr);
  EXPECT_EQ(t.file.data[place - 1], ' ');
}

TEST(StreamSave, ABodyMayLieInTheFileThatIsWritten) {
  PdfBuilder builder = Changed::document();
  builder.stream(11, "", "the old body").classic("/Root 1 0 R");
  Changed t(builder);
  Freed<CPDFObj> obj;
  t.table.get_entity(obj, {11, 0});
  obj.as_stream()->dict.set_item_int("New", 1);
  t.table.store_object({11, 0}, obj);
  t.table.save_14(nullptr, nullptr);
  EXPECT_NE(t.tail().find("<</Length 12/New 1>>\nstream\nthe old body\nendstream"), std::string::npos);
}

// A stream that takes only so many bytes more.
struct FullDisk : MemStream {
  using MemStream::MemStream;
  unsigned int Write(const void* src, unsigned int size) override {
    const unsigned take = size < room ? size : room;
    room -= take;
    return MemStream::Write(src, take);
  }
  unsigned room = 100;
};

TEST(StreamSave, AShortWriteIsReportedAndTheTableStaysUsable) {
  const PdfBuilder builder = Changed::document();
  FullDisk disk(builder.str());
  CPDFXRefTable table;
  table.stream = &disk;
  table.append_offset = disk.len;
  ASSERT_EQ(table.XRefRead(static_cast<unsigned>(builder.last_section())), 1);
  Freed<CPDFObj> obj;
  obj.set_string("changed", 7);
  table.store_object({5, 0}, obj);
  table.save(nullptr, nullptr);
  EXPECT_EQ(table.write_failed, 1);
  table.get_entity(obj, {5, 0});
  EXPECT_STREQ(obj.as_text(), "changed");
  disk.room = 1u << 30;
  table.write_failed = 0;
  EXPECT_EQ(table.save(nullptr, nullptr), 1);
  EXPECT_EQ(table.write_failed, 0);
}

TEST(NewDocument, TheFirstSaveHasSixObjects) {
  TestTable t("");
  t.table.new_xref();
  EXPECT_EQ(t.table.save(nullptr, nullptr), 1);
  const std::string text = t.file.str();
  EXPECT_EQ(text.substr(0, 8), "%PDF-1.7");
  EXPECT_EQ(text.substr(8, 8), "\r%\xE7\xA9\xCB\xF1\r\n");
  EXPECT_EQ(text.substr(16, 9), "\n1 0 obj\n");
  EXPECT_EQ(newest_section_value(t.file, "Index"), "[1 6]");
  EXPECT_EQ(newest_section_value(t.file, "Size"), "7");
  EXPECT_EQ(newest_section_value(t.file, "Prev"), "");
  EXPECT_NE(text.find("2 0 obj\n<</Metadata 5 0 R/OutputIntents[4 0 R]/Pages 1 0 R/Type/Catalog>>"), std::string::npos);
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&t.file));
  EXPECT_EQ(doc.status(), PDF_OPEN::kClean);
  EXPECT_EQ(doc.table().pdfa_verify(), 0);
}

TEST(NewDocument, TwoHundredPlainSavesKeepOneSection) {
  TestTable t("");
  t.table.new_xref();
  for (int i = 0; i < 200; ++i)
    ASSERT_EQ(t.table.save(nullptr, nullptr), 1);
  const std::string text = t.file.str();
  EXPECT_LT(text.size(), 20'000u);
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&t.file));
  EXPECT_EQ(doc.status(), PDF_OPEN::kClean);
}

}  // namespace
