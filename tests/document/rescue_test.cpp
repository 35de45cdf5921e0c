// Objects that no section leads to: found by one look at the file, and kept by every save.
#include <gtest/gtest.h>

#include "sheaf/document/doc.h"
#include "sheaf/neighbours/security/encrypter.h"
#include "support/counting_stream.h"
#include "support/pdf_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

// The offsets of the classic entries for objects from `first` on, each changed by `by`.
std::string shifted(const std::string& bytes, int first, int by) {
  std::string out = bytes;
  int num = 0;
  for (std::size_t at = out.find(" n \n"); at != std::string::npos; at = out.find(" n \n", at + 1)) {
    if (++num < first)
      continue;
    const long long offset = std::max(std::stoll(out.substr(at - 16, 10)) + by, 0LL);
    char text[24];
    std::snprintf(text, sizeof(text), "%010lld", offset);
    out.replace(at - 16, 10, text, 10);
  }
  return out;
}

std::string object(CPDFDoc& doc, int num) {
  Freed<CPDFObj> obj;
  doc.table().get_entity(obj, {num, 0});
  return TestTable::syntax(obj);
}

std::string complete(CPDFDoc& doc, CPDFEncrypt* enc = nullptr) {
  MemStream out("");
  CPDFXRefTable target;
  target.stream = &out;
  doc.save_complete(target, enc);
  return out.str();
}

bool reports(CPDFDoc& doc, const std::string& code) {
  for (const PDF_DOC_REPAIR& repair : doc.repairs()) {
    if (repair.code == code)
      return true;
  }
  return false;
}

TEST(Rescue, ShiftedEntriesLeadToTheirObjects) {
  PdfBuilder builder;
  builder.pages(3);
  for (int num = 6; num < 30; ++num)
    builder.obj(num, "<</Number " + std::to_string(num) + "/Next " + std::to_string(num + 1) + " 0 R>>");
  builder.obj(30, "<</Last true>>").obj(1, "<</Type/Catalog/Pages 2 0 R/List 6 0 R>>").classic();
  for (const int first : {2, 7, 20}) {
    for (const int by : {-300, -60, -40, -7, -1, 1, 3, 17, 40, 61, 300}) {
      MemStream file(shifted(builder.str(), first, by));
      CPDFDoc doc;
      ASSERT_TRUE(doc.open(&file)) << first << " by " << by;
      const std::string bytes = complete(doc);
      EXPECT_TRUE(doc.status() != PDF_OPEN::kClean || reports(doc, "entry")) << first << " by " << by;
      MemStream again(bytes);
      CPDFDoc healed;
      ASSERT_TRUE(healed.open(&again));
      EXPECT_EQ(healed.page_count(), 3) << first << " by " << by;
      for (int num = 6; num < 30; ++num)
        EXPECT_EQ(object(healed, num),
                  "<</Next " + std::to_string(num + 1) + " 0 R/Number " + std::to_string(num) + ">>")
            << first << " by " << by;
      EXPECT_EQ(object(healed, 30), "<</Last true>>") << first << " by " << by;
    }
  }
}

// An object that was updated is taken in its last form, and headers in stream data are none.
TEST(Rescue, TheLastHeaderOutsideOfStreamsCounts) {
  PdfBuilder builder;
  builder.pages(1).obj(5, "(first)").classic();
  builder.obj(5, "(second)").stream(6, "", "5 0 obj\n(embedded)\nendobj\n").classic();
  std::string bytes = builder.str();
  const std::size_t line = bytes.find("\n0000", bytes.rfind("xref\n5 1")) + 1;
  bytes.replace(line, 10, "0000000003");
  MemStream file(bytes);
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&file));
  EXPECT_EQ(object(doc, 5), "(second)");
}

