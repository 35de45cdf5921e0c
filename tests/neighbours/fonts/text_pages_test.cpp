// Texts set by the tool in the system's fonts, as other programs read them back.
#include <gtest/gtest.h>

#include <utf8proc.h>
#include "neighbours/fonts/font_files.h"

#include <algorithm>
#include <cstdlib>

#include "sheaf/neighbours/fonts/environment.h"
#include "support/external_tool.h"
#include "support/font_builder.h"

using namespace sheaf;

namespace {

const char* const kMixed =
    "Latin: The quick brown fox jumps over the dog.\n"
    "Greek: Ξεσκεπάζω την ψυχοφθόρα βδελυγμία.\n"
    "Cyrillic: Съешь ещё этих мягких булок.\n"
    "Chinese: 天地玄黃，宇宙洪荒。日月盈昃，辰宿列張。\n"
    "Japanese: いろはにほへとちりぬるを「カタカナ」。\n"
    "Korean: 다람쥐 헌 쳇바퀴에 타고파.\n"
    "Outside the plane: \U0001D538.\n";

const char* const kFonts[] = {"DejaVu Sans", "WenQuanYi Zen Hei", "IPAGothic", "UnBatang"};

bool is_known(const char* name) {
  CPDFEnviroment* const env = new CPDFEnviroment;
  char path[CPDFEnviroment::kPathSize];
  int index = 0;
  env->get_face_para(name, path, index);
  CPDFEnviroment::destroy(env);
  return path[0] != 0;
}

struct TextPages : testing::Test {
  void SetUp() override {
    for (const char* name : kFonts) {
      if (!is_known(name))
        GTEST_SKIP() << "this machine has no font " << name;
    }
    for (const char* program : {"pdftotext", "pdffonts", "mutool", "qpdf"}) {
      if (!has_program(program))
        GTEST_SKIP() << "this machine has no " << program;
    }
  }
  RunResult make(const std::string& text, const std::string& options) {
    write_file(in, text);
    return run_command(std::string(SHEAF_TOOL) + " new " + out + " --text " + in + " " + options + " 2>&1");
  }
  /// What a program makes of the file, without page breaks and the blank lines at the end.
  std::string read_by(const std::string& command) {
    std::string text = run_command(command + " 2>/dev/null").output;
    while (!text.empty() && (text.back() == '\n' || text.back() == '\f'))
      text.pop_back();
    return text + "\n";
  }
  static int lines_with(const std::string& text, const std::string& part) {
    int count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
      ++count;
    return count;
  }

