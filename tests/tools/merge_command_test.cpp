// sheaf merge and sheaf split: ranges, dry runs, attachments, and what is said of losses.
#include <gtest/gtest.h>

#include "support/external_tool.h"
#include "support/pdf_builder.h"

namespace {

// Five pages, an attachment and a signature.
std::string document() {
  PdfBuilder builder;
  builder.pages(5)
      .obj(1,
           "<</Type/Catalog/Pages 2 0 R/Names<</EmbeddedFiles<</Names[(note)20 0 R]>>>>/Perms<</DocMDP 23 0 R>>"
           "/AcroForm<</Fields[22 0 R]>>/Outlines 25 0 R>>")
      .obj(3, "<</Type/Page/Parent 2 0 R/Annots[22 0 R]>>")
      .obj(20, "<</F(note)>>")
      .obj(22, "<</T(s)/FT/Sig/V 23 0 R/Subtype/Widget/P 3 0 R>>")
      .obj(23, "<</Type/Sig/ByteRange[0 1 2 3]/Contents<00>/Reference[<</TransformParams<</P 1>>>>]>>")
      .obj(25, "<</First 26 0 R/Last 26 0 R/Count 1>>")
      .obj(26, "<</Title(entry)/Parent 25 0 R/Dest[4 0 R/Fit]>>")
      .classic();
  return builder.str();
}

TEST(MergeCommand, RangesNameOddEvenOpenAndReversedPages) {
  const TestFolder folder;
  const std::string in = folder / "in.pdf";
  write_file(in, document());
  const std::string tool = SHEAF_TOOL;
  const struct {
    const char* ranges;
    const char* pages;
  } rows[] = {{"odd", "3"}, {"even", "2"}, {"3-", "3"}, {"z-2", "4"}, {"1,even,r1", "4"}};
  for (const auto& row : rows) {
    const RunResult run =
        run_command(tool + " merge --dry-run " + (folder / "out.pdf") + " " + in + ":" + row.ranges + " 2>/dev/null");
    EXPECT_NE(run.output.find(std::string("pages: joined: ") + row.pages + "\n"), std::string::npos)
        << row.ranges << run.output;
    EXPECT_EQ(run_command("test -e " + (folder / "out.pdf")).code, 1);  // nothing was written
  }
  EXPECT_EQ(run_command(tool + " merge " + (folder / "out.pdf") + " " + in + ":6- 2>/dev/null").code, 2);
}

TEST(MergeCommand, TellsWhatEnds) {
  const TestFolder folder;
  const std::string in = folder / "in.pdf";
  write_file(in, document());
  const std::string tool = SHEAF_TOOL;
  const std::string out = folder / "out.pdf";
  const auto said = [&](const std::string& arguments) {
    return run_command(tool + " " + arguments + " 2>&1 >/dev/null").output;
  };
  EXPECT_NE(said("merge " + out + " " + in).find("its signatures end"), std::string::npos);
  EXPECT_NE(said("rewrite " + in + " " + out).find("1 signature does not hold"), std::string::npos);
  EXPECT_NE(said("update " + in + " -o " + out + " --set Title=x").find("permits no change"), std::string::npos);
  EXPECT_NE(said("split " + in + " -o " + (folder / "part-%d.pdf")).find("its certification ends"), std::string::npos);
}

TEST(MergeCommand, PartsHaveTheAttachmentsThatBelongToThem) {
  const TestFolder folder;
  const std::string in = folder / "in.pdf";
  write_file(in, document());
  const std::string tool = SHEAF_TOOL;
  const auto count = [&](const std::string& option) {
    const std::string table =
        run_command(tool + " split " + in + " -o " + (folder / "part-%d.pdf") + " --dry-run " + option + " 2>/dev/null")
            .output;
    int parts = 0;
    for (std::size_t at = table.find("attachments: joined"); at != std::string::npos;
         at = table.find("attachments: joined", at + 1))
      ++parts;
    return parts;
  };
  EXPECT_EQ(count(""), 1);
  EXPECT_EQ(count("--attachments all"), 5);
  EXPECT_EQ(count("--attachments none"), 0);
}

TEST(MergeCommand, OutlinesStandUnderAnEntryOfTheirFileUnlessAskedOtherwise) {
  const TestFolder folder;
  const std::string in = folder / "in.pdf";
  write_file(in, document());
  const std::string tool = SHEAF_TOOL;
  const std::string out = folder / "out.pdf";
  for (const bool plain : {false, true}) {
    ASSERT_EQ(
        run_command(tool + " merge " + (plain ? "--no-file-outline " : "") + out + " " + in + " >/dev/null 2>&1").code,
        0);
    EXPECT_EQ(read_file(out).find("(in)") == std::string::npos, plain);
  }
}

TEST(MergeCommand, EncryptsWhenAskedAndSaysWhatStaysBehind) {
  const TestFolder folder;
  const std::string in = folder / "in.pdf";
  const std::string out = folder / "out.pdf";
  write_file(in, document());
  const std::string tool = SHEAF_TOOL;
  const RunResult run = run_command(tool + " merge --verbose --encrypt aes256 --user-password u " + out + " " + in +
                                    ":1 2>&1 >/dev/null");
  EXPECT_EQ(run.code, 0);
  EXPECT_NE(run.output.find("left out: outline: 1"), std::string::npos) << run.output;
  EXPECT_EQ(run_command(tool + " pages " + out + " >/dev/null 2>&1").code, 2);
  EXPECT_EQ(run_command(tool + " check --password u " + out + " >/dev/null 2>&1").code, 0);
}

}  // namespace