TEST(Rescue, OneLookAtTheFileServesAllObjects) {
  constexpr int kObjects = 3000;
  PdfBuilder builder;
  builder.pages(1);
  for (int num = 4; num < kObjects; ++num)
    builder.obj(num, "<</Number " + std::to_string(num) + ">>");
  builder.classic();
  MemStream file(shifted(builder.str(), 5, -300));
  CountingStream counted(file);
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&counted));
  for (int num = 4; num < kObjects; ++num)
    EXPECT_EQ(object(doc, num), "<</Number " + std::to_string(num) + ">>");
  EXPECT_LT(counted.bytes, 12'000LL * kObjects);  // a few buffers an object, not the file
}

// Lines are gone from the middle of a table, which then looks as if it had never listed their objects.
// What it lists as free stays free, though its header is still in the file.
TEST(Rescue, ObjectsWhoseLinesAreGoneAreFoundAndFreeOnesAreNot) {
  PdfBuilder builder;
  builder.pages(1).obj(4, "[6 0 R 7 0 R]").obj(6, "(gone)").obj(7, "(deleted)").obj(9, "(last)").classic();
  std::string bytes = builder.str();
  const std::size_t table = bytes.rfind("xref\n0 1");
  const std::size_t lines = bytes.find("\n6 1\n", table);
  bytes.erase(lines, bytes.find("\n7 1\n", table) - lines);
  const std::size_t freed = bytes.find(" n", bytes.find("\n7 1\n", table));
  bytes.replace(freed, 2, " f");
  MemStream file(bytes);
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&file));
  EXPECT_EQ(object(doc, 6), "(gone)");
  EXPECT_EQ(object(doc, 7), "null");
  EXPECT_TRUE(reports(doc, "objects"));

  MemStream again(bytes);
  CPDFDoc saved;
  ASSERT_TRUE(saved.open(&again));
  saved.set_info("Title", "x");  // nobody has asked for object 6
  ASSERT_TRUE(saved.save_update(PDF_SAVE_FORM::kAsFile, nullptr));
  MemStream updated(again.str());
  CPDFDoc reopened;
  ASSERT_TRUE(reopened.open(&updated));
  EXPECT_EQ(object(reopened, 6), "(gone)");
  EXPECT_EQ(object(reopened, 7), "null");
}

struct Broken {
  const char* label;
  std::string from;
  std::string to;
};

// What only a lost section names is searched for; what a good one says stays.
TEST(Rescue, ObjectsOfALostSectionAreSearchedFor) {
  PdfBuilder builder;
  builder.pages(2).obj(6, "(old six)").obj(7, "(old seven)").classic();
  builder.obj(6, "(new six)").obj(8, "(eight)").classic("/Root 1 0 R/Middle true");
  builder.obj(7, "(new seven)").classic("/Root 1 0 R");
  for (const Broken& row :
       {Broken{"trailer", "trailer\n<</Size 9/Root 1 0 R/Middle", "trailer\n(</Size 9/Root 1 0 R/Middle"},
        Broken{"keyword", "trailer\n<</Size 9/Root 1 0 R/Middle", "xrailer\n<</Size 9/Root 1 0 R/Middle"},
        Broken{"section", "xref\n6 1", "xxxx\n6 1"}}) {
    std::string bytes = builder.str();
    ASSERT_NE(bytes.find(row.from), std::string::npos) << row.label;
    bytes.replace(bytes.find(row.from), row.from.size(), row.to);
    MemStream file(bytes);
    CPDFDoc doc;
    ASSERT_TRUE(doc.open(&file)) << row.label;
    EXPECT_EQ(doc.page_count(), 2) << row.label;
    EXPECT_EQ(object(doc, 6), "(new six)") << row.label;
    EXPECT_EQ(object(doc, 7), "(new seven)") << row.label;
    EXPECT_EQ(object(doc, 8), "(eight)") << row.label;
    EXPECT_FALSE(doc.repairs().empty()) << row.label;
    // The next reader finds all of it in the update.
    ASSERT_TRUE(doc.set_info("Title", "x"));
    ASSERT_TRUE(doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr));
    doc.close();
    TestTable plain(file.str());
    const std::string saved = file.str();
    ASSERT_EQ(plain.table.XRefRead(static_cast<unsigned>(std::stoul(saved.substr(saved.rfind("startxref") + 9)))), 1);
    EXPECT_EQ(plain.object(6), "(new six)") << row.label;
    EXPECT_EQ(plain.object(8), "(eight)") << row.label;
    EXPECT_EQ(plain.object(3), "<</Parent 2 0 R/Type/Page>>") << row.label;
  }
}