  TestFolder folder;
  std::string in = folder / "in.txt";
  std::string out = folder / "out.pdf";
};

TEST_F(TextPages, TextComesBackFromOtherPrograms) {
  for (const char* options : {"", "--vertical", "--bold --italic --font 'dejavu sans' --font IPAGOTHIC --font UnBatang",
                              "--vertical --bold --font IPAGothic --font UnBatang --font DejaVuSans"}) {
    ASSERT_EQ(make(kMixed, options).code, 0) << options;
    EXPECT_EQ(read_by("pdftotext " + out + " -"), kMixed) << options;
    EXPECT_EQ(read_by("mutool draw -q -F text " + out), kMixed) << options;
    EXPECT_EQ(run_command("qpdf --check " + out + " 2>&1").code, 0) << options;
    const std::string fonts = run_command("pdffonts " + out).output;
    EXPECT_EQ(lines_with(fonts, "QVFONT+"), lines_with(fonts, "yes yes yes")) << "embedded, tagged, with text\n"
                                                                              << fonts;
  }
}

TEST_F(TextPages, OnlyTheGlyphsInUseAreInTheFile) {
  std::string page;
  for (char32_t character = 0x4E00; character < 0x4E00 + 900; character += 4) {
    page += {static_cast<char>(0xE0 | character >> 12), static_cast<char>(0x80 | (character >> 6 & 0x3F)),
             static_cast<char>(0x80 | (character & 0x3F))};
  }
  ASSERT_EQ(make(page, "--font 'WenQuanYi Zen Hei'").code, 0);
  EXPECT_LT(std::filesystem::file_size(out), 60000U) << "from a font of 16 MB";
  ASSERT_EQ(make(page, "--font 'WenQuanYi Zen Hei' --no-embed").code, 0);
  EXPECT_LT(std::filesystem::file_size(out), 10000U);
  EXPECT_EQ(lines_with(run_command("pdffonts " + out).output, "no  no  yes"), 1);
}

TEST_F(TextPages, LongTextsAreBroken) {
  std::string words;
  for (int i = 0; i < 900; ++i)
    words += "word" + std::to_string(i) + " ";
  ASSERT_EQ(make(words + "\n「天地」" + "\fnext page\n", "--size 20").code, 0);
  const std::string text = run_command("pdftotext " + out + " -").output;
  EXPECT_GT(lines_with(text, "\f"), 3);
  EXPECT_NE(text.find("\fnext page"), std::string::npos);
  for (int i = 0; i < 900; i += 37)
    EXPECT_NE(text.find("word" + std::to_string(i)), std::string::npos) << "no word is cut";
}

struct Script {
  const char* font;
  const char* text;
};
const Script kScripts[] = {
    {"DejaVu Sans", "Příliš žluťoučký tiếng Việt e\u0301 a\u0328\u0301 x\u0323\u0302 m\u0304 office fluffy AVATAR"},
    {"DejaVu Sans", "ᾧ ἐν ἀρχῇ ἦν ὁ λόγος, µ και μ"},
    {"DejaVu Sans", "Съешь ещё Ѝ ѓ, а\u0301 о\u0301 ю\u0301 ок"},
    {"Noto Sans Hebrew", "בְּרֵאשִׁית בָּרָא אֱלֹהִים אֵת הַשָּׁמַיִם"},
    {"Noto Sans Arabic", "السلام عليكم لا إله إلا الله أحرارًا"},
    {"Noto Sans Hebrew", "שלום 123 (סוגריים) סוף, \"ציטוט\" 45% - 12.5: א.ב -3."},
    {"Noto Sans Hebrew", "The word (שָׁלוֹם) means peace."},
    {"Noto Sans Arabic", "جميلة، وهي: نعم! عدد ١٢٣ و 456. النص۔ (قوسين) می\u200Cخواهم."},
    {"DejaVu Sans", "السلام عليكم لا إله"},
    {"Noto Sans Devanagari", "सभी मनुष्यों को गौरव स्वतन्त्रता क्षत्रिय श्री कि र्कि"},
    {"Noto Sans Tamil", "சுதந்திரமாகவே கொடு கோழி கௌரவம் ஸ்ரீ"},
    {"Noto Sans Thai", "มนุษย์ทั้งหลายเกิด น้ำใจ ก่อนที่ผู้ปั่น"},
    {"Noto Sans Khmer", "មនុស្សទាំងអស់ កើតមក ស្មើៗគ្នា ភ្នំពេញ ស្រ្តី"},
    {"IPAGothic", "すべての人間は「カタカナ」ガギグ、か\u3099。"},
    {"UnDotum", "모든 인간은 한글 \u1112\u1161\u11AB"},
    {"Noto Sans CJK JP", "人間は「カタカナ」、か\u309Aが。"},
    {"Symbola", "\U0001F600\U0001F603 \u2600\u260E\u2708 \u2764 \U0001F680 text \U0001F427."},
};

std::string composed(const std::string& text) {
  std::string kept;
  // Readers put marks of direction around words that run from the right.
  for (std::size_t at = 0; at < text.size();) {
    const auto last = static_cast<unsigned char>(at + 2 < text.size() ? text[at + 2] : 0);
    const bool is_mark =
        text.compare(at, 2, "\xE2\x80") == 0 && ((last >= 0xAA && last <= 0xAE) || last == 0x8E || last == 0x8F);
    if (!is_mark)
      kept += text[at];
    at += is_mark ? 3 : 1;
  }
  auto* const bytes = utf8proc_NFC(reinterpret_cast<const utf8proc_uint8_t*>(kept.c_str()));
  const std::string result = bytes != nullptr ? reinterpret_cast<const char*>(bytes) : "";
  std::free(bytes);
  return result;
}

TEST_F(TextPages, EveryScriptComesBackAsItWasWritten) {
  int seen = 0;
  for (const Script& script : kScripts) {
    if (!is_known(script.font))
      continue;
    ++seen;
    for (const char* manner : {"", " --bold --italic", " --vertical"}) {
      const bool is_column = std::string(manner) == " --vertical";
      if (is_column && std::string(script.font) != "IPAGothic" && std::string(script.font) != "Noto Sans CJK JP")
        continue;
      ASSERT_EQ(
          make(script.text, std::string("--font 'DejaVu Sans' --size 11 --font '") + script.font + "'" + manner).code,
          0)
          << script.text;
      const std::string wanted = composed(script.text) + "\n";
      EXPECT_EQ(composed(read_by("pdftotext " + out + " -")), wanted) << script.font << manner;
      EXPECT_EQ(composed(read_by("mutool draw -q -F text " + out)), wanted) << script.font << manner;
    }
    EXPECT_EQ(run_command("qpdf --check " + out + " 2>&1").code, 0);
  }
  EXPECT_GT(seen, 6);
}

TEST_F(TextPages, FontsWithCffOutlinesAreEmbeddedAsSubsets) {
  if (!is_known("Nimbus Sans"))
    GTEST_SKIP() << "this machine has no font Nimbus Sans";
  const std::string text = "Příliš žluťoučký office AVATAR.\n";
  ASSERT_EQ(make(text, "--font 'Nimbus Sans'").code, 0);
  EXPECT_EQ(lines_with(run_command("pdffonts " + out).output, "CID Type 0C       Identity-H       yes yes yes"), 1);
  EXPECT_LT(std::filesystem::file_size(out), 12000U);
  EXPECT_EQ(read_by("pdftotext " + out + " -"), text);
  EXPECT_EQ(read_by("mutool draw -q -F text " + out), text);
  EXPECT_EQ(run_command("qpdf --check " + out + " 2>&1").code, 0);
  const std::string picture = run_command("pdftoppm -r 40 -gray " + out + " 2>/dev/null").output;
  EXPECT_GT(
      std::count_if(picture.begin(), picture.end(), [](char grey) { return static_cast<unsigned char>(grey) < 128; }),
      100)
      << "its outlines are drawn";
  for (const char* manner : {" --bold --italic", " --vertical"}) {
    ASSERT_EQ(make(text, std::string("--font 'Nimbus Sans'") + manner).code, 0) << manner;
    EXPECT_EQ(lines_with(run_command("pdffonts " + out).output, "CID TrueType"), 1) << manner;
    EXPECT_EQ(read_by("mutool draw -q -F text " + out), text) << manner;
  }
}

TEST_F(TextPages, EveryKindOfLineEndBreaksLines) {
  ASSERT_EQ(make("a\rb\r\nc\xC2\x85"
                 "d\xE2\x80\xA8"
                 "e\xE2\x80\xA9"
                 "f\f\f\fg",
                 "")
                .code,
            0);
  EXPECT_EQ(run_command("mutool draw -q -F text " + out).output, "a\nb\nc\nd\ne\nf\n\n\f\n\f\n\f\ng\n\n\f\n");
}

TEST_F(TextPages, WhatCannotBeUsedIsReportedAsWhatItIs) {
  EXPECT_NE(make("", "").output.find("has no text"), std::string::npos);
  EXPECT_NE(make("a", "--font-folder /no/such").output.find("is no folder"), std::string::npos);
  EXPECT_NE(make("a\xE5\xA4z\xF0\x9F", "").output.find("4 bytes are no UTF-8"), std::string::npos);
  for (const char* option : {"--text /proc/self/mem", "--image /proc/self/mem"})
    EXPECT_EQ(run_command(std::string(SHEAF_TOOL) + " new " + out + " " + option + " 2>&1").code, 2) << option;
}

TEST_F(TextPages, WhatAFontsLicenceForbidsIsNotDone) {
  FontBuilder face;
  face.family = face.post_script = "Mine";
  face.characters = {{'A', 1}, {'B', 2}};
  std::string os2 = FontFile(face.build()).tables.at("OS/2");
  const auto make_with = [&](int rights, const std::string& options) {
    face.replaced["OS/2"] = os2.replace(8, 2, FontBuilder::u16(rights));
    write_file(folder / "mine.ttf", face.build());
    return make("A", "--font Mine --font-folder " + folder.str() + " " + options);
  };
  EXPECT_NE(make_with(2, "").output.find("licence does not allow embedding"), std::string::npos);
  EXPECT_NE(make_with(0x200, "").output.find("bitmaps only"), std::string::npos);
  EXPECT_EQ(make_with(2, "--embed-restricted").code, 0);
  EXPECT_EQ(make_with(2, "--no-embed").code, 0);
  EXPECT_EQ(make_with(0xC, "").code, 0);
  const auto small = std::filesystem::file_size(out);
  EXPECT_EQ(make_with(0x100, "").code, 0);
  EXPECT_GT(std::filesystem::file_size(out), small + 400) << "whole";
}

TEST_F(TextPages, MessagesTellWhatIsMissing) {
  const RunResult missing = make("a\xE5\xA4\xA9z", "--font 'DejaVu Serif'");
  EXPECT_EQ(missing.code, 1);
  EXPECT_NE(missing.output.find("1 characters have no glyph in these fonts, the first is U+5929"), std::string::npos)
      << missing.output;
  EXPECT_EQ(make("a\xFFz", "").code, 1);
  std::filesystem::remove(out);
  EXPECT_EQ(make("a", "--font 'No Such Font'").code, 2);
  EXPECT_EQ(run_command(std::string(SHEAF_TOOL) + " new " + out + " --text missing.txt 2>&1").code, 2);
  EXPECT_FALSE(std::filesystem::exists(out));
}

}  // namespace
