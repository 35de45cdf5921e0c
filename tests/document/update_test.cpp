// Updates and new files as the document layer makes them: what other readers need of them, what damaged
// sources must not lose, and what is refused.
#include <gtest/gtest.h>

#include <climits>
#include <filesystem>
#include <set>

#include "sheaf/document/doc.h"
#include "support/external_tool.h"
#include "support/pdf_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

std::string value_of(CPDFDoc& doc, int num) {
  Freed<CPDFObj> obj;
  doc.table().get_entity(obj, {num, 0});
  return TestTable::syntax(obj);
}

bool change(CPDFDoc& doc, int num, const std::string& syntax) {
  Freed<CPDFObj> obj;
  read_value(obj, syntax);
  return doc.table().store_object({num, 0}, obj);
}

std::string rewritten(CPDFDoc& doc) {
  CQVStreamMem out;
  CPDFXRefTable target;
  target.stream = &out;
  doc.save_complete(target, nullptr);
  EXPECT_EQ(target.write_failed, 0);
  return std::string(reinterpret_cast<const char*>(out.data), out.len);
}

// What "Size" says in the newest section.
int newest_size(const std::string& file) {
  return std::stoi(file.substr(file.rfind("/Size") + 5));
}

TEST(Update, TheSizeOfAClassicUpdateCoversEveryObject) {
  PdfBuilder plain;
  plain.pages(1).obj(9, "(ninth)").classic();
  PdfBuilder high_generation;
  high_generation.pages(1).obj(9, "(ninth)", 2).classic();
  PdfBuilder compressed;
  compressed.pages(1).object_stream(5, {{9, "(ninth)"}}).xref_stream(6);
  for (const PdfBuilder* builder : {&plain, &high_generation, &compressed}) {
    MemStream file(builder->str());
    CPDFDoc doc;
    ASSERT_TRUE(doc.open(&file));
    for (int turn = 0; turn < 3; ++turn) {
      ASSERT_TRUE(change(doc, 3, "<</Type/Page/Parent 2 0 R/Turn " + std::to_string(turn) + ">>"));
      PDF_SIGN_DATA sign;
      ASSERT_TRUE(doc.save_update(PDF_SAVE_FORM::kClassic, turn == 1 ? &sign : nullptr));
      EXPECT_GE(newest_size(file.str()), 10);
      MemStream copy(file.str());
      CPDFDoc again;
      ASSERT_TRUE(again.open(&copy));
      EXPECT_EQ(again.status(), PDF_OPEN::kClean);
      EXPECT_EQ(value_of(again, 9), "(ninth)");
    }
  }
}

// The entry of the object stream itself is of a type that leads nowhere. Its objects can be read all the
// same, since the place is in the entry.
TEST(NewFile, KeepsTheObjectsOfAnObjectStreamThatIsNotListed) {
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R/Held[6 0 R]>>");
  builder.object_stream(4, {{2, "<</Type/Pages/Count 1/Kids[3 0 R]>>"},
                            {3, "<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]>>"},
                            {6, "(held)"}});
  builder.xref_stream(5);
  // A row of the section is a type, four bytes of place and an index.
  std::string row = "\1";
  for (int shift = 24; shift >= 0; shift -= 8)
    row.push_back(static_cast<char>(builder.offset_of(4) >> shift));
  row.push_back('\0');
  for (const char type : {'\0', '\2', '\3', '\5', '\x7F'}) {
    SCOPED_TRACE(static_cast<int>(type));
    std::string bytes = builder.str();
    bytes[bytes.rfind(row)] = type;
    MemStream file(bytes);
    CPDFDoc doc;
    ASSERT_TRUE(doc.open(&file));
    const bool known = value_of(doc, 6) == "(held)";
    EXPECT_EQ(doc.page_count(), 1);
    EXPECT_TRUE(doc.status() != PDF_OPEN::kClean || !doc.repairs().empty());
    MemStream made(rewritten(doc));
    CPDFDoc again;
    ASSERT_TRUE(again.open(&made));
    EXPECT_EQ(again.status(), PDF_OPEN::kClean);
    EXPECT_TRUE(again.repairs().empty());
    EXPECT_EQ(again.page_count(), 1);
    EXPECT_EQ(value_of(again, 6), known ? "(held)" : "null");
  }
}

// Neither entries of objects that nothing refers to, in an object stream that nothing needs.
TEST(NewFile, ListsNoCompressedObjectWithoutItsStream) {
  PdfBuilder builder;
  builder.pages(1).object_stream(5, {{6, "(nobody asks)"}, {7, "(nor for this)"}}).xref_stream(8);
  MemStream file(builder.str());
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&file));
  MemStream made(rewritten(doc));
  CPDFDoc again;
  ASSERT_TRUE(again.open(&made));
  for (const int num : {6, 7}) {
    const PDF_XREF* const entry = again.table().entry(num);
    EXPECT_TRUE(entry == nullptr || !entry->is_known()) << num;
  }
}