TEST(Rescue, MembersOfObjectStreamsOfALostSectionAreSearchedFor) {
  PdfBuilder builder;
  builder.pages(1).object_stream(5, {{6, "(old six)"}, {7, "(seven)"}}).xref_stream(8);
  builder.object_stream(9, {{6, "(new six)"}}).xref_stream(10);
  builder.obj(3, "<</Type/Page/Parent 2 0 R/Refs[6 0 R 7 0 R]>>").xref_stream(11);
  std::string bytes = builder.str();
  bytes.replace(bytes.find("/W[1 4 1]", bytes.find("10 0 obj")), 9, "/W[9 9 9]");
  MemStream file(bytes);
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&file));
  EXPECT_EQ(object(doc, 6), "(new six)");
  EXPECT_EQ(object(doc, 7), "(seven)");
  EXPECT_FALSE(doc.repairs().empty());
}

// An encrypted document whose sections are broken keeps its key.
TEST(Rescue, ARebuiltDocumentStaysReadable) {
  using Algorithm = CPDFStandardEncrypt::Algorithm;
  for (const Algorithm algorithm : {Algorithm::kAES256, Algorithm::kAES128, Algorithm::kRC4}) {
    CPDFStandardEncrypt::Settings settings;
    settings.algorithm = algorithm;
    settings.owner_password = "owner";
    CPDFStandardEncrypt enc;
    const PDF_String id{2, const_cast<char*>("id")};
    ASSERT_TRUE(enc.create(settings, id));
    Freed<CPDFObj> dict;
    dict.take_dict(new CPDFDictionary);
    dict.as_dict()->copy_from(&enc.encrypt_dict);
    unsigned char coded[64];
    int len = 0;
    ASSERT_TRUE(enc.encrypts_stream(6, 0, dict.as_dict()));
    enc.encrypt_data(6, 0, reinterpret_cast<const unsigned char*>("secret"), 6, coded, &len);
    PdfBuilder builder;
    builder.pages(2).obj(5, TestTable::syntax(dict));
    builder.stream(6, "", std::string(reinterpret_cast<const char*>(coded), static_cast<std::size_t>(len)));
    builder.classic("/Root 1 0 R/Encrypt 5 0 R/ID[(id)(id)]/Prev 3");
    builder.obj(7, "<<>>").classic("/Root 1 0 R/Encrypt 5 0 R/ID[(id)(id)]");
    const std::string bytes = builder.str();
    for (const std::string& damaged : {bytes, bytes.substr(0, bytes.rfind("startxref"))}) {
      MemStream file(damaged);
      CPDFDoc doc;
      ASSERT_TRUE(doc.open(&file));
      ASSERT_TRUE(doc.is_readable());
      doc.table().drain_pending();
      Freed<CPDFObj> obj;
      doc.table().get_entity(obj, {999, 0});
      doc.table().get_entity(obj, {6, 0});
      ASSERT_NE(obj.as_stream(), nullptr);
      int plain_len = 0;
      const HeapBlock<unsigned char> plain(doc.table().load_raw_data(obj.as_stream(), plain_len));
      EXPECT_EQ(std::string(reinterpret_cast<const char*>(plain.get()), static_cast<std::size_t>(plain_len)), "secret");
    }
  }
}

