// Held stream data, the PDF/A frame, file specifications and metadata.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "sheaf/document/doc.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/neighbours/page/xmp.h"
#include "sheaf/object/array.h"
#include "sheaf/object/text_utf8.h"
#include "support/external_tool.h"
#include "support/pdf_builder.h"
#include "support/read_back.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

std::string decoded(CPDFXRefTable& table, int num) {
  const Freed<CPDFObj> obj = table.object(num);
  return decoded_stream(table, obj);
}

struct Holder : TestTable {
  Holder() : TestTable("") {}
  CPDFStreamRec put(int num, const std::string& data, int gen = 0) {
    CPDFStreamRec rec;
    table.write_stream({num, gen}, &rec, data.data(), static_cast<unsigned>(data.size()));
    CPDFStreamRec copy;
    copy.copy_location(rec);
    rec.dict.clear();
    return copy;
  }
  static std::string body(const CPDFStreamRec& rec) {
    std::string bytes(static_cast<std::size_t>(rec.length), '\0');
    rec.source->SetPos(CQVStream::STR_SEEK_SET, rec.offset);
    rec.source->Read(bytes.data(), static_cast<unsigned>(bytes.size()));
    return bytes;
  }
};

TEST(StreamStore, MemoryKeepsOneEntryANumber) {
  Holder h;
  h.put(7, "first");
  const CPDFStreamRec second = h.put(7, "second", 1);
  EXPECT_EQ(h.table.mem_stream_count, 1);
  EXPECT_EQ(h.table.mem_streams[0].ref.gen, 0);
  EXPECT_EQ(second.ref.gen, 1);
  EXPECT_EQ(second.plain, 1);
  EXPECT_EQ(Holder::body(second), "second");
  for (int num = 10; num < 18; ++num)
    EXPECT_EQ(Holder::body(h.put(num, std::to_string(num))), std::to_string(num));
  EXPECT_EQ(Holder::body(second), "second");
}

TEST(StreamStore, TheTemporaryFileOnlyGrows) {
  CPDFDoc doc;
  MemStream file("");
  ASSERT_TRUE(doc.create(&file));
  const TestFolder folder;
  ASSERT_TRUE(doc.use_temp_file((folder / "").c_str()));
  // Whatever ends the process leaves nothing after.
  EXPECT_TRUE(std::filesystem::is_empty(folder / ""));
  CPDFStreamRec rec;
  doc.table().write_stream({7, 0}, &rec, "first", 5);
  EXPECT_EQ(rec.offset, 0u);
  doc.table().write_stream({7, 0}, &rec, "second", 6);
  EXPECT_EQ(rec.offset, 5u);
  EXPECT_EQ(rec.source, &doc.table().temp_stream);
  EXPECT_EQ(doc.table().mem_stream_count, 0);
  rec.dict.clear();
  doc.close();
}

TEST(Pdfa, TheProfileInflatesToItsTags) {
  TestTable t("");
  t.table.new_xref();
  t.table.pdfa_gen();
  const std::string profile = decoded(t.table, 3);
  ASSERT_EQ(profile.size(), 560u);
  EXPECT_EQ(profile.substr(12, 4), "mntr");
  EXPECT_EQ(profile.substr(36, 4), "acsp");
  EXPECT_EQ(profile.substr(132, 4), "cprt");
  EXPECT_EQ(profile.substr(316, 16), "Adobe RGB (1998)");
  EXPECT_EQ(profile.substr(464, 2), "\x02\x33");
  const std::uint32_t objects = t.table.new_obj_count;
  t.table.pdfa_gen();
  EXPECT_EQ(t.table.new_obj_count, objects);
}

TEST(Pdfa, OneOfTheTwoKeysLeavesTheDocumentAlone) {
  for (const char* keys : {"/Metadata 9 0 R", "/OutputIntents null", ""}) {
    PdfBuilder builder;
    builder.obj(1, "<</Pages 2 0 R" + std::string(keys) + ">>").classic();
    TestTable t(builder.str());
    t.table.XRefRead(static_cast<unsigned>(builder.last_section()));
    t.table.pdfa_gen();
    EXPECT_EQ(t.table.new_obj_count, *keys == 0 ? 4u : 0u) << keys;
  }
}

TEST(Pdfa, VerifyLooksAtHeaderAndTrailer) {
  const auto verdict = [](const std::string& head, bool id, bool encrypt) {
    TestTable t(head);
    if (id)
      t.table.id.set_int(1);
    if (encrypt)
      t.table.encrypt.set_int(1);
    return t.table.pdfa_verify();
  };
  const std::string good = "%PDF-1.7\r%\xE7\xA9\xCB\xF1\r\n";
  EXPECT_EQ(verdict(good, true, false), 0);
  EXPECT_EQ(verdict(good, false, false), 0x060103);
  EXPECT_EQ(verdict(good, true, true), 0x060103);
  EXPECT_EQ(verdict("%PDF-1.7\r%\xE7 \xCB\xF1\r\n", true, false), 0);
  EXPECT_EQ(verdict("%PDF-1.7\r%\xE7  \xF1\r\n", true, false), 0x060102);
  EXPECT_EQ(verdict("%PDF-1.7\r\n%\xE7\xA9\xCB\xF1\n", true, false), 0x060102);
  EXPECT_EQ(CPDFXRefTable().pdfa_verify(), 1);
}

