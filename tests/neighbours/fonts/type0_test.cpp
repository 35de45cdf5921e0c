// Type 0 fonts: the objects as they are made, codes, and what each save puts into them.
#include <gtest/gtest.h>

#include <cstring>

#include "neighbours/fonts/font_files.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/neighbours/fonts/programs/font_type0.h"
#include "support/external_tool.h"
#include "support/font_builder.h"
#include "support/read_back.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

constexpr int kEmbed = 8;

/// A new document whose environment knows the fonts of one folder.
struct NewDocument {
  // Without a folder it knows the system's fonts.
  explicit NewDocument(const std::string& folder) {
    CPDFEnviroment* const env = new CPDFEnviroment;
    env->use_system_fonts(folder.empty() ? 1 : 0);
    if (!folder.empty())
      env->add_font_folder(folder.c_str());
    table.stream = &file;
    table.new_xref();
    table.set_envirment(env, "test");
    CPDFEnviroment::destroy(env);
  }
  CPDFFontType0* horizontal(const char* name, int style) {
    return static_cast<CPDFFontType0*>(table.new_font_type0_h(name, style));
  }
  CPDFFontType0* vertical(const char* name, int style) {
    return static_cast<CPDFFontType0*>(table.new_font_type0_v(name, style));
  }
  std::string object(int num) {
    Freed<CPDFObj> obj;
    table.get_entity(obj, {num, 0});
    std::string text = TestTable::syntax(obj);
    // Line ends that the printer put in to keep lines short.
    for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at))
      text.replace(at, 1, std::strchr("[</(", text[at + 1]) != nullptr ? "" : " ");
    return text;
  }
  std::string stream(int num) {
    const Freed<CPDFObj> obj = table.object(num);
    return decoded_stream(table, obj);
  }
  static std::string encode(CPDFFontType0& font, const std::wstring& text) {
    std::string codes(text.size() * 2, 0);
    font.encode(text.data(), static_cast<int>(text.size()), reinterpret_cast<unsigned char*>(codes.data()));
    return codes;
  }

  CQVStreamMem file;
  CPDFXRefTable table;
};

struct Type0 : testing::Test {
  void SetUp() override {
    FontBuilder face;
    face.characters = {{' ', 1}, {0xA0, 1}, {'A', 2},     {'B', 3},     {'C', 4},    {'D', 5},
                       {'Z', 9}, {'"', 11}, {0x1D11E, 8}, {0x2F00, 12}, {0x4E00, 12}};
    for (std::uint32_t i = 0; i < 4; ++i)
      face.characters[0x3041 + i] = static_cast<std::uint16_t>(15 + i);
    face.vertical_forms = {{11, 10}};
    face.vertical_metrics = {{2000, 1760}, {2000, 1760}, {2000, 1760}, {1500, 1600}};
    const std::string hmtx = FontFile(face.build()).tables.at("hmtx");
    face.replaced["hmtx"] =
        hmtx.substr(0, 15 * 4) + repeated(FontBuilder::u16(1200) + FontBuilder::u16(100), 4) + hmtx.substr(19 * 4);
    write_file(folder / "test.ttf", face.build());
    face.family = face.post_script = "Other";
    write_file(folder / "other.ttc", FontBuilder::collection({face}));
    face.family = face.post_script = "Curves";
    face.cff = true;
    write_file(folder / "cff.otf", face.build());
  }
  static std::string repeated(const std::string& bytes, int count) {
    std::string out;
    for (int i = 0; i < count; ++i)
      out += bytes;
    return out;
  }
  TestFolder folder;
};