TEST(Rescue, ADocumentBeginsWhereItsStreamSays) {
  PdfBuilder first;
  first.pages(1).classic();
  PdfBuilder second;
  second.pages(3).classic();
  for (const std::string& junk : {std::string(), std::string("some junk\n")}) {
    MemStream file(first.str() + junk + second.str());
    file.base_offset = static_cast<long long>(first.str().size());
    CPDFDoc doc;
    ASSERT_TRUE(doc.open(&file));
    EXPECT_EQ(doc.page_count(), 3);
    EXPECT_EQ(doc.header_offset(), static_cast<long long>(junk.size()));
    doc.close();
    EXPECT_EQ(file.base_offset, static_cast<long long>(first.str().size()));
  }
}

// A cut took the words after the data, and the tail of the data with them or not.
TEST(Rescue, AnObjectAfterDataWithoutAnEndIsFound) {
  for (const std::size_t lost : {0u, 5u}) {
    PdfBuilder builder;
    builder.pages(1).stream(4, "", "BT (some text) Tj ET").obj(5, "<</Found true>>").obj(6, "(last)");
    builder.obj(1, "<</Type/Catalog/Pages 2 0 R/A 4 0 R/B 5 0 R>>").classic();
    std::string bytes = builder.str();
    const std::size_t end = bytes.find("\nendstream") - lost;
    bytes.erase(end, bytes.find("\n5 0 obj") - end);
    bytes.resize(bytes.rfind("xref\n0"));
    MemStream file(bytes);
    CPDFDoc doc;
    ASSERT_TRUE(doc.open(&file));
    EXPECT_EQ(object(doc, 5), "<</Found true>>") << lost;
    Freed<CPDFObj> data = doc.table().object(4);
    ASSERT_NE(data.as_stream(), nullptr);
    EXPECT_EQ(data.as_stream()->length, static_cast<std::int32_t>(20 - lost));
  }
}

// "N" or "First" of an object stream is false, or the pairs before its objects are.
TEST(Rescue, FalseNumbersOfAnObjectStreamAreSetRight) {
  for (const char* keys :
       {"/N 2/First 12", "/N 9/First 12", "/N 3/First 9", "/N 3/First 0", "/N 3/First 5000", "/N 3", "/N 3/First 12"}) {
    PdfBuilder builder;
    builder.object_stream(9, {{4, "11"}, {5, "22"}, {6, "(x)"}});
    std::string bytes =
        builder.pages(1).obj(1, "<</Type/Catalog/Pages 2 0 R/Refs[4 0 R 5 0 R 6 0 R]>>").xref_stream(10).str();
    const std::size_t from = bytes.find("/N 3");
    bytes.replace(from, bytes.find("/Length") - from, keys);
    if (keys == std::string("/N 3/First 12"))
      bytes.replace(bytes.find("4 0 5 3"), 3, "\xFF\xFF\xFF");
    MemStream file(bytes);
    CPDFDoc doc;
    ASSERT_TRUE(doc.open(&file)) << keys;
    EXPECT_EQ(object(doc, 5), "22") << keys;
    EXPECT_EQ(object(doc, 6), "(x)") << keys;
    EXPECT_FALSE(doc.repairs().empty()) << keys;
    MemStream out(complete(doc));
    TestTable plain(out.str());  // reads what the file says, and heals nothing
    plain.table.XRefRead(static_cast<unsigned>(std::stoul(out.str().substr(out.str().rfind("startxref") + 9))));
    EXPECT_EQ(plain.object(6), "(x)") << keys;
  }
}

// Streams with false lengths fill the list of repairs before the object stream is met.
TEST(Rescue, ManyRepairsHideNoFalseObjectStream) {
  constexpr int kStreams = 1100;
  PdfBuilder builder;
  builder.pages(1).obj(1, "<</Type/Catalog/Pages 2 0 R/Refs[4 0 R 5 0 R 6 0 R]>>");
  builder.object_stream(9, {{4, "11"}, {5, "22"}, {6, "(x)"}});
  for (int num = 20; num < 20 + kStreams; ++num)
    builder.obj(num, "<</Length 2>>\nstream\nlonger text\nendstream");
  std::string bytes = builder.xref_stream(10).str();
  bytes.replace(bytes.find("/N 3"), 4, "/N 2");
  MemStream file(bytes);
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&file));
  for (int num = 20; num < 20 + kStreams; ++num)
    doc.table().object(num).free();
  EXPECT_GT(doc.table().repairs.left_out(), 0);
  MemStream out(complete(doc));
  TestTable plain(out.str());
  plain.table.XRefRead(static_cast<unsigned>(std::stoul(out.str().substr(out.str().rfind("startxref") + 9))));
  EXPECT_EQ(plain.object(6), "(x)");
}