// The stream of an object stream may be changed like any other.
TEST(Update, AChangedObjectStreamKeepsItsObjects) {
  PdfBuilder builder;
  builder.pages(1).object_stream(5, {{6, "(six)"}, {7, "[8 0 R]"}}).obj(8, "(eight)");
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R/Held[6 0 R 7 0 R]>>").xref_stream(9);
  for (int way = 0; way < 3; ++way) {
    MemStream file(builder.str());
    CPDFDoc doc;
    ASSERT_TRUE(doc.open(&file));
    Freed<CPDFObj> obj;
    doc.table().get_entity(obj, {5, 0});
    obj.as_stream()->dict.set_item_int("New", 1);
    ASSERT_TRUE(doc.table().store_object({5, 0}, obj));
    EXPECT_EQ(value_of(doc, 6), "(six)");
    std::string bytes;
    if (way == 2) {
      bytes = rewritten(doc);
    } else {
      PDF_SIGN_DATA sign;
      ASSERT_TRUE(doc.save_update(PDF_SAVE_FORM::kStream, way == 1 ? &sign : nullptr));
      bytes = file.str();
    }
    EXPECT_EQ(value_of(doc, 7), "[8 0 R]");
    MemStream made(bytes);
    CPDFDoc again;
    ASSERT_TRUE(again.open(&made));
    EXPECT_EQ(value_of(again, 6), "(six)");
    EXPECT_EQ(value_of(again, 7), "[8 0 R]");
    EXPECT_EQ(value_of(again, 8), "(eight)");
  }
}

// What an update puts after an object without an end must not become a part of it.
TEST(Update, GoesAfterAFileThatEndsInTheMiddleOfAnObject) {
  PdfBuilder builder;
  builder.pages(1).obj(4, "<</Held(until the end)");
  std::string bytes = builder.str();
  bytes = bytes.substr(0, bytes.rfind("\nendobj")) + "\n";
  bytes += std::string(80, ' ');
  for (const bool stream : {false, true}) {
    MemStream file(bytes);
    CPDFDoc doc;
    ASSERT_TRUE(doc.open(&file));
    ASSERT_TRUE(doc.set_info("Title", "kept"));
    ASSERT_TRUE(doc.save_update(stream ? PDF_SAVE_FORM::kStream : PDF_SAVE_FORM::kClassic, nullptr));
    MemStream made(file.str());
    CPDFDoc again;
    ASSERT_TRUE(again.open(&made));
    EXPECT_EQ(again.status(), PDF_OPEN::kClean);
    Freed<CPDFObj> info;
    again.table().resolve(info, &again.table().info);
    ASSERT_NE(info.as_dict(), nullptr);
    EXPECT_EQ(TestTable::syntax(*info.as_dict()->get_item("Title")), "(kept)");
    EXPECT_EQ(value_of(again, 4), "<</Held(until the end)>>");
  }
}

// In a damaged file other readers would look for the end of these objects, and find it elsewhere than this
// library does.
TEST(Update, StoresAgainWhatHasNoEndInADamagedFile) {
  std::string bytes = PdfBuilder().pages(1).obj(4, "<</Held(first)>>").stream(5, "/Wrong 1", "data of it").str();
  bytes += "6 0 obj\n(last)\nendobj\n";
  bytes.replace(bytes.find("<</Held(first)>>\nendobj"), 23, "<</Held(first)>>\n      ");
  bytes.replace(bytes.find("/Length 10"), 10, "/Length 13");
  for (const bool stream : {false, true}) {
    MemStream file(bytes);
    CPDFDoc doc;
    ASSERT_TRUE(doc.open(&file));
    ASSERT_TRUE(doc.set_info("Title", "kept"));
    ASSERT_TRUE(doc.save_update(stream ? PDF_SAVE_FORM::kStream : PDF_SAVE_FORM::kClassic, nullptr));
    const std::string added = file.str().substr(bytes.size());
    EXPECT_NE(added.find("4 0 obj"), std::string::npos);
    EXPECT_NE(added.find("/Length 10"), std::string::npos);
    EXPECT_EQ(added.find("\n6 0 obj"), std::string::npos);
    if (!has_program("qpdf"))
      continue;
    const TestFolder folder;
    write_file(folder / "made.pdf", file.str());
    const RunResult check = run_command("qpdf --check " + (folder / "made.pdf") + " 2>&1");
    EXPECT_EQ(check.code, 0) << check.output;
  }
}

