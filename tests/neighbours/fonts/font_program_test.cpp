// Font files: what is believed of them, what descriptors get, and the programs made from them.
#include "neighbours/fonts/font_files.h"

#include <gtest/gtest.h>

#include "sheaf/neighbours/fonts/programs/ft_font.h"
#include "sheaf/neighbours/fonts/programs/tt_layout.h"
#include "sheaf/neighbours/fonts/programs/tt_writer.h"
#include "support/failing_heap.h"
#include "support/font_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

FontBuilder bold_face() {
  FontBuilder face;
  face.subfamily = "Bold";
  face.post_script = "TestSans-Bold";
  face.weight = 700;
  face.simple_glyphs = 5;
  face.characters = {{'B', 1}};
  face.signature = true;
  return face;
}

FontBuilder plain_face() {
  FontBuilder face;
  face.characters = {{'A', 1}, {'B', 2}, {'l', 3}, {0x1D11E, 7}};
  return face;
}

std::string str(const CQVStreamMem& out) {
  return std::string(reinterpret_cast<const char*>(out.data), out.len);
}

// The program that one call gives, "" when it gives an error.
std::string program_of(const std::string& file, unsigned index, CQVTTCodesRec* codes, int bold = 0, int italic = 0,
                       int vertical = 0) {
  MemStream stream(file);
  CQVTTWriter writer;
  CQVStreamMem out;
  if (writer.Load2(&stream, index) != 0)
    return "";
  CQVFTFont* face = nullptr;
  if ((bold | italic | vertical) != 0) {
    face = CQVFTFont::open(&stream, static_cast<int>(index));
    if (face == nullptr)
      return "";
    face->set_style(bold, italic, vertical);
  }
  const int result = face != nullptr ? writer.SaveFontData2(&out, face, codes) : writer.SaveFontData(&out, codes);
  delete face;
  return result == 0 ? str(out) : "";
}

TEST(FontProgram, MetricsAreInThousandthsOfTheEm) {
  FontBuilder face = plain_face();
  face.italic = true;
  MemStream stream(face.build());
  CQVTTWriter writer;
  ASSERT_EQ(writer.Load(&stream), 0);
  EXPECT_EQ(writer.ascent, 800);
  EXPECT_EQ(writer.descent, -200);
  EXPECT_EQ(writer.font_bbox[0], -25);
  EXPECT_EQ(writer.font_bbox[3], 900);
  EXPECT_EQ(writer.italic_angle, -12);
  EXPECT_EQ(writer.stem_v, 60) << "glyph 3, the letter l, is 120 of 2,000 units wide";
  writer.free();
  EXPECT_EQ(writer.ascent, 0);
  face.characters.clear();
  MemStream without_letters(face.build());
  ASSERT_EQ(writer.Load(&without_letters), 0);
  EXPECT_EQ(writer.stem_v, 88) << "by the weight class";
}

TEST(FontProgram, AFaceOfACollectionIsAFontOfItsOwn) {
  const std::string file = FontBuilder::collection({plain_face(), bold_face()});
  const FontFile alone(program_of(file, 1, nullptr));
  EXPECT_TRUE(alone.is_ordered);
  EXPECT_TRUE(alone.checksums_hold);
  EXPECT_EQ(alone.tables.count("DSIG"), 0U);
  EXPECT_EQ(number_at(alone.tables.at("OS/2"), 4, 2), 700U);
  const FontFile original(bold_face().build());
  for (const char* tag : {"glyf", "loca", "hmtx", "cmap", "name", "maxp"})
    EXPECT_EQ(alone.tables.at(tag), original.tables.at(tag)) << tag;
}

TEST(FontProgram, ASubsetKeepsNumbersAndParts) {
  const FontBuilder face = plain_face();
  const std::uint16_t glyphs[] = {0, 5, static_cast<std::uint16_t>(face.composite_glyph())};
  CQVTTCodesRec codes{glyphs, 3, 0};
  const FontFile whole(face.build());
  const FontFile part(program_of(face.build(), 0, &codes));
  const auto outline = [](const FontFile& font, unsigned glyph) { return font.glyph(glyph).substr(0, 34); };
  EXPECT_EQ(outline(part, 5), outline(whole, 5));
  EXPECT_EQ(outline(part, 1), outline(whole, 1)) << "a part of the composite glyph";
  EXPECT_FALSE(part.glyph(static_cast<unsigned>(face.composite_glyph())).empty());
  EXPECT_TRUE(part.glyph(6).empty());
  EXPECT_EQ(number_at(part.tables.at("hmtx"), 5 * 4, 2), 550U);
  EXPECT_EQ(part.tables.size(), 6U);
}

