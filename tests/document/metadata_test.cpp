// Metadata in step with the document information, and the frame of PDF/A on request.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "sheaf/document/doc.h"
#include "sheaf/filters/stream_filter.h"
#include "support/external_tool.h"
#include "support/pdf_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

// Prefixes of its own, properties as attributes and as elements, two languages, a foreign schema.
const char* const kPacket = R"(<?xpacket begin="" id="W5M0MpCehiHzreSzNTczkc9d"?>
<!-- kept -->
<x:xmpmeta xmlns:x="adobe:ns:meta/"><r:RDF xmlns:r="http://www.w3.org/1999/02/22-rdf-syntax-ns#">
 <r:Description r:about="" xmlns:P="http://ns.adobe.com/pdf/1.3/" P:Producer="Old &amp; gold" P:Keywords="k">
  <d:title xmlns:d="http://purl.org/dc/elements/1.1/"><r:Alt><r:li xml:lang="x-default">Old</r:li><r:li xml:lang="fi">Vanha</r:li></r:Alt></d:title>
 </r:Description>
 <r:Description r:about="" xmlns:own="urn:own"><own:thing>kept  as it is</own:thing></r:Description>
</r:RDF></x:xmpmeta>
<?xpacket end="w"?>)";

struct Opened {
  Opened(const std::string& packet, const std::string& catalog_keys, const std::string& stream_keys = "") {
    PdfBuilder builder;
    builder.obj(1, "<</Type/Catalog/Pages 2 0 R" + catalog_keys + ">>");
    builder.obj(2, "<</Type/Pages/Kids[3 0 R]/Count 1>>").obj(3, "<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]>>");
    builder.stream(4, "/Type/Metadata/Subtype/XML" + stream_keys, packet).obj(5, "<</Title(Old)>>");
    builder.classic("/Root 1 0 R/Info 5 0 R/ID[<0A><0B>]");
    file = std::make_unique<MemStream>(builder.str());
    EXPECT_TRUE(doc.open(file.get()));
  }
  // The packet as the file has it after a save.
  std::string saved_packet() {
    EXPECT_TRUE(doc.save_update(PDF_SAVE_FORM::kStream, nullptr));
    CPDFDoc again;
    EXPECT_TRUE(again.open(file.get()));
    Freed<CPDFObj> catalog;
    Freed<CPDFObj> obj;
    again.table().resolve(catalog, &again.table().root);
    again.table().resolve(obj, catalog.as_dict()->get_item("Metadata"));
    if (obj.as_stream() == nullptr)
      return "none";
    const std::unique_ptr<CPDFStream> stream(again.table().make_stream(obj.as_stream()));
    std::string text(100'000, '\0');
    const int got = stream == nullptr ? 0 : stream->read_block(text.data(), static_cast<int>(text.size()));
    text.resize(static_cast<std::size_t>(std::max(got, 0)));
    return text;
  }
  std::unique_ptr<MemStream> file;
  CPDFDoc doc;
};

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return at != std::string::npos ? text.replace(at, from.size(), to) : text;
}

// Without the one property that nobody can foretell.
std::string without_date(const std::string& text, const std::string& name) {
  const std::size_t from = text.find("<" + name);
  const std::size_t to = text.find("</" + name + ">");
  EXPECT_TRUE(from != std::string::npos && to != std::string::npos) << text;
  return text.substr(0, from) + text.substr(to + name.size() + 3);
}