// Moves the offset that the last section states for an object by one.
void make_entry_false(std::string& bytes, const PdfBuilder& builder, int num) {
  char entry[16];
  std::snprintf(entry, sizeof(entry), "%010zu", builder.offset_of(num));
  bytes[bytes.find(entry, builder.last_section()) + 9] ^= 1;
}

// One of two false entries is met on the way to the first page, the other by nobody before the save.
TEST(Update, ListsObjectsWhoseEntriesNobodyFollowed) {
  PdfBuilder builder;
  builder.pages(1).obj(4, "(fourth)").obj(5, "(fifth)").classic();
  std::string bytes = builder.str();
  for (const int num : {3, 5})
    make_entry_false(bytes, builder, num);
  MemStream file(bytes);
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&file));
  ASSERT_EQ(doc.page_count(), 1);
  ASSERT_TRUE(change(doc, 4, "(changed)") && doc.save_update(PDF_SAVE_FORM::kClassic, nullptr));
  MemStream made(file.str());
  CPDFDoc again;
  ASSERT_TRUE(again.open(&made));
  EXPECT_EQ(value_of(again, 5), "(fifth)");
  EXPECT_TRUE(again.repairs().empty());
}

// The false entry that is met is the last of more repairs than are listed.
TEST(Update, ManyRepairsHideNoFalseEntry) {
  constexpr int kStreams = 1100;
  PdfBuilder builder;
  builder.pages(1).obj(4, "(fourth)").obj(5, "(fifth)").obj(6, "(sixth)");
  for (int num = 20; num < 20 + kStreams; ++num)
    builder.obj(num, "<</Length 2>>\nstream\nlonger text\nendstream");
  std::string bytes = builder.classic().str();
  for (const int num : {5, 6})
    make_entry_false(bytes, builder, num);
  MemStream file(bytes);
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&file));
  for (int num = 20; num < 20 + kStreams; ++num)
    doc.table().object(num).free();
  EXPECT_EQ(value_of(doc, 5), "(fifth)");
  ASSERT_TRUE(change(doc, 4, "(changed)") && doc.save_update(PDF_SAVE_FORM::kClassic, nullptr));
  MemStream made(file.str());
  CPDFDoc again;
  ASSERT_TRUE(again.open(&made));
  EXPECT_EQ(value_of(again, 6), "(sixth)");
  EXPECT_TRUE(again.repairs().empty());
}

TEST(Update, ADirectCatalogueBecomesAnObject) {
  PdfBuilder builder;
  builder.obj(2, "<</Type/Pages/Count 1/Kids[3 0 R]/MediaBox[0 0 9 9]>>").obj(3, "<</Type/Page/Parent 2 0 R>>");
  builder.classic("/Root<</Type/Catalog/Pages 2 0 R>>/Info<</Author(a)>>");
  MemStream file(builder.str());
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&file));
  ASSERT_TRUE(doc.set_info("Title", "t"));
  ASSERT_TRUE(doc.save_update(PDF_SAVE_FORM::kStream, nullptr));
  MemStream made(file.str());
  CPDFDoc again;
  ASSERT_TRUE(again.open(&made));
  EXPECT_EQ(again.table().root.tag, kTagRef);
  Freed<CPDFObj> info;
  again.table().resolve(info, &again.table().info);
  EXPECT_NE(TestTable::syntax(info).find("/Author(a)"), std::string::npos);
  EXPECT_EQ(again.page_count(), 1);
}

TEST(Update, OffsetsAndPermissionsBeyond31BitsAreIntegers) {
  PdfBuilder builder;
  builder.pages(1).classic("/Root 1 0 R/Encrypt<</Filter/Other/V 1/R 2/P 4294967252>>/ID[(a)(b)]");
  MemStream file(builder.str());
  CPDFXRefTable table;
  table.stream = &file;
  table.append_offset = file.len;
  ASSERT_EQ(table.XRefRead(static_cast<unsigned>(builder.last_section())), 1);
  table.last_xref_offset = 2300000161;
  Freed<CPDFObj> obj;
  obj.set_int(1);
  ASSERT_TRUE(table.store_object({3, 0}, obj));
  ASSERT_EQ(table.save_14(nullptr, nullptr), 1);
  const std::string trailer = file.str().substr(file.str().rfind("trailer"));
  EXPECT_NE(trailer.find("/Prev 2300000161/"), std::string::npos) << trailer;
  EXPECT_NE(trailer.find("/P -44/"), std::string::npos) << trailer;
}

