// Text as lines of placed glyphs: breaks, order, positions, and what becomes of clusters in the embedded font.
#include "sheaf/document/text/text_setter.h"

#include <gtest/gtest.h>

#include "neighbours/fonts/font_files.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/fonts/system_fonts.h"
#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/neighbours/fonts/programs/font_type0.h"
#include "support/external_tool.h"
#include "support/font_builder.h"
#include "support/read_back.h"

using namespace sheaf;

namespace {

// In the font of these tests glyph g is 250 + 5 g thousandths wide.
struct Setter : testing::Test {
  void SetUp() override {
    FontBuilder face;
    face.characters = {{' ', 1}, {0xA0, 1}, {'a', 2}, {'b', 3}, {'c', 4}, {0x301, 5}, {0x5D0, 6}, {0x5D1, 7}, {'-', 8}};
    write_file(folder / "test.ttf", face.build());
    CPDFEnviroment* const env = new CPDFEnviroment;
    env->use_system_fonts(0);
    env->add_font_folder(folder.str().c_str());
    ASSERT_TRUE(doc.create(&file));
    doc.table().set_envirment(env, "test");
    CPDFEnviroment::destroy(env);
  }
  TextSetter& set(const std::string& text, double width = 0) {
    format.size = 1000;
    format.width = width;
    EXPECT_TRUE(setter.add_font("Test Sans"));
    EXPECT_TRUE(setter.set(text, format));
    return setter;
  }
  std::string shown(std::size_t line) {
    GrowArray<char> out;
    EXPECT_TRUE(setter.show(setter.lines()[line], 0, 0, out));
    const std::string all(out.begin(), out.size());
    return all.substr(all.find('['));
  }
  /// The last stream of the document that has these bytes.
  std::string stream_with(const std::string& part) {
    std::string found;
    for (std::uint32_t num = 1; num < doc.table().next_obj_num; ++num) {
      Freed<CPDFObj> obj;
      doc.table().get_entity(obj, {static_cast<int>(num), 0});
      const std::string bytes = decoded_stream(doc.table(), obj);
      if (bytes.find(part) != std::string::npos)
        found = bytes;
    }
    return found;
  }
  std::string program_of_document() { return stream_with("glyf"); }
  CPDFFontType0& font() { return *setter.system().font(setter.glyphs()[0].font); }