TEST_F(Type0, AHorizontalFontHasItsFourObjects) {
  NewDocument doc(folder / "");
  CPDFFontType0* const font = doc.horizontal("Test Sans", kEmbed);
  ASSERT_NE(font, nullptr);
  EXPECT_EQ(font->ref().num, 6);
  const std::string program = doc.stream(3);
  EXPECT_TRUE(FontFile(program).checksums_hold);
  EXPECT_NE(doc.object(3).find("/Length1 " + std::to_string(program.size())), std::string::npos);
  EXPECT_EQ(doc.object(4),
            "<</Ascent 800/CapHeight 1000/Descent -200/Flags 4/FontBBox[-25 -200 950 900]/FontFile2 3 0 R/FontName"
            "/QVFONT+Test#20Sans/ItalicAngle 0/StemV 88/Type/FontDescriptor>>");
  EXPECT_EQ(doc.object(5),
            "<</BaseFont/QVFONT+Test#20Sans/CIDSystemInfo<</Ordering(Identity)/Registry(Adobe)/Supplement 0>>"
            "/CIDToGIDMap/Identity/FontDescriptor 4 0 R/Subtype/CIDFontType2/Type/Font>>");
  EXPECT_EQ(doc.object(6),
            "<</BaseFont/QVFONT+Test#20Sans/DescendantFonts[5 0 R]/Encoding/Identity-H/Subtype/Type0/Type/Font>>");
  EXPECT_EQ(doc.horizontal("Test Sans", kEmbed), font);
  EXPECT_EQ(doc.table.next_obj_num, 7U);
  EXPECT_NE(doc.vertical("Test Sans", kEmbed), font);
  EXPECT_EQ(doc.table.next_obj_num, 11U);
  EXPECT_EQ(doc.table.font_cache.items[1].style, kEmbed | 0x10);
}

TEST_F(Type0, NamesCarryTheStyleOrTheTag) {
  const char* const suffixes[] = {"", ",Bold", ",Italic", ",BoldItalic"};
  NewDocument doc(folder / "");
  for (int style = 0; style < 4; ++style) {
    const int first = static_cast<int>(doc.table.next_obj_num);
    ASSERT_NE(doc.horizontal("Other", style), nullptr);
    EXPECT_EQ(doc.table.next_obj_num, static_cast<unsigned>(first + 3)) << "no font file";
    EXPECT_NE(doc.object(first + 2).find(std::string("/BaseFont/Other") + suffixes[style] + "/"), std::string::npos);
    EXPECT_EQ(doc.object(first).find("FontFile2"), std::string::npos);
    EXPECT_EQ(doc.object(first + 1).find("CIDToGIDMap"), std::string::npos);
    CPDFFontType0* const embedded = doc.horizontal("Other", style | kEmbed);
    EXPECT_NE(doc.object(embedded->ref().num).find("/BaseFont/QVFONT+Other/"), std::string::npos);
    EXPECT_TRUE(embedded->is_loaded());
  }
}

TEST_F(Type0, VerticalFormAlwaysHasAFontFile) {
  NewDocument doc(folder / "");
  CPDFFontType0* const font = doc.vertical("Other", 1);
  ASSERT_NE(font, nullptr);
  EXPECT_TRUE(font->is_vertical());
  EXPECT_EQ(doc.table.next_obj_num, 7U);
  EXPECT_NE(doc.object(3).find("/Length1 0"), std::string::npos);
  EXPECT_EQ(doc.stream(3), "");
  EXPECT_NE(doc.object(4).find("/FontFile2 3 0 R"), std::string::npos);
  EXPECT_EQ(doc.object(5).find("CIDToGIDMap"), std::string::npos);
  EXPECT_NE(doc.object(6).find("/BaseFont/Other,Bold/"), std::string::npos);
  EXPECT_NE(doc.object(6).find("/Encoding/Identity-V"), std::string::npos);
}

TEST_F(Type0, WhatIsNoFontTakesNoNumber) {
  NewDocument doc(folder / "");
  for (const std::string& name : {std::string("Unknown"), std::string(10000, 'x'), std::string()}) {
    for (const int style : {0, 1, kEmbed, kEmbed | 3}) {
      EXPECT_EQ(doc.horizontal(name.c_str(), style), nullptr);
      EXPECT_EQ(doc.vertical(name.c_str(), style), nullptr);
    }
  }
  EXPECT_EQ(doc.horizontal("Curves", kEmbed), nullptr) << "no TrueType outlines";
  EXPECT_EQ(doc.vertical("Curves", kEmbed | 1), nullptr);
  EXPECT_EQ(doc.table.next_obj_num, 3U);
  EXPECT_EQ(doc.table.font_cache.count, 0);
}

