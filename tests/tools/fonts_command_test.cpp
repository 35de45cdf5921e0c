// sheaf fonts: fonts are found wherever resources can stand, once each, with what they are.
#include <gtest/gtest.h>

#include <cstring>

#include "support/external_tool.h"
#include "support/pdf_builder.h"

namespace {

// A page whose resources come from above, with a font of each kind in a place of its own.
std::string document() {
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R/AcroForm<</DR<</Font<</H 10 0 R/Z 18 0 R>>>>>>>>")
      .obj(2, "<</Type/Pages/Count 1/Kids[3 0 R]/MediaBox[0 0 9 9]/Resources 4 0 R>>")
      .obj(3, "<</Type/Page/Parent 2 0 R/Annots[<</Subtype/Widget/AP<</N<</On 7 0 R/Off 7 0 R>>>>>>]>>")
      .obj(4,
           "<</Font<</A 10 0 R/B 11 0 R/D<</Type/Font/Subtype/Type1/BaseFont/Courier>>>>/XObject<</X 5 0 R>>"
           "/Pattern<</P 6 0 R>>/ExtGState<</G<</Font[16 0 R 12]>>>>>>")
      .stream(5, "/Subtype/Form/Resources<</XObject<</Self 5 0 R>>/Font<</C 13 0 R>>>>", "")
      .stream(6, "/PatternType 1/Resources<</Font<</C 13 0 R/E 14 0 R>>>>", "")
      .stream(7, "/Subtype/Form/Resources<</Font<</F 15 0 R>>>>", "")
      .obj(10, "<</Type/Font/Subtype/Type1/BaseFont/Helvetica/Encoding/WinAnsiEncoding>>")
      .obj(11,
           "<</Type/Font/Subtype/Type0/BaseFont/ABCDEF+Song/Encoding/Identity-V/DescendantFonts[20 0 R]"
           "/ToUnicode 22 0 R>>")
      .obj(13, "<</Type/Font/Subtype/TrueType/BaseFont/abcdef+Song/Encoding<</Differences[1/a]>>>>")
      .obj(14,
           "<</Type/Font/Subtype/Type3/Name/T3/Encoding<</BaseEncoding/MacRomanEncoding>>/Resources<</Font<</S 17 0 "
           "R>>>>>>")
      .obj(15, "<</Type/Font/Subtype/Type0/BaseFont/Ming/Encoding 23 0 R/DescendantFonts[20 0 R]>>")
      .obj(16, "<</Type/Font/Subtype/Type1/BaseFont/Broken/ToUnicode 21 0 R>>")
      .obj(17, "<</Type/Font/Subtype/MMType1/BaseFont/Inner>>")
      .obj(18, "<</Type/Font/Subtype/Type1/BaseFont/Z>>")
      .obj(19, "<</Type/FontDescriptor/FontFile3 21 0 R>>")
      .obj(20, "<</Type/Font/Subtype/CIDFontType0/FontDescriptor 19 0 R>>")
      .stream(21, "/Subtype/OpenType", "no font and no map")
      .stream(22, "", "1 beginbfchar <0001> <0041> endbfchar")
      .stream(23, "/UseCMap/Identity-H/WMode 1", "/CMapName /Own-V def");
  return builder.classic().str();
}

TEST(FontsCommand, FindsEveryFontOnceAndTellsWhatItIs) {
  const TestFolder folder;
  const std::string in = folder / "in.pdf";
  write_file(in, document());
  const std::string tool = std::string(SHEAF_TOOL) + " fonts ";
  const RunResult json = run_command(tool + "--json " + in + " 2>/dev/null");
  EXPECT_EQ(json.code, 1);  // the map of font 16
  struct Row {
    const char* font;
    const char* facts;
  };
  const Row rows[] = {
      {"10,\"name\":\"Helvetica\",\"type\":\"Type1\"",
       "false,\"program\":\"\",\"subset\":false,\"encoding\":\"WinAnsiEncoding\","
       "\"vertical\":false,\"to_unicode\":false"},
      {"11,\"name\":\"ABCDEF+Song\",\"type\":\"Type0/CIDFontType0\"",
       "true,\"program\":\"FontFile3 "
       "OpenType\",\"subset\":true,\"encoding\":\"Identity-V\",\"vertical\":true,\"to_unicode\":true"},
      {"0,\"name\":\"Courier\",\"type\":\"Type1\"",
       "false,\"program\":\"\",\"subset\":false,\"encoding\":\"built-in\",\"vertical\":false,\"to_unicode\":false"},
      {"13,\"name\":\"abcdef+Song\",\"type\":\"TrueType\"",
       "false,\"program\":\"\",\"subset\":false,\"encoding\":\"built-in with "
       "differences\",\"vertical\":false,\"to_unicode\":false"},
      {"14,\"name\":\"T3\",\"type\":\"Type3\"",
       "true,\"program\":\"\",\"subset\":false,\"encoding\":\"MacRomanEncoding\",\"vertical\":false,\"to_unicode\":"
       "false"},
      {"15,\"name\":\"Ming\",\"type\":\"Type0/CIDFontType0\"",
       "true,\"program\":\"FontFile3 OpenType\",\"subset\":false,\"encoding\":\"Own-V "
       "(embedded)\",\"vertical\":true,\"to_unicode\":false"},
      {"16,\"name\":\"Broken\"", "false,\"program\":\"\",\"subset\":false,\"encoding\":\"built-in\","},
      {"17,\"name\":\"Inner\",\"type\":\"MMType1\"", "false,"},
      {"18,\"name\":\"Z\"", "false,"},
  };
  std::size_t count = 0;
  for (std::size_t at = 0; (at = json.output.find("\"object\":", at)) != std::string::npos; ++at)
    ++count;
  EXPECT_EQ(count, std::size(rows)) << json.output;
  for (const Row& row : rows) {
    const std::size_t at = json.output.find(std::string("\"object\":") + row.font);
    ASSERT_NE(at, std::string::npos) << row.font << json.output;
    const std::string facts = json.output.substr(json.output.find("\"embedded\":", at) + 11);
    EXPECT_EQ(facts.substr(0, std::strlen(row.facts)), row.facts) << row.font;
  }
  const RunResult text = run_command(tool + in + " 2>&1");
  EXPECT_NE(text.output.find("      11 Type0/CIDFontType0 yes      yes    yes     Identity-V"), std::string::npos)
      << text.output;
  EXPECT_NE(text.output.find("font object 16: no text comes out of its ToUnicode map"), std::string::npos);
}

}  // namespace
