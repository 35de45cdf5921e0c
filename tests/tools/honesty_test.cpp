// That the tool says what is so: about what protects, what cannot be known, and what was asked of it wrongly.
#include <gtest/gtest.h>

#include "filters/lzw_encoder.h"
#include "support/external_tool.h"
#include "support/jbig2_encoder.h"
#include "support/pdf_builder.h"

namespace {

const std::string kTool = SHEAF_TOOL;

struct Honesty : testing::Test {
  void SetUp() override { write_file(in, PdfBuilder().pages(2).classic().str()); }
  RunResult sheaf(const std::string& arguments, const std::string& redirect = "2>&1") {
    return run_command("cd " + folder.str() + " && " + kTool + " " + arguments + " " + redirect);
  }
  static bool contains(const RunResult& result, const std::string& text) {
    return result.output.find(text) != std::string::npos;
  }

  TestFolder folder;
  std::string in = folder / "in.pdf";
};

TEST_F(Honesty, EncryptionThatWouldNotProtectIsRefused) {
  struct Row {
    const char* options;
    const char* why;
  };
  for (const Row& row :
       {Row{"--encrypt aes256", "everybody could open the file"},
        Row{"--encrypt aes256 --user-password u --permissions print", "bind nobody"},
        Row{"--encrypt aes256 --user-password u --owner-password u --permissions print", "bind nobody"},
        Row{"--encrypt aes256 --owner-password o --permissions print,fly", "\"fly\" is no permission"},
        Row{"--encrypt rc4 --owner-password o --clear-metadata", "RC4 encrypts the metadata"},
        Row{"--encrypt des --owner-password o", "aes256"}}) {
    const RunResult result = sheaf(std::string("rewrite in.pdf out.pdf ") + row.options);
    EXPECT_EQ(result.code, 2) << row.options;
    EXPECT_TRUE(contains(result, row.why)) << result.output;
    EXPECT_FALSE(std::filesystem::exists(folder / "out.pdf")) << row.options;
  }
}

TEST_F(Honesty, WithoutItsLibraryNothingIsEncryptedAndTheReasonIsSaid) {
  ASSERT_EQ(sheaf("rewrite in.pdf locked.pdf --encrypt aes128 --user-password u").code, 0);
  write_file(folder / "libcrypto.so.3", "no library");
  const auto without = [&](const std::string& arguments) {
    return run_command("cd " + folder.str() + " && LD_LIBRARY_PATH=. " + kTool + " " + arguments + " 2>&1");
  };
  if (without("--version").code != 0)
    GTEST_SKIP() << "this build loads libcrypto at its start";
  for (const char* arguments : {"rewrite in.pdf out.pdf --encrypt aes256 --user-password u",
                                "rewrite --password u locked.pdf out.pdf", "signatures --trust in.pdf in.pdf"}) {
    const RunResult result = without(arguments);
    EXPECT_EQ(result.code, 2) << arguments;
    EXPECT_TRUE(contains(result, "libcrypto")) << result.output;
    EXPECT_FALSE(std::filesystem::exists(folder / "out.pdf")) << arguments;
  }
  EXPECT_EQ(without("rewrite in.pdf out.pdf").code, 0);
}

TEST_F(Honesty, WhatAnEncryptedFileHidesIsSaidToBeUnknown) {
  ASSERT_EQ(sheaf("rewrite in.pdf out.pdf --encrypt aes256 --user-password u --owner-password o "
                  "--permissions print,copy")
                .code,
            0);
  for (const char* arguments : {"info --json out.pdf", "info --json --password wrong out.pdf"}) {
    const RunResult info = sheaf(arguments);
    EXPECT_EQ(info.code, 1) << arguments;
    EXPECT_TRUE(contains(info, "\"pages\":null") && contains(info, "cannot be counted")) << info.output;
  }
  const RunResult info = sheaf("info --json --password u out.pdf in.pdf");
  EXPECT_TRUE(contains(info, "\"permissions\":[\"print\",\"copy\"]")) << info.output;
}

TEST_F(Honesty, MessagesBeginWithTheToolAndNameWhatIsRight) {
  struct Row {
    const char* arguments;
    const char* why;
  };
  for (const Row& row :
       {Row{"frobnicate in.pdf", "sheaf: frobnicate: is no command"}, Row{"info", "sheaf: FILE: is missing"},
        Row{"pages", "sheaf: pages: FILE is required"}, Row{"info --nonsense in.pdf", "sheaf: info: "},
        Row{"show in.pdf abc", "1 to 2147483647"}, Row{"check --progress=often in.pdf", "always"},
        Row{"pages .", "is a directory"}, Row{"", "sheaf: "}}) {
    const RunResult result = sheaf(row.arguments);
    EXPECT_EQ(result.code, 2) << row.arguments;
    EXPECT_TRUE(result.output.rfind("sheaf:", 0) == 0 && contains(result, row.why)) << result.output;
  }
}

// A document, and a file name, whose every text would clear a terminal or turn its lines round.
TEST_F(Honesty, NothingThatATerminalObeysIsPrinted) {
  const std::string evil =
      "\x1b[2J\x07\r\n\x9b"
      "31m";
  const std::string text = "(\xEF\xBB\xBF" + evil + "\xC2\x9B\xE2\x80\xAE)";
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R/AcroForm<</Fields[5 0 R]>>>>")
      .obj(2, "<</Type/Pages/Kids[3 0 R]/Count 1>>")
      .obj(3, "<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]/Annots[5 0 R 6 0 R]/Resources<</Font<</F 4 0 R>>>>>>")
      .obj(4, "<</Type/Font/Subtype/Type1/BaseFont/A#1b#5b2J/Encoding/E#1b#9b>>")
      .obj(5, "<</Type/Annot/Subtype/Widget/FT/Tx/T" + text + "/V" + text + "/Rect[0 0 1 1]>>")
      .obj(6, "<</Type/Annot/Subtype/Te#1bxt/Contents" + text + "/Rect[0 0 1 1]>>")
      .obj(7, "<</Title" + text + ">>")
      .stream(8, "/Filter/No#1b#07Such", "x");
  const std::string name = folder / "a\x1b[2J.pdf";
  write_file(name, builder.classic("/Root 1 0 R/Info 7 0 R").str());
  for (const char* command :
       {"info", "check", "pages", "annots", "fields", "fonts", "images", "pdfa", "stream", "map"}) {
    for (const char* form : {"", " --json"}) {
      const RunResult result =
          sheaf(std::string(command) + form + " '" + name + "'" + (std::string(command) == "stream" ? " 8" : ""));
      for (const char* harmful : {"\x1b", "\x07", "\r",
                                  "\x9b"
                                  "31m",
                                  "\xC2\x9B", "\xE2\x80\xAE"})
        EXPECT_FALSE(contains(result, harmful)) << command << form << result.output;
    }
  }
}

TEST_F(Honesty, WhatANewFileLeavesOutIsReportedWhenAsked) {
  PdfBuilder builder;
  write_file(in,
             builder.pages(1).obj(7, "(unused)").obj(8, "(unused)").classic("/Root 1 0 R/Own 7 0 R/O#20ther(x)").str());
  const RunResult verbose = sheaf("rewrite --verbose in.pdf out.pdf");
  EXPECT_EQ(verbose.code, 0);
  EXPECT_TRUE(contains(verbose, "left out: 2 objects that nothing refers to")) << verbose.output;
  EXPECT_FALSE(contains(sheaf("rewrite in.pdf out.pdf"), "left out"));
  write_file(folder / "stream.pdf",
             PdfBuilder().pages(1).xref_stream(9, "/Root 1 0 R/Own[1]/O#20ther(x)/DocChecksum/y").str());
  for (const char* arguments :
       {"rewrite -v in.pdf out.pdf", "rewrite -v stream.pdf out.pdf", "update -v in.pdf -o out.pdf --set Title=x",
        "repair -v stream.pdf out.pdf", "rotate -v --rewrite stream.pdf +90 -o out.pdf", "merge -v out.pdf stream.pdf",
        "split -v stream.pdf -o out.pdf", "select -v --rewrite stream.pdf 1 -o out.pdf",
        "flatten -v stream.pdf out.pdf"}) {
    const RunResult said = sheaf(arguments);
    EXPECT_TRUE(contains(said, "keys of the trailer that no reader needs: ")) << arguments << said.output;
    EXPECT_TRUE(contains(said, "O ther, Own")) << arguments << said.output;
  }
  EXPECT_TRUE(contains(sheaf("show in.pdf"), "/Own 7 0 R"));
}

// The last byte of the data, or the last two, are gone; what is left decodes to something.
TEST_F(Honesty, DataThatEndBeforeTheirEndAreProblems) {
  struct Row {
    const char* keys;
    std::string data;
    std::size_t cut;
  };
  for (const Row& row :
       {Row{"/Filter/ASCIIHexDecode", "41424344>", 1}, Row{"/Filter/ASCII85Decode", "87cURD]i,\"~>", 2},
        Row{"/Filter/RunLengthDecode", "\3text\200", 1}, Row{"/Filter/LZWDecode", lzw_encoded("some text", 1, true), 2},
        Row{"/Filter/FlateDecode", PdfBuilder::deflated(std::string(300, 'a') + "text"), 6},
        Row{"/Filter[/RunLengthDecode/ASCIIHexDecode]",
            "\4"
            "4142>\200",
            1},
        Row{"/Width 8/Height 12/Filter/CCITTFaxDecode/DecodeParms<</K -1/Columns 8>>", "\xFF\xFF", 1},
        Row{"/Type/ObjStm/N 1/First 4/Filter/FlateDecode", PdfBuilder::deflated("9 0 (text) " + std::string(90, ' ')),
            6}}) {
    for (const std::size_t cut : {std::size_t{0}, row.cut}) {
      const std::string data = row.data.substr(0, row.data.size() - cut);
      write_file(in, PdfBuilder().pages(1).stream(4, row.keys, data).classic("/Root 1 0 R/Prev 0").str());
      const RunResult result = sheaf("check in.pdf");
      EXPECT_EQ(result.code, cut == 0 ? 0 : 1) << row.keys << result.output;
      EXPECT_EQ(contains(result, "end before their end mark"), cut != 0) << row.keys << result.output;
    }
  }
}

TEST_F(Honesty, PicturesThatAreCutForTheirCostAreProblems) {
  using namespace jb2_test;
  constexpr int kSide = 20000;
  std::string data = segment(0, 48, {}, page_info(kSide, kSide));
  const std::string body = region_info(Picture(kSide, kSide)) + u8(0) + places_bytes(nominal_adaptive(0)) + "\1\2\3";
  for (std::uint32_t i = 1; i <= 8; ++i)
    data += segment(i, 38, {}, body);
  write_file(in, PdfBuilder().pages(1).stream(4, "/Subtype/Image/Filter/JBIG2Decode", data).classic().str());
  const RunResult result = sheaf("check in.pdf");
  EXPECT_EQ(result.code, 1);
  EXPECT_TRUE(contains(result, "than their length justifies")) << result.output;
}

}  // namespace