TEST_F(Type0, SavesBringMetricsTextAndSubset) {
  NewDocument doc(folder / "");
  CPDFFontType0* const font = doc.horizontal("Test Sans", kEmbed);
  EXPECT_FALSE(FontFile(doc.stream(3)).glyph(4).empty()) << "whole until a save";
  EXPECT_EQ(NewDocument::encode(*font, L"ADx\U0001D11E"), std::string("\0\2\0\5\0\0\0\10", 8));
  EXPECT_TRUE(font->has_glyph(L'Z'));
  EXPECT_EQ(font->used_count(), 3) << "asking is not using";
  doc.table.font_cache.embed_flush();
  EXPECT_NE(doc.object(5).find("/W[0[300]2[260]5[275]8[290]]"), std::string::npos) << doc.object(5);
  EXPECT_NE(doc.object(6).find("/ToUnicode 7 0 R"), std::string::npos);
  const std::string map = doc.stream(7);
  EXPECT_NE(map.find("3 beginbfchar\n<0002> <0041>\n<0005> <0044>\n<0008> <D834DD1E>\nendbfchar"), std::string::npos)
      << map;
  const FontFile subset(doc.stream(3));
  EXPECT_FALSE(subset.glyph(5).empty());
  EXPECT_TRUE(subset.glyph(4).empty());

  const std::string before = doc.object(3) + doc.object(5) + doc.object(6) + doc.object(7);
  const std::uint32_t next = doc.table.next_obj_num;
  NewDocument::encode(*font, L"DA");
  doc.table.font_cache.embed_flush();
  EXPECT_EQ(doc.object(3) + doc.object(5) + doc.object(6) + doc.object(7), before);
  EXPECT_EQ(doc.table.next_obj_num, next);

  NewDocument::encode(*font, L"BC\u3041\u3042\u3043\u3044 \u00A0\u2F00");
  NewDocument::encode(*font, L"\u4E00");
  doc.table.font_cache.embed_flush();
  EXPECT_NE(doc.object(5).find("/W[0[300 255 260 265 270 275]8[290]12[310]15 18 600]"), std::string::npos)
      << doc.object(5);
  const std::string longer = doc.stream(7);
  EXPECT_NE(longer.find("<0001> <0020>\n"), std::string::npos) << "the space, not the one that does not break";
  EXPECT_NE(longer.find("<000C> <4E00>\n"), std::string::npos) << "the ideograph, not the radical";
  EXPECT_NE(longer.find("<0002> <0005> <0041>\n<000F> <0012> <3041>\nendbfrange"), std::string::npos) << longer;
  EXPECT_FALSE(FontFile(doc.stream(3)).glyph(4).empty());
  EXPECT_EQ(doc.table.next_obj_num, next);
}

TEST_F(Type0, VerticalTextHasFormsAndMetricsOfItsOwn) {
  NewDocument doc(folder / "");
  CPDFFontType0* const font = doc.vertical("Test Sans", kEmbed | 1);
  EXPECT_EQ(NewDocument::encode(*font, L"A\""), std::string("\0\2\0\12", 4)) << "the vertical form";
  NewDocument::encode(*font, L"BDZ");
  const PDF_VERTICAL_METRICS metrics = font->vertical_metrics(3);
  EXPECT_EQ(metrics.advance, -750);
  EXPECT_EQ(metrics.origin_y, 800);
  doc.table.font_cache.embed_flush();
  EXPECT_NE(doc.object(5).find("/W2[3[-750 132 800]]"), std::string::npos) << doc.object(5);
  EXPECT_EQ(doc.object(5).find("DW2"), std::string::npos) << "1,000 and 880 are the standard's own";
  const FontFile program(doc.stream(3));
  EXPECT_EQ(program.tables.count("vmtx"), 1U);
  EXPECT_LT(signed_at(program.glyph(3), 2), 100) << "bold";
  EXPECT_NE(doc.stream(7).find("<000A> <0022>"), std::string::npos);
}

TEST_F(Type0, ASaveWithoutTextKeepsNoOutlines) {
  for (const wchar_t* text : {L"", L"\x4E01"}) {
    NewDocument doc(folder / "");
    CPDFFontType0* const font = doc.horizontal("Test Sans", kEmbed);
    NewDocument::encode(*font, text);
    doc.table.font_cache.embed_flush();
    const FontFile subset(doc.stream(3));
    EXPECT_FALSE(subset.glyph(0).empty()) << "what shows that a glyph is missing";
    EXPECT_EQ(subset.tables.at("glyf"), subset.glyph(0));
  }
}