TEST(Update, NumbersThatAreNoObjectAreRefused) {
  PdfBuilder builder;
  builder.pages(1).obj(4, "(no page)").classic();
  MemStream file(builder.str());
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&file));
  for (const int num : {0, -1, 5, 1000000}) {
    EXPECT_FALSE(change(doc, num, "(x)")) << num;
    EXPECT_FALSE(doc.insert_page(0, {num, 0})) << num;
  }
  EXPECT_FALSE(doc.insert_page(0, {4, 0}));
  EXPECT_FALSE(doc.insert_page(0, {2, 0}));  // the tree itself
  EXPECT_EQ(doc.table().new_obj_count, 0u);
  EXPECT_EQ(doc.page_count(), 1);
  EXPECT_TRUE(doc.insert_page(0, {3, 0}));
}

// A reference to nothing is a null. It must not come to mean an object that is made later, nor the section's stream.
TEST(Update, DeadReferencesStayDead) {
  PdfBuilder clean;
  clean.pages(1).obj(4, "[5 0 R 6 0 R 8 0 R 99999999 0 R]").classic("/Root 1 0 R/Info 4 0 R");
  PdfBuilder compressed;
  compressed.pages(1).object_stream(5, {{4, "[6 0 R 7 0 R 8 0 R]"}}).xref_stream(9, "/Root 1 0 R/Info 4 0 R");
  std::string cut = clean.str();
  cut.resize(cut.rfind("startxref"));
  for (const std::string& source : {clean.str(), compressed.str(), cut}) {
    for (const PDF_SAVE_FORM form : {PDF_SAVE_FORM::kClassic, PDF_SAVE_FORM::kStream}) {
      MemStream file(source);
      CPDFDoc doc;
      ASSERT_TRUE(doc.open(&file));
      const std::string list = value_of(doc, 4);
      std::set<int> dead{5, 6, 7, 8};
      dead.erase(source == compressed.str() ? 5 : 7);
      std::vector<int> made;
      for (int i = 0; i < 3; ++i) {
        made.push_back(doc.table().alloc_obj_num());
        ASSERT_TRUE(change(doc, made.back(), "(made)"));
        EXPECT_EQ(dead.count(made.back()), 0u) << made.back();
      }
      EXPECT_LT(made.back(), 1000);
      ASSERT_TRUE(doc.save_update(form, nullptr));
      const std::string whole = rewritten(doc);
      for (const std::string& bytes : {file.str(), whole}) {
        MemStream copy(bytes);
        CPDFDoc again;
        ASSERT_TRUE(again.open(&copy));
        EXPECT_EQ(value_of(again, 4), list);
        for (const int num : dead)
          EXPECT_EQ(value_of(again, num), "null") << num;
      }
    }
  }
}

TEST(Attach, RefusesFilesThatNoStreamHoldsAndTakesAFolderAsEmpty) {
  TestFolder folder;
  PdfBuilder builder;
  builder.pages(1).classic();
  MemStream file(builder.str());
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&file));
  write_file(folder / "large", "");
  std::filesystem::resize_file(folder / "large", std::uintmax_t{1} << 31);
  EXPECT_FALSE(doc.attach((folder / "large").c_str()));
  EXPECT_NE(doc.table().file_too_large, 0);
  EXPECT_EQ(doc.table().new_obj_count, 0u);
  EXPECT_FALSE(doc.attach((folder / "none").c_str()));
  EXPECT_EQ(doc.table().file_too_large, 0);
  PDF_String name{0, nullptr};
  const int spec = doc.table().new_file_spec((folder / "").c_str(), name);
  EXPECT_EQ(std::string(name.data), "");
  QVFree(name.data);
  ASSERT_NE(spec, 0);
  EXPECT_EQ(value_of(doc, spec - 1), "<</Length 0>>");
  EXPECT_TRUE(doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr));
}

// A stream that says what length it has.
struct SaysItsLength : MemStream {
  using MemStream::MemStream;
  long long GetLen() const override { return stated; }
  long long stated = 0;
};

TEST(Open, RefusesWhatOffsetsCannotReach) {
  PdfBuilder builder;
  builder.pages(1).classic();
  SaysItsLength stream(builder.str());
  for (const long long stated : {-1LL, 1LL << 32, (1LL << 32) + 1180, LLONG_MAX}) {
    stream.stated = stated;
    CPDFDoc doc;
    EXPECT_FALSE(doc.open(&stream));
    EXPECT_EQ(doc.status(), PDF_OPEN::kTooLarge);
  }
  TestFolder folder;
  const std::string path = folder / "large.pdf";
  write_file(path, builder.str());
  std::filesystem::resize_file(path, (std::uintmax_t{1} << 32) + builder.str().size() + 10);
  CPDFDoc doc;
  EXPECT_FALSE(doc.open(path.c_str()));
  EXPECT_EQ(doc.status(), PDF_OPEN::kTooLarge);
  EXPECT_FALSE(doc.open_for_update(path.c_str()));
  EXPECT_EQ(doc.status(), PDF_OPEN::kTooLarge);
}

}  // namespace