TEST(Metadata, FollowTheDocumentInformationAndStayElseAsTheyWere) {
  for (const bool compressed : {false, true}) {
    Opened t(compressed ? PdfBuilder::deflated(kPacket) : kPacket, "/Metadata 4 0 R",
             compressed ? "/Filter/FlateDecode" : "");
    ASSERT_TRUE(t.doc.set_info("Title", "New <\xC3\xA9>"));
    ASSERT_TRUE(t.doc.set_info("Producer", "sheaf"));
    ASSERT_TRUE(t.doc.set_info("Keywords", ""));
    ASSERT_TRUE(t.doc.set_info("Author", "A. U. Thor"));
    std::string expected = replaced(kPacket, ">Old<", ">New &lt;\xC3\xA9&gt;<");
    expected = replaced(expected, "\"Old &amp; gold\" P:Keywords=\"k\"", "\"sheaf\"");
    std::string packet = t.saved_packet();
    packet = without_date(packet, "xmp:ModifyDate");
    packet = replaced(packet, "<dc:creator><r:Seq><r:li>A. U. Thor</r:li></r:Seq></dc:creator>", "");
    for (const char* declared :
         {" xmlns:dc=\"http://purl.org/dc/elements/1.1/\"", " xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\""})
      packet = replaced(packet, declared, "");
    EXPECT_EQ(packet, expected);
    EXPECT_FALSE(t.doc.metadata_left_behind());
  }
}

TEST(Metadata, DatesSayWhenTheInformationChanged) {
  Opened t(kPacket, "/Metadata 4 0 R");
  ASSERT_TRUE(t.doc.set_info("CreationDate", "D:20200203040506+01'00'"));
  ASSERT_TRUE(t.doc.set_info("ModDate", "D:20210203040506Z"));
  const std::string packet = t.saved_packet();
  EXPECT_NE(packet.find("CreateDate>2020-02-03T04:05:06+01:00<"), std::string::npos) << packet;
  EXPECT_NE(packet.find("ModifyDate>2021-02-03T04:05:06Z<"), std::string::npos) << packet;
  ASSERT_TRUE(t.doc.set_info("Title", "x"));
  Freed<CPDFObj> info;
  t.doc.table().resolve(info, &t.doc.table().info);
  const std::string date = info.as_dict()->get_item("ModDate")->as_text();
  EXPECT_EQ(date.size(), 23u) << date;
  EXPECT_GT(date, "D:2024");
}

TEST(Metadata, APacketThatCannotBeReadIsLeftAndReported) {
  std::string deep = "<r:RDF xmlns:r=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">";
  for (int i = 0; i < 100'000; ++i)
    deep += "<a>";
  for (int i = 0; i < 100'000; ++i)
    deep += "</a>";
  for (const std::string& packet :
       {std::string("<no & xml"), std::string("<xml/>"), deep + "</r:RDF>", std::string()}) {
    Opened t(packet, "/Metadata 4 0 R");
    ASSERT_TRUE(t.doc.set_info("Title", "New"));
    EXPECT_EQ(t.saved_packet(), packet.substr(0, 100'000));
    EXPECT_TRUE(t.doc.metadata_left_behind());
  }
}

TEST(Frame, IsAddedOnRequestAlone) {
  struct Row {
    const char* keys;
    int intents;  // those there before
    bool metadata;
  };
  for (const Row& row : {Row{"", 0, false}, Row{"/Metadata 4 0 R", 0, true}, Row{"/OutputIntents[5 0 R]", 1, false}}) {
    for (const PDF_FRAME frame : {PDF_FRAME::kNone, PDF_FRAME::kFrame, PDF_FRAME::kClaim}) {
      Opened t(kPacket, row.keys);
      t.doc.set_frame(frame);
      ASSERT_TRUE(t.doc.set_info("Title", "New"));
      t.saved_packet();
      CPDFDoc saved;
      ASSERT_TRUE(saved.open(t.file.get()));
      PDF_FRAME_FOUND found;
      saved.read_frame(found);
      const bool framed = frame != PDF_FRAME::kNone;
      EXPECT_EQ(found.pdfa_intents, framed ? 1 : 0);
      EXPECT_EQ(found.output_intents, row.intents + (framed ? 1 : 0));
      EXPECT_EQ(found.has_metadata, framed || row.metadata);
      EXPECT_STREQ(found.claim, frame == PDF_FRAME::kClaim ? "1B" : "");
      // Asked once more, nothing is left to add.
      ASSERT_TRUE(t.doc.save_update(PDF_SAVE_FORM::kStream, nullptr));
      EXPECT_EQ(t.doc.last_save(), PDF_SAVE::kUnchanged);
    }
  }
}

}  // namespace