TEST(ObjectStreams, ACountBeyondTheDataGivesWhatThereIs) {
  PdfBuilder builder;
  builder.object_stream(9, {{4, "11"}, {5, "22"}}).pages(1).xref_stream(10);
  std::string bytes = builder.str();
  bytes.replace(bytes.find("/N 2"), 4, "/N 2000000000");
  TestTable t(bytes);
  t.table.grow_xref_items(20, false);
  t.table.xref_items[9] = PDF_XREF::in_file(static_cast<std::uint32_t>(bytes.find("9 0 obj")), 0);
  for (int i = 0; i < 3; ++i)
    t.table.xref_items[4 + i] = {PDF_XREF::kCompressed, 9, i};
  EXPECT_EQ(t.object(4), "11");
  EXPECT_EQ(t.object(5), "22");
  EXPECT_EQ(t.object(6), "null");
}

// Each would be searched for its end up to the end of the file.
TEST(Rescue, StreamsWithoutAnEndTakeTimeInProportion) {
  constexpr int kStreams = 4000;
  std::string bytes =
      "%PDF-1.7\n1 0 obj <</Type/Catalog/Pages 2 0 R>> endobj 2 0 obj <</Type/Pages/Kids[]/Count 0>> endobj\n";
  for (int num = 3; num < kStreams; ++num)
    bytes += std::to_string(num) + " 0 obj <<>> stream\ndata of " + std::to_string(num) + "\n";
  MemStream file(bytes);
  CountingStream counted(file);
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&counted));
  for (int num = 3; num < kStreams; ++num) {
    Freed<CPDFObj> obj;
    doc.table().get_entity(obj, {num, 0});
    ASSERT_NE(obj.as_stream(), nullptr) << num;
    int len = 0;
    const HeapBlock<unsigned char> data(doc.table().load_raw_data(obj.as_stream(), len));
    ASSERT_TRUE(data) << num;
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(data.get()), static_cast<std::size_t>(len)),
              "data of " + std::to_string(num));
  }
  EXPECT_LT(counted.bytes, 20'000LL * kStreams);
}

TEST(PageTree, PagesThatStandInTheirNodeAreObjectsToo) {
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R>>");
  builder.obj(2,
              "<</Type/Pages/Count 4/Kids[<</Type/Page/Rotate 90/MediaBox[0 0 9 9]>>3 0 R"
              "<</Type/Pages/Count 2/Rotate 180/Kids[<</Type/Page>> 4 0 R]>>]>>");
  builder.obj(3, "<</Type/Page/Parent 2 0 R>>").obj(4, "<</Type/Page>>").classic();
  MemStream file(builder.str());
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&file));
  ASSERT_EQ(doc.page_count(), 4);
  const auto rotations = [](CPDFDoc& from) {
    std::string all;
    for (int i = 0; i < from.page_count(); ++i) {
      CPDFPage page;
      EXPECT_TRUE(from.load_page(i, page)) << i;
      all += std::to_string(page.rotate) + " ";
    }
    return all;
  };
  EXPECT_EQ(rotations(doc), "90 0 180 180 ");
  MemStream out(complete(doc));
  CPDFDoc again;
  ASSERT_TRUE(again.open(&out));
  EXPECT_EQ(rotations(again), "90 0 180 180 ");
  EXPECT_EQ(out.str().find("/Kids[<<"), std::string::npos);
}

}  // namespace