TEST(Xmp, CarriesTheDocumentInformation) {
  TestTable t("");
  Freed<CPDFObj> info;
  read_value(info,
             "<</Title<FEFF00410026D83DDE00>/Author(J\\351r\\364me <x>)/CreationDate(D:20240131120506+01'30')"
             "/ModDate(D:199912)/Keywords 5>>");
  CPDFXMP xmp;
  unsigned len = 0;
  const HeapBlock<unsigned char> unclaimed(xmp.gen_xmp(&t.table, &info, len));
  EXPECT_EQ(std::string(reinterpret_cast<char*>(unclaimed.get()), len).find("pdfaid"), std::string::npos);
  t.table.claims_pdfa = 1;
  const HeapBlock<unsigned char> block(xmp.gen_xmp(&t.table, &info, len));
  const std::string text(reinterpret_cast<char*>(block.get()), len);
  for (const char* piece :
       {"<pdfaid:part>1</pdfaid:part>", "<rdf:li xml:lang=\"x-default\">A&amp;\xF0\x9F\x98\x80</rdf:li>",
        "<rdf:Seq><rdf:li>J\xC3\xA9r\xC3\xB4me &lt;x&gt;</rdf:li></rdf:Seq>",
        "<xmp:CreateDate>2024-01-31T12:05:06+01:30</xmp:CreateDate>", "<xmp:ModifyDate>1999-12</xmp:ModifyDate>",
        "<?xpacket end=\"w\"?>"})
    EXPECT_NE(text.find(piece), std::string::npos) << piece;
  EXPECT_EQ(text.find("Keywords>"), std::string::npos);
  EXPECT_GT(len, 2500u);
}

TEST(Text, Utf8ComesBackThroughEitherEncoding) {
  for (const char* text :
       {"plain", "J\xC3\xA9r\xC3\xB4me \xE2\x82\xAC", "\xE6\xBC\xA2\xE5\xAD\x97", "\xF0\x9F\x98\x80", ""}) {
    PDF_String pdf;
    text_from_utf8(text, pdf);
    std::size_t len = 0;
    const HeapBlock<char> again(text_to_utf8(pdf, len));
    EXPECT_STREQ(again.get(), text);
    QVFree(pdf.data);
  }
}

struct FileSpec : testing::Test {
  void SetUp() override { std::ofstream(folder / "b.txt") << "contents"; }
  TestFolder folder;
};

TEST_F(FileSpec, NamesAreTheLastComponent) {
  TestTable t("");
  t.table.new_xref();
  PDF_String name;
  const int num = t.table.new_file_spec((folder / "b.txt").c_str(), name);
  EXPECT_EQ(num, 4);
  EXPECT_STREQ(name.data, "b.txt");
  QVFree(name.data);
  EXPECT_EQ(t.object(num), "<</EF<</F 3 0 R/UF 3 0 R>>/F(b.txt)/Type/Filespec/UF<FEFF0062002E007400780074>>>");
  EXPECT_EQ(decoded(t.table, 3), "contents");
  const std::uint32_t next = t.table.next_obj_num;
  EXPECT_EQ(t.table.new_file_spec((folder / "missing").c_str()), 0);
  EXPECT_EQ(t.table.new_file_spec(nullptr), 0);
  EXPECT_EQ(t.table.next_obj_num, next);
}

TEST_F(FileSpec, AttachmentsGoIntoTheNameTreeInOrder) {
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R/Names<</EmbeddedFiles 5 0 R>>>>")
      .obj(2, "<</Type/Pages/Kids[]/Count 0>>");
  builder.obj(5, "<</Kids[6 0 R 7 0 R]>>").obj(6, "<</Limits[(a.txt)(a.txt)]/Names[(a.txt) 8 0 R]>>");
  builder.obj(7, "<</Limits[(c.txt)(d.txt)]/Names[(c.txt) 8 0 R(d.txt) 8 0 R]>>").obj(8, "<<>>").classic();
  MemStream file(builder.str());
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&file));
  const std::string path = folder / "b.txt";
  ASSERT_TRUE(doc.attach(path.c_str()));
  ASSERT_TRUE(doc.attach(path.c_str()));  // a name that is taken gets a number
  Freed<CPDFObj> node;
  doc.table().get_entity(node, {6, 0});
  EXPECT_EQ(TestTable::syntax(node), "<</Limits[(a.txt)(b.txt-2)]/Names[(a.txt)8 0 R(b.txt)10 0 R(b.txt-2)12 0 R]>>");
}

}  // namespace