// Programs of cubic outlines come with the first save, and those that know their glyphs by CIDs have no place for
// others.
TEST_F(Type0, CffOutlinesAreASubsetOfTheirOwnKind) {
  NewDocument doc("");
  int seen = 0;
  for (const char* name : {"Nimbus Sans", "Noto Sans CJK JP"}) {
    CPDFFontType0* const font = doc.horizontal(name, kEmbed);
    if (font == nullptr)
      continue;
    ++seen;
    const int file = font->ref().num - 3;
    EXPECT_EQ(doc.stream(file), "");
    NewDocument::encode(*font, L"AVATAR\u65E5\uAC00");
    doc.table.font_cache.embed_flush();
    const std::string program = doc.stream(file);
    EXPECT_EQ(program.substr(0, 2), std::string("\1\0", 2));
    EXPECT_LT(program.size(), 12000U);
    EXPECT_NE(doc.object(file + 1).find("/FontFile3 " + std::to_string(file) + " 0 R"), std::string::npos);
  }
  if (seen == 0)
    GTEST_SKIP() << "this machine has no font with CFF outlines";
}

TEST_F(Type0, TheCharacterThatIsTypedComesBackFromASharedGlyph) {
  FontBuilder face;
  face.family = face.post_script = "Shared";
  face.characters = {{0xB5, 1}, {0x3BC, 1}, {0xAD, 2}, {0x2010, 2}, {'-', 3}, {0x2212, 3}, {0x2126, 4}, {0x3A9, 4}};
  write_file(folder / "shared.ttf", face.build());
  NewDocument doc(folder / "");
  CPDFFontType0* const font = doc.horizontal("Shared", kEmbed);
  NewDocument::encode(*font, L"\u00B5\u03BC\u00AD\u2010\u2212-\u2126\u03A9");
  doc.table.font_cache.embed_flush();
  const std::string map = doc.stream(7);
  EXPECT_NE(map.find("<0001> <03BC>\n<0002> <2010>\n<0003> <002D>\n<0004> <03A9>"), std::string::npos) << map;
}

TEST_F(Type0, ACollectionIsKnownByItsContentToo) {
  FontBuilder face;
  face.family = face.post_script = "Second";
  write_file(folder / "two.ttf", FontBuilder::collection({FontBuilder(), face}));
  NewDocument doc(folder / "");
  EXPECT_NE(doc.horizontal("Second", kEmbed), nullptr);
  ASSERT_NE(doc.horizontal("Second", 0), nullptr);
  EXPECT_NE(doc.object(7).find("/Ascent 800"), std::string::npos) << doc.object(7);
}

// Adds `text` in `font` and saves; the result is the file's length, 0 when the save failed.
std::uint32_t save_with(NewDocument& doc, CPDFFontType0& font, const std::wstring& text, PDF_SIGN_DATA* sign) {
  NewDocument::encode(font, text);
  Cleared<CPDFDictionary> change;
  change.set_item_int("Change", static_cast<int>(text.size()));
  doc.table.store_dict({doc.table.alloc_obj_num(), 0}, &change);
  return doc.table.save(nullptr, sign) == 1 ? doc.file.len : 0;
}

TEST_F(Type0, LaterSavesGoOnWhereTheOnesBeforeEnded) {
  NewDocument doc(folder / "");
  CPDFFontType0* const font = doc.horizontal("Test Sans", kEmbed);
  const std::uint32_t plain = save_with(doc, *font, L"A", nullptr);
  EXPECT_LT(save_with(doc, *font, L"B", nullptr), plain + 150);
  PDF_SIGN_DATA sign;
  EXPECT_NE(save_with(doc, *font, L"C", &sign), 0U);
  sign.dict.clear();
  EXPECT_NE(save_with(doc, *font, L"D", nullptr), 0U);
  EXPECT_NE(doc.object(5).find("/W[0[300]2[260 265 270 275]]"), std::string::npos) << doc.object(5);
  const FontFile program(doc.stream(3));
  for (const unsigned glyph : {2U, 3U, 4U, 5U})
    EXPECT_FALSE(program.glyph(glyph).empty());
  EXPECT_NE(doc.object(6).find("/ToUnicode 8 0 R"), std::string::npos);
  EXPECT_NE(doc.stream(8).find("<0002> <0005> <0041>"), std::string::npos);
}

}  // namespace