TEST(FontProgram, StylesAreWorkedIntoTheOutlines) {
  const FontBuilder face = plain_face();
  const FontFile bold(program_of(face.build(), 0, nullptr, 1, 0));
  EXPECT_TRUE(bold.is_ordered);
  EXPECT_TRUE(bold.checksums_hold);
  const std::string five = bold.glyph(5);
  const int strength = 2000 / 24;
  EXPECT_EQ(signed_at(five, 0), 1);
  EXPECT_NEAR(signed_at(five, 2), 100 - strength / 2, 1);
  EXPECT_NEAR(signed_at(five, 6), 300 + strength / 2, 1);
  EXPECT_EQ(number_at(bold.tables.at("hmtx"), 5 * 4, 2), 550U) << "the advance stays";
  EXPECT_EQ(signed_at(bold.tables.at("hmtx"), 5 * 4 + 2), signed_at(five, 2));
  EXPECT_EQ(number_at(bold.tables.at("head"), 44, 2), 1U);
  EXPECT_EQ(bold.tables.at("cmap"), FontFile(face.build()).tables.at("cmap"));
  EXPECT_EQ(signed_at(bold.glyph(static_cast<unsigned>(face.composite_glyph())), 0), 2) << "taken apart";

  const FontFile slanted(program_of(face.build(), 0, nullptr, 0, 1));
  const std::string leaning = slanted.glyph(5);
  EXPECT_EQ(signed_at(leaning, 2), 100) << "the foot stays where it is";
  EXPECT_NEAR(signed_at(leaning, 6), 300 + 550 * 0.2126, 1);
  EXPECT_EQ(number_at(slanted.tables.at("post"), 4, 4), 0xFFF40000U);
}

TEST(FontProgram, VerticalStylesBringVerticalMetrics) {
  FontBuilder face = plain_face();
  const FontFile made(program_of(face.build(), 0, nullptr, 1, 0, 1));
  const int top = signed_at(made.glyph(5), 8);
  EXPECT_EQ(number_at(made.tables.at("vmtx"), 5 * 4, 2), 2000U);
  EXPECT_EQ(signed_at(made.tables.at("vmtx"), 5 * 4 + 2), 1760 - top);
  face.vertical_metrics = {{1800, 1700}, {1800, 5000}};
  const FontFile own(program_of(face.build(), 0, nullptr, 1, 0, 1));
  EXPECT_EQ(number_at(own.tables.at("vmtx"), 4 * 4, 2), 1800U);
  EXPECT_EQ(number_at(own.tables.at("vmtx"), 5 * 4, 2), 2000U) << "an origin far above the em is not believed";
}

TEST(FontProgram, WhatCannotBeEmbeddedIsRefused) {
  FontBuilder cff = plain_face();
  cff.cff = true;
  EXPECT_EQ(program_of(cff.build(), 0, nullptr), "");
  FontBuilder shuffled = plain_face();
  std::string loca = FontFile(shuffled.build()).tables.at("loca");
  std::swap(loca[4 * 3 + 3], loca[4 * 4 + 3]);
  shuffled.replaced["loca"] = loca;
  EXPECT_EQ(program_of(shuffled.build(), 0, nullptr), "");
  FontBuilder short_metrics = plain_face();
  short_metrics.replaced["hmtx"] = std::string(12, '\0');
  EXPECT_EQ(program_of(short_metrics.build(), 0, nullptr), "");
  const std::string collection = FontBuilder::collection({plain_face(), bold_face()});
  EXPECT_EQ(program_of(collection, 2, nullptr), "");
  EXPECT_EQ(program_of(collection, 0xFFFFFFFF, nullptr), "");
  MemStream stream(collection);
  CQVTTWriter writer;
  EXPECT_NE(writer.Load(&stream), 0) << "no face is named";
  EXPECT_EQ(CQVFTFont::open(&stream, 2), nullptr);
  EXPECT_EQ(CQVFTFont::open(&stream, -1), nullptr);
}

// Sixty composite glyphs, each of them twice the one before: 2 to the 60 parts, and none has a point.
TEST(FontProgram, PartsOfPartsComeToAnEnd) {
  constexpr int kGlyphs = 62;
  FontBuilder face = plain_face();
  face.simple_glyphs = kGlyphs - 2;
  std::string glyf;
  std::string loca = FontBuilder::u32(0);
  for (int glyph = 0; glyph < kGlyphs; ++glyph) {
    const std::string part = FontBuilder::u16(glyph - 1) + FontBuilder::u32(0);
    if (glyph > 1)
      glyf += FontBuilder::u16(-1) + std::string(8, '\0') + FontBuilder::u16(0x23) + part + FontBuilder::u16(3) + part +
              std::string(2, '\0');
    loca += FontBuilder::u32(static_cast<std::uint32_t>(glyf.size()));
  }
  face.replaced = {{"glyf", glyf}, {"loca", loca}};
  face.characters = {{'l', kGlyphs - 1}};
  face.vertical_metrics = {{2000, 1760}};
  MemStream stream(face.build());
  CQVFTFont* const font = CQVFTFont::open(&stream, 0);
  ASSERT_NE(font, nullptr);
  int advance = 0;
  int origin = 0;
  EXPECT_EQ(font->stem_width(), 0);
  EXPECT_FALSE(font->vertical_metrics(kGlyphs - 1, advance, origin));
  delete font;
  EXPECT_NE(program_of(face.build(), 0, nullptr, 1, 0, 0), "") << "such glyphs are empty";
  const std::uint16_t glyphs[] = {0, kGlyphs - 1};
  CQVTTCodesRec codes{glyphs, 2, 0};
  program_of(face.build(), 0, &codes);
}

