// sheaf map: the picture shows what is where, of sound, updated, damaged and crowded files.
#include <gtest/gtest.h>

#include "support/external_tool.h"
#include "support/pdf_builder.h"

namespace {

struct MapCommand : testing::Test {
  std::string draw(const std::string& bytes, int code = 0, const std::string& name = "in.pdf") {
    write_file(folder / name, bytes);
    const RunResult run =
        run_command(std::string(SHEAF_TOOL) + " map '" + (folder / name) + "' -o " + (folder / "out.svg") + " 2>&1");
    EXPECT_EQ(run.code, code) << run.output;
    return read_file(folder / "out.svg");
  }
  static void expect(const std::string& picture, const std::vector<std::string>& texts) {
    for (const std::string& text : texts)
      EXPECT_NE(picture.find(text), std::string::npos) << text << "\n" << picture;
  }
  static std::string bytes_at(std::size_t from, std::size_t to) {
    return std::to_string(to - from) + " bytes at " + std::to_string(from);
  }
  TestFolder folder;
};

TEST_F(MapCommand, PartsAreNamedWithTheirPlaces) {
  PdfBuilder builder;
  builder.pages(1)
      .obj(3, "<</Type/Page/Parent 2 0 R/Contents[4 0 R]/Resources<</Font<</F 5 0 R>>/XObject<</X 7 0 R>>>>>>")
      .stream(4, "", "9 0 obj null endobj")
      .obj(5, "<</Type/Font/FontDescriptor 6 0 R>>")
      .obj(6, "<</Type/FontDescriptor/FontFile2 8 0 R>>")
      .stream(7, "/Subtype/Image/Filter[/ASCIIHexDecode/DCTDecode]", std::string(90, '0') + ">")
      .stream(8, "/Filter/FlateDecode", PdfBuilder::deflated("program"))
      .stream(10, "", "left behind");
  const std::size_t first_end = builder.classic().str().size();
  builder.obj(5, "<</Type/Font/FontDescriptor 6 0 R/Changed true>>").obj(11, "null").classic();
  const std::string front = "junk in front\n";
  const std::string picture = draw(front + builder.str(), 0, "a&b.pdf");
  expect(picture, {"<title>page 3: ", "<title>page content 4: ", "<title>font 8: ", "ASCIIHexDecode DCTDecode</title>",
                   "earlier version of 5: ", "; nothing refers to it</title>", "a&amp;b.pdf", "</svg>",
                   "<title>unknown bytes: " + bytes_at(0, front.size()), "<title>header: ", "<title>first save, ",
                   "<title>update 1, ", "1 new, 1 again"});
  expect(picture, {" at " + std::to_string(front.size() + builder.offset_of(7)), "<title>cross-reference table: "});
  EXPECT_GT(first_end, 0u);
  EXPECT_EQ(picture.find("object 9"), std::string::npos);
}

TEST_F(MapCommand, ObjectsInObjectStreamsCount) {
  PdfBuilder builder;
  builder.obj(2, "<</Type/Pages/Count 1/Kids[3 0 R]/MediaBox[0 0 9 9]>>")
      .object_stream(8, {{1, "<</Type/Catalog/Pages 2 0 R>>"}, {3, "<</Type/Page/Parent 2 0 R>>"}, {4, "(lost)"}})
      .xref_stream(9);
  const std::string picture = draw(builder.str());
  expect(picture,
         {"object stream 8: ", "cross-reference stream: ", "4 objects", "What nothing refers to", ">Hatched<"});
}

TEST_F(MapCommand, DamageIsShownAndNotFatal) {
  PdfBuilder builder;
  builder.pages(2).stream(5, "/Length 99999", "short").classic();
  std::string bytes = builder.str();
  bytes.insert(bytes.find("3 0 obj"), "\x01\x02 rubbish <& ");
  const std::string cut = bytes.substr(0, bytes.rfind("xref\n0"));
  expect(draw(cut, 1), {", damaged, ", "<title>unknown bytes: ", "page 4: "});
  write_file(folder / "no.pdf", "nothing");
  EXPECT_EQ(run_command(std::string(SHEAF_TOOL) + " map " + (folder / "no.pdf") + " 2>&1").code, 2);
  const std::string itself = folder / "in.pdf";
  EXPECT_EQ(run_command(std::string(SHEAF_TOOL) + " map " + itself + " -o " + itself + " 2>&1").code, 2);
  EXPECT_EQ(read_file(itself), cut);
}

TEST_F(MapCommand, CrowdsAreDrawnTogether) {
  constexpr int kObjects = 30000;
  PdfBuilder builder;
  builder.pages(1);
  for (int num = 4; num < kObjects; ++num)
    builder.obj(num, num % 2 == 0 ? "<</Type/Font>>" : "(unused)");
  const std::string picture = draw(builder.classic().str());
  expect(picture, {" parts, objects ", "29,996 objects", "; Other objects "});
  EXPECT_LT(picture.size(), 4u << 20);
}

}  // namespace
