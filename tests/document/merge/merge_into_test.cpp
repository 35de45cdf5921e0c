// Documents appended to one that is there: it keeps all that it has.
#include "sheaf/document/metadata/conformance_claims.h"
#include "sheaf/neighbours/page/acro_form.h"
#include "support/merged.h"

using namespace sheaf;

namespace {

// Two pages and one of everything that a catalogue lists.
std::string full(const std::string& name) {
  PdfBuilder builder;
  builder.pages(2)
      .obj(1, "<</Type/Catalog/Pages 2 0 R/OpenAction[4 0 R/Fit]/Lang(" + name +
                  ")/Names 10 0 R/Outlines 12 0 R/PageLabels<</Nums[0<</S/r>>1<</P(" + name +
                  ")>>]>>/OCProperties 15 0 R/AcroForm<</Fields[18 0 R 19 0 R]/CO[19 0 R 18 0 R]>>"
                  "/PageMode/UseOutlines/Metadata 21 0 R/LastModified(" +
                  name + ")>>")
      .obj(3, "<</Type/Page/Parent 2 0 R/Annots[18 0 R 19 0 R 23 0 R]>>")
      .obj(10,
           "<</Dests<</Names[(place)[4 0 R/FitH 7]]>>/EmbeddedFiles<</Names[(file)11 0 R]>>/JavaScript<</Names["
           "(script)22 0 R]>>>>")
      .obj(11, "<</Type/Filespec/F(" + name + ")>>")
      .obj(12, "<</First 13 0 R/Last 14 0 R/Count 2>>")
      .obj(13, "<</Title(" + name + " one)/Parent 12 0 R/Next 14 0 R/Dest[3 0 R/Fit]>>")
      .obj(14, "<</Title(" + name + " two)/Parent 12 0 R/Prev 13 0 R/Dest(place)>>")
      .obj(15, "<</OCGs[16 0 R 17 0 R]/D 20 0 R>>")
      .obj(16, "<</Type/OCG/Name(" + name + " shown)>>")
      .obj(17, "<</Type/OCG/Name(" + name + " hidden)>>")
      .obj(18, "<</T(a)/FT/Tx/V(" + name + ")/Subtype/Widget/P 3 0 R>>")
      .obj(19, "<</T(b)/FT/Btn/Subtype/Widget/P 3 0 R/A<</S/ResetForm/Fields[(a)(b.c)(x)]>>>>")
      .obj(20, "<</OFF[17 0 R]/Order[16 0 R 17 0 R]>>")
      .stream(21, "/Type/Metadata/Subtype/XML", "<" + name + "/>")
      .obj(22, "<</S/JavaScript/JS(" + name + ")>>")
      .obj(23, "<</Subtype/Link/A<</S/Hide/T(a)>>>>")
      .classic("/Root 1 0 R/Info<</Title(" + name + ")>>");
  return builder.str();
}

TEST(DocMergeInto, TheDocumentKeepsAllThatItHas) {
  Merged merged(full("own"));
  ASSERT_EQ(merged.append(full("new"), {0, 1}), 2);
  CPDFDoc& doc = merged.saved();
  ASSERT_EQ(doc.page_count(), 4);
  EXPECT_EQ(merged.catalog("OpenAction"), "[" + merged.page(1) + "/Fit]");
  EXPECT_EQ(merged.catalog("Lang"), "(own)");
  EXPECT_EQ(merged.path({"Names", "Dests", "Names", "0"}), "(place)");
  EXPECT_EQ(merged.path({"Names", "Dests", "Names", "1"}), "[" + merged.page(1) + "/FitH 7]");
  EXPECT_EQ(merged.path({"Names", "Dests", "Names", "3"}), "[" + merged.page(3) + "/FitH 7]");
  EXPECT_EQ(merged.path({"Names", "EmbeddedFiles", "Names", "1", "F"}), "(own)");
  EXPECT_EQ(merged.path({"Names", "EmbeddedFiles", "Names", "3", "F"}), "(new)");
  EXPECT_EQ(merged.path({"Names", "JavaScript", "Names", "1", "JS"}), "(own)");
  EXPECT_EQ(merged.path({"Names", "JavaScript", "Names", "3", "JS"}), "(new)");
  EXPECT_EQ(merged.path({"Outlines", "Count"}), "5");
  EXPECT_EQ(merged.path({"Outlines", "First", "Title"}), "(own one)");
  EXPECT_EQ(merged.path({"Outlines", "First", "Next", "Dest"}), "(place)");
  EXPECT_EQ(merged.path({"Outlines", "Last", "First", "Next", "Dest"}), "(place-2)");
  EXPECT_EQ(merged.path({"Outlines", "Last", "Prev", "Title"}), "(own two)");
  EXPECT_EQ(merged.catalog("PageLabels"), "<</Nums[0<</S/r>>1<</P(own)>>2<</S/r>>3<</P(new)>>]>>");
  EXPECT_EQ(merged.path({"OCProperties", "OCGs", "2", "Name"}), "(new shown)");
  EXPECT_EQ(merged.path({"OCProperties", "D", "OFF", "0", "Name"}), "(own hidden)");
  EXPECT_EQ(merged.path({"OCProperties", "D", "OFF", "1", "Name"}), "(new hidden)");
  EXPECT_EQ(merged.path({"OCProperties", "D", "Order", "3", "Name"}), "(new hidden)");
}

TEST(DocMergeInto, NamesOfFieldsFollowIntoActionsAndTheOrderOfCalculation) {
  Merged merged(full("own"));
  ASSERT_EQ(merged.append(full("new"), {0, 1}), 2);
  CPDFDoc& doc = merged.saved();
  CPDFAcroForm form(doc.table());
  ASSERT_TRUE(form.load());
  ASSERT_EQ(form.field_count(), 4);
  EXPECT_NE(form.get_field(L"a0"), nullptr);
  EXPECT_EQ(merged.path({"AcroForm", "CO", "0", "T"}), "(b)");
  EXPECT_EQ(merged.path({"AcroForm", "CO", "3", "T"}), "(a0)");
  EXPECT_EQ(merged.path({"AcroForm", "Fields", "1", "A", "Fields"}), "[(a)(b.c)(x)]");
  EXPECT_EQ(merged.path({"AcroForm", "Fields", "3", "A", "Fields"}), "[(a0)(b0.c)(x)]");
  CPDFPage page;
  ASSERT_TRUE(doc.load_page(2, page));
  EXPECT_EQ(merged.at(page.dict.get_item("Annots")->as_array()->items[2].as_ref(), "A"), "<</S/Hide/T(a0)>>");
}

TEST(DocMergeInto, ANewDocumentTakesItsSettingsFromTheFirstSource) {
  Merged merged;
  ASSERT_EQ(merged.append(full("one"), {1, 0}), 2);
  ASSERT_EQ(merged.append(full("two"), {0}), 1);
  CPDFDoc& doc = merged.saved();
  EXPECT_EQ(merged.catalog("OpenAction"), "[" + merged.page(0) + "/Fit]");
  EXPECT_EQ(merged.catalog("Lang"), "(one)");
  EXPECT_EQ(merged.catalog("PageMode"), "/UseOutlines");
  EXPECT_EQ(merged.catalog("LastModified"), "(one)");
  EXPECT_EQ(merged.count(PDF_MERGE_FATE::kDropped, "other entries of the catalogue"), 1);
  EXPECT_EQ(merged.path({"Metadata", "Subtype"}), "/XML");
  EXPECT_EQ(merged.at(doc.table().info.as_ref(), "Title"), "(one)");
  EXPECT_EQ(merged.count(PDF_MERGE_FATE::kDropped, "document information"), 1);
  EXPECT_EQ(merged.count(PDF_MERGE_FATE::kRenamed, "fields"), 2);
  // Only the first part of a document opens where the document did.
  Merged part;
  ASSERT_EQ(part.append(full("one"), {0}), 1);
  part.saved();
  EXPECT_EQ(part.catalog("OpenAction"), "null");
}

TEST(DocMergeInto, ManyFieldsOfOneNameGetNamesThatAreFree) {
  constexpr int kTimes = 13;
  Merged merged;
  for (int i = 0; i < kTimes; ++i)
    ASSERT_EQ(merged.append(full("x"), {0}), 1);
  CPDFDoc& doc = merged.saved();
  CPDFAcroForm form(doc.table());
  ASSERT_TRUE(form.load());
  ASSERT_EQ(form.field_count(), 2 * kTimes);
  for (int i = 0; i < form.field_count(); ++i)
    EXPECT_EQ(form.get_field(form.field_at(i)->name()), form.field_at(i)) << i;
  EXPECT_NE(form.get_field(L"a11"), nullptr);
}

// A widget that is a field becomes another field, one of a field further above its further widget.
TEST(DocMergeInto, WidgetsOfARepeatedPageBelongToTheForm) {
  PdfBuilder builder;
  builder.pages(1)
      .obj(1, "<</Type/Catalog/Pages 2 0 R/AcroForm<</Fields[5 0 R 6 0 R]>>>>")
      .obj(3, "<</Type/Page/Parent 2 0 R/Annots[5 0 R 7 0 R 8 0 R]>>")
      .obj(5, "<</T(alone)/FT/Tx/Subtype/Widget/P 3 0 R>>")
      .obj(6, "<</T(group)/FT/Btn/Kids[7 0 R 8 0 R]>>")
      .obj(7, "<</Subtype/Widget/Parent 6 0 R/P 3 0 R>>")
      .obj(8, "<</Subtype/Widget/T(kid)/Parent 6 0 R/P 3 0 R>>")
      .classic();
  Merged merged;
  ASSERT_EQ(merged.append(builder.str(), {0, 0}), 2);
  CPDFDoc& doc = merged.saved();
  CPDFAcroForm form(doc.table());
  ASSERT_TRUE(form.load());
  for (const wchar_t* name : {L"alone", L"alone0", L"group", L"group.kid", L"group.kid-2"})
    EXPECT_NE(form.get_field(name), nullptr) << name;
  CPDFPage page;
  ASSERT_TRUE(doc.load_page(1, page));
  const CPDFArray* annots = page.dict.get_item("Annots")->as_array();
  EXPECT_EQ(form.get_field(L"alone0")->ref(), annots->items[0].as_ref());
  EXPECT_EQ(merged.path({"AcroForm", "Fields", "1", "Kids", "2", "P"}), merged.at(annots->items[1].as_ref(), "P"));
}

TEST(DocMergeInto, SignaturesEndAndAreRecorded) {
  PdfBuilder builder;
  builder.pages(1)
      .obj(1,
           "<</Type/Catalog/Pages 2 0 R/Perms<</DocMDP 6 0 R/UR3 6 0 R>>/AcroForm<</SigFlags 3/Fields[5 0 R]/XFA 8 0 "
           "R>>>>")
      .obj(3, "<</Type/Page/Parent 2 0 R/Annots[5 0 R]>>")
      .obj(5, "<</T(s)/FT/Sig/V 6 0 R/AP<</N 7 0 R>>/Subtype/Widget/P 3 0 R>>")
      .obj(6, "<</Type/Sig/Filter/X/ByteRange[0 1 2 3]/Contents<00>>>")
      .stream(7, "/Subtype/Form/BBox[0 0 1 1]", "0 g")
      .stream(8, "", "<xdp/>")
      .classic();
  Merged merged;
  ASSERT_EQ(merged.append(builder.str(), {0}), 1);
  merged.saved();
  EXPECT_EQ(merged.path({"AcroForm", "Fields", "0", "V"}), "null");
  EXPECT_NE(merged.path({"AcroForm", "Fields", "0", "AP", "N"}), "null");
  EXPECT_EQ(merged.path({"AcroForm", "SigFlags"}), "1");
  for (const char* entry : {"signatures", "certification", "usage rights", "XFA form"})
    EXPECT_EQ(merged.count(PDF_MERGE_FATE::kDropped, entry), 1) << entry;
}

TEST(DocMergeInto, AttachmentsComeAsTheOptionsSay) {
  PdfBuilder builder;
  builder.pages(2)
      .obj(1,
           "<</Type/Catalog/Pages 2 0 R/AF[10 0 R 12 0 R]/Names<</EmbeddedFiles<</Names[(a)10 0 R(b)11 0 R(c)12 0 "
           "R]>>>>>>")
      .obj(3, "<</Type/Page/Parent 2 0 R/Annots[<</Subtype/FileAttachment/FS 10 0 R>>]>>")
      .obj(4, "<</Type/Page/Parent 2 0 R/AF[11 0 R]>>")
      .obj(10, "<</F(a)>>")
      .obj(11, "<</F(b)>>")
      .obj(12, "<</F(c)>>")
      .classic();
  using Files = PDF_MERGE_FILES;
  const struct {
    Files files;
    const char* names;  // that are taken with the first page
    const char* associated;
  } rows[] = {{Files::kAll, "abc", "ac"},
              {Files::kReferredAndLoose, "ac", "ac"},
              {Files::kReferred, "a", "a"},
              {Files::kNone, "", "a"}};
  for (const auto& row : rows) {
    Merged merged;
    merged.merge.set_options({row.files, true, false});
    ASSERT_EQ(merged.append(builder.str(), {0}), 1);
    merged.saved();
    std::string names;
    for (const char* index : {"1", "3", "5"}) {
      const std::string name = merged.path({"Names", "EmbeddedFiles", "Names", index, "F"});
      names += name.size() == 3 ? name.substr(1, 1) : "";
    }
    EXPECT_EQ(names, row.names);
    for (std::size_t i = 0; i < 2; ++i) {
      const std::string expected =
          i < std::string(row.associated).size() ? std::string("(") + row.associated[i] + ")" : "null";
      EXPECT_EQ(merged.path({"AF", i == 0 ? "0" : "1", "F"}), expected) << row.names;
    }
  }
}

// A font whose name means another one gets a new name, which the text of fields follows; one that is the same stays.
TEST(DocMergeInto, FontsOfFieldsStayTheirOwn) {
  const auto form = [](const char* font) {
    PdfBuilder builder;
    builder.pages(1)
        .obj(1,
             "<</Type/Catalog/Pages 2 0 R/AcroForm<</Fields[5 0 R 6 0 R]/DA(/F 9 Tf)/DR<</Font<</F 8 0 R/G 9 0 R>>>>>>"
             ">>")
        .obj(3, "<</Type/Page/Parent 2 0 R/Annots[5 0 R 6 0 R]>>")
        .obj(5, "<</T(a)/FT/Tx/Subtype/Widget/DA(0 g/F 12 Tf (/F 1 Tf) /G 3 Tf)>>")
        .obj(6, "<</T(b)/FT/Tx/Subtype/Widget>>")
        .obj(8, std::string("<</Type/Font/BaseFont/") + font + "/Widths 10 0 R>>")
        .obj(9, "<</Type/Font/BaseFont/Same/Widths 10 0 R>>")
        .obj(10, "[1 2]")
        .classic();
    return builder.str();
  };
  Merged merged;
  ASSERT_EQ(merged.append(form("Helvetica"), {0}), 1);
  ASSERT_EQ(merged.append(form("Courier"), {0}), 1);
  merged.saved();
  EXPECT_EQ(merged.path({"AcroForm", "DR", "Font", "F-2", "BaseFont"}), "/Courier");
  EXPECT_EQ(merged.path({"AcroForm", "DR", "Font", "G-2"}), "null");
  EXPECT_EQ(merged.path({"AcroForm", "Fields", "0", "DA"}), "(0 g/F 12 Tf \\(/F 1 Tf\\) /G 3 Tf)");
  EXPECT_EQ(merged.path({"AcroForm", "Fields", "2", "DA"}).find("(0 g/F-2 12 Tf "), 0u);
  EXPECT_EQ(merged.path({"AcroForm", "Fields", "3", "DA"}), "(/F-2 9 Tf)");

  Merged grown(form("Helvetica"));
  ASSERT_EQ(grown.append(form("Courier"), {0}), 1);
  grown.saved();
  EXPECT_EQ(grown.path({"AcroForm", "DA"}), "(/F 9 Tf)");
  EXPECT_EQ(grown.path({"AcroForm", "Fields", "3", "DA"}), "(/F-2 9 Tf)");
}

// What a document claims to conform to outlives a merge only with others that claim the same.
TEST(DocMergeInto, ClaimsEndWhereNotAllMakeThem) {
  const auto claiming = [](const std::string& claims) {
    const std::string xmp =
        "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">"
        "<rdf:Description rdf:about=\"\" xmlns:dc=\"d\" xmlns:ua=\"http://www.aiim.org/pdfua/ns/id/\" "
        "xmlns:a=\"http://www.aiim.org/pdfa/ns/id/\"" +
        claims + "<dc:kept>yes</dc:kept></rdf:Description></rdf:RDF></x:xmpmeta>";
    PdfBuilder builder;
    builder.pages(1)
        .obj(1, "<</Type/Catalog/Version/2.0/Pages 2 0 R/Metadata 9 0 R/OpenAction[3 0 R/Fit]>>")
        .stream(9, "/Type/Metadata/Subtype/XML", xmp)
        .classic();
    return builder.str();
  };
  const std::string both = claiming(" a:part=\"2\" a:conformance=\"B\"><ua:part>1</ua:part>");
  const std::string same = claiming("><ua:part>1</ua:part><a:conformance>B</a:conformance><a:part>2</a:part>");
  for (const auto& [second, stays] : {std::pair{same, true}, std::pair{claiming(">"), false}}) {
    Merged merged;
    ASSERT_EQ(merged.append(both, {0}), 1);
    ASSERT_EQ(merged.append(second, {0}), 1);
    CPDFDoc& doc = merged.saved();
    EXPECT_STREQ(doc.version(), "2.0");
    EXPECT_EQ(conformance_claims(doc.table()) != 0, stays);
    EXPECT_EQ(merged.count(PDF_MERGE_FATE::kDropped, "conformance claims"), stays ? 0 : 1);
    EXPECT_NE(std::string(reinterpret_cast<const char*>(merged.out.data), merged.out.len).find("<dc:kept>"),
              std::string::npos);
  }
  Merged none;
  ASSERT_EQ(none.append(both, {}), 0);
  EXPECT_EQ(none.count(PDF_MERGE_FATE::kDropped, "opening action"), 1);  // its page stayed behind
}

}  // namespace