TEST(FontProgram, EveryPrefixIsSafeAndLeaksNothing) {
  FontBuilder face = plain_face();
  face.vertical_forms = {{1, 9}, {2, 8}};
  const std::string whole = face.build();
  const std::uint16_t glyphs[] = {0, 1, 21};
  CQVTTCodesRec codes{glyphs, 3, 0};
  FailingHeap heap(0);
  std::size_t good = 0;
  for (std::size_t length = 0; length <= whole.size(); length += 7) {
    const std::string part = whole.substr(0, length);
    good += !program_of(part, 0, nullptr).empty();
    program_of(part, 0, &codes);
    program_of(part, 0, nullptr, 1, 1, 1);
  }
  EXPECT_LT(good, 40U) << "only when the tables in front of the cut make a font";
  EXPECT_EQ(heap.held, 0);
}

TEST(FontLayout, ReadsVerticalForms) {
  FontBuilder face = plain_face();
  face.vertical_forms = {{1, 9}, {2, 8}, {3, 4000}};
  MemStream stream(face.build());
  CQVFTFont* const font = CQVFTFont::open(&stream, 0);
  ASSERT_NE(font, nullptr);
  CQVTTLayout layout;
  layout.load(*font);
  EXPECT_EQ(layout.vertical_form(1), 9U);
  EXPECT_EQ(layout.vertical_form(2), 8U);
  EXPECT_EQ(layout.vertical_form(3), 3U) << "a form beyond the last glyph is none";
  EXPECT_EQ(layout.vertical_form(4), 4U);
  EXPECT_EQ(font->glyph_index(0x1D11E), 7U);
  delete font;
}

// A "GSUB" table with one feature and one lookup of one subtable.
std::string substitutions(const std::string& feature, int lookup_type, const std::string& subtable) {
  const auto u16 = FontBuilder::u16;
  const std::string scripts = u16(1) + "DFLT" + u16(8) + u16(4) + u16(0) + u16(0) + u16(0xFFFF) + u16(1) + u16(0);
  const std::string features = u16(1) + feature + u16(8) + u16(0) + u16(1) + u16(0);
  const std::string lookups = u16(1) + u16(4) + u16(lookup_type) + u16(0) + u16(1) + u16(8) + subtable;
  const int at = 10 + static_cast<int>(scripts.size());
  return FontBuilder::u32(0x10000) + u16(10) + u16(at) + u16(at + static_cast<int>(features.size())) + scripts +
         features + lookups;
}

TEST(FontLayout, ReadsEveryWayToWriteAForm) {
  const auto u16 = FontBuilder::u16;
  const auto u32 = FontBuilder::u32;
  const std::string range = u16(2) + u16(1) + u16(1) + u16(3) + u16(0);  // glyphs 1 to 3
  const std::string by_distance = u16(1) + u16(6) + u16(7) + range;
  const std::string by_list = u16(2) + u16(12) + u16(3) + u16(8) + u16(9) + u16(10) + range;
  const std::string of_sets = u16(1) + u16(24) + u16(3) + u16(12) + u16(18) + u16(20) + u16(2) + u16(8) + u16(11) +
                              u16(0) + u16(1) + u16(10) + range;
  const std::string backwards =
      u16(2) + u16(12) + u16(3) + u16(8) + u16(9) + u16(10) + u16(2) + u16(1) + u16(3) + u16(1);
  struct Case {
    std::string table;
    std::uint32_t forms[3];
  };
  const Case cases[] = {
      {substitutions("vert", 1, by_distance), {8, 9, 10}},
      {substitutions("vrt2", 1, by_list), {8, 9, 10}},
      {substitutions("vert", 3, of_sets), {8, 2, 10}},
      {substitutions("vert", 7, u16(1) + u16(1) + u32(8) + by_list), {8, 9, 10}},
      {substitutions("vert", 7, u16(1) + u16(1) + u32(0xFFFFFFF0) + by_list), {1, 2, 3}},
      {substitutions("vert", 4, by_list), {1, 2, 3}},
      {substitutions("kern", 1, by_list), {1, 2, 3}},
      {substitutions("vert", 1, backwards), {1, 2, 3}},
  };
  for (const Case& c : cases) {
    for (std::size_t cut : {std::size_t{0}, std::size_t{1}, c.table.size() / 2, c.table.size()}) {
      FontBuilder face = plain_face();
      face.replaced["GSUB"] = c.table.substr(0, c.table.size() - cut);
      MemStream stream(face.build());
      CQVFTFont* const font = CQVFTFont::open(&stream, 0);
      ASSERT_NE(font, nullptr);
      CQVTTLayout layout;
      layout.load(*font);
      for (std::uint32_t glyph = 1; glyph <= 3 && cut == 0; ++glyph)
        EXPECT_EQ(layout.vertical_form(glyph), c.forms[glyph - 1]) << &c - cases;
      delete font;
    }
  }
}

}  // namespace