  TestFolder folder;
  CQVStreamMem file;
  CPDFDoc doc;
  TextFormat format;
  TextSetter setter{doc.table()};
};

TEST_F(Setter, LinesEndWhereTheTextAllowsIt) {
  set("ab ab-ab\r\nb\n\naaaaaaa", 900);
  ASSERT_EQ(setter.lines().size(), 8U);
  EXPECT_EQ(shown(0), "[<000200030001>] TJ\n") << "the space hangs over";
  EXPECT_FLOAT_EQ(static_cast<float>(setter.lines()[0].width), 525);
  EXPECT_EQ(shown(1), "[<000200030008>] TJ\n");
  EXPECT_EQ(shown(2), "[<00020003>] TJ\n");
  EXPECT_TRUE(setter.lines()[2].ends_paragraph);
  EXPECT_EQ(setter.lines()[4].count, 0U);
  EXPECT_EQ(shown(5), "[<000200020002>] TJ\n") << "what is wider than a line is broken between characters";
  EXPECT_EQ(shown(7), "[<0002>] TJ\n");
}

TEST_F(Setter, WordsFromTheRightAreShownInTheOrderOfReading) {
  set("a \u05D0\u05D1 b");
  // 260 + 255, then two letters of 285 and 280 the first of which is at the right.
  // Readers that sort by place would take the space at its right for a part of the word.
  EXPECT_EQ(shown(0),
            "[<00020001>-285] TJ\n/Span<</ActualText<FEFF05D0200E>>>BDC\n[<0006>] TJ\nEMC\n"
            "[565<0007>-280<00010003>] TJ\n");
  EXPECT_FALSE(setter.lines()[0].right_to_left);
  set("\u05D0 a");
  EXPECT_TRUE(setter.lines()[0].right_to_left);
  EXPECT_FLOAT_EQ(setter.glyphs()[0].x, 515);
}

TEST_F(Setter, ClustersAndSharedGlyphsHaveCodesOfTheirOwn) {
  set("a b\u00A0a\u0301a");
  const int own = FontBuilder().glyph_count();
  const TextGlyph* const glyphs = setter.glyphs().begin();
  EXPECT_EQ(glyphs[1].code, 1);
  EXPECT_EQ(glyphs[3].code, own) << "the same glyph for another character";
  EXPECT_EQ(glyphs[4].code, own + 1) << "a letter with its mark";
  ASSERT_EQ(setter.lines()[0].count, 6U);
  const PDF_REF top = setter.font_ref(glyphs[0].font);
  doc.table().font_cache.embed_flush();
  const std::string program = program_of_document();
  const std::string map = stream_with("begincmap");
  EXPECT_NE(top.num, 0);
  EXPECT_NE(map.find("<0016> <00A0>\n<0017> <00E1>"), std::string::npos) << map;
  const FontFile built(program);
  EXPECT_TRUE(built.checksums_hold);
  const std::string composite = built.glyph(static_cast<unsigned>(own));
  ASSERT_GE(composite.size(), 26U);
  EXPECT_EQ(signed_at(composite, 0), -1);
  EXPECT_EQ(number_at(composite, 12, 2), 2U) << "the letter";
  EXPECT_EQ(number_at(composite, 20, 2), 5U) << "the mark";
  EXPECT_EQ(font().glyph_width(static_cast<unsigned>(own + 1)), setter.glyphs()[4].advance);
}

// An axis whose end is the instance "Varied Wide" and makes glyph 2 100 units wider.
FontBuilder varied_face() {
  constexpr auto u16 = FontBuilder::u16;
  constexpr auto u32 = FontBuilder::u32;
  FontBuilder face;
  face.family = "Varied";
  face.post_script = "Wide";
  face.characters = {{'a', 2}};
  face.replaced["fvar"] = u32(0x10000) + u16(16) + u16(2) + u16(1) + u16(20) + u16(1) + u16(8) + "wght" +
                          u32(400 << 16) + u32(400 << 16) + u32(900 << 16) + u16(0) + u16(2) + u16(6) + u16(0) +
                          u32(900 << 16);
  // All points: four of the outline, of which two lie at the right, and four of the metrics, the second of them the
  // advance.
  const std::string deltas = std::string("\0\x07\0\0\x64\x64\0\x64\0\0\x87", 11);
  const std::string variation = u16(1) + u16(10) + u16(static_cast<int>(deltas.size())) + u16(0xA000) + u16(0x4000) +
                                deltas + std::string(1, '\0');
  std::string offsets;
  for (int glyph = 0; glyph <= face.glyph_count(); ++glyph)
    offsets += u32(glyph > 2 ? static_cast<std::uint32_t>(variation.size()) : 0);
  const auto start = static_cast<std::uint32_t>(20 + offsets.size());
  face.replaced["gvar"] =
      u32(0x10000) + u16(1) + u16(0) + u32(start) + u16(face.glyph_count()) + u16(1) + u32(start) + offsets + variation;
  return face;
}

TEST_F(Setter, InstancesOfVariableFontsAreEmbeddedAsTheyAreSeen) {
  write_file(folder / "varied.ttf", varied_face().build());
  format.size = 1000;
  ASSERT_TRUE(setter.add_font("varied wide"));
  ASSERT_TRUE(setter.set("aa", format));
  EXPECT_FLOAT_EQ(setter.glyphs()[1].x, 310) << "520 and 100 units of 2000";
  std::uint32_t text[GlyphTexts::kMost];
  ASSERT_EQ(font().text_of(setter.glyphs()[1].code, text), 1);
  EXPECT_EQ(text[0], 'a');
  doc.table().font_cache.embed_flush();
  const FontFile program(program_of_document());
  EXPECT_EQ(program.tables.count("gvar"), 0U);
  EXPECT_EQ(signed_at(program.glyph(2), 6), 100 + 40 * 2 + 100) << "the right side of the outline";
}

TEST_F(Setter, WhatNoFontHasIsCountedAndComesBackAsText) {
  set("a\u4E00\u4E00");
  EXPECT_EQ(setter.missing(), 2U);
  EXPECT_EQ(setter.first_missing(), 0x4E00U);
  EXPECT_EQ(setter.glyphs()[1].code, setter.glyphs()[2].code);
  EXPECT_NE(setter.glyphs()[1].code, 0);
}

TEST_F(Setter, HostileTextTakesItsTimeAndNoMore) {
  std::string marks = "a";
  for (int i = 0; i < 30000; ++i)
    marks += "\u0301";
  set(marks + "\xFF\xF0\x9F" + std::string(70000, 'a'), 5000);
  EXPECT_GT(setter.lines().size(), 1U);
  set("a\U0001F1E9\U0001F1EA\U0001F1E9\uFFFF\uFFFC\u0600\U000E0001 b");
  EXPECT_EQ(setter.lines().size(), 1U);
  std::string nested;
  for (int i = 0; i < 300; ++i)
    nested += "\u202B\u2067a";
  set(nested, 0.001);
  EXPECT_GE(setter.lines().size(), 300U);
}

}  // namespace
