// What the commands print for programs to read: annotations, fields, and JSON as a reader of JSON takes it;
// and the commands that divide a document, and passwords that come from standard input.
#include <gtest/gtest.h>

#include "support/external_tool.h"
#include "support/pdf_builder.h"

namespace {

struct Reading : testing::Test {
  RunResult sheaf(const std::string& arguments) {
    return run_command(std::string(SHEAF_TOOL) + " " + arguments + " 2>&1");
  }
  // What a Python expression makes of the JSON `d` that a command printed.
  static std::string value(const std::string& arguments, const std::string& expression) {
    const RunResult run =
        run_command(std::string(SHEAF_TOOL) + " " + arguments +
                    " 2>/dev/null | python3 -c 'import json,sys; d=json.loads(sys.stdin.buffer.read().decode()); "
                    "sys.stdout.buffer.write(str(" +
                    expression + ").encode())' 2>&1");
    return run.output;
  }
  static std::string form_document() {
    PdfBuilder builder;
    builder.obj(1, "<</Type/Catalog/Pages 2 0 R/AcroForm<</Fields[6 0 R 9 0 R]>>>>")
        .obj(2, "<</Type/Pages/Count 2/Kids[3 0 R 4 0 R]/MediaBox[0 0 612 792]>>")
        .obj(3, "<</Type/Page/Parent 2 0 R/Annots[5 0 R 7 0 R]>>")
        .obj(4, "<</Type/Page/Parent 2 0 R/Annots 10 0 R>>")
        .obj(5, "<</Type/Annot/Subtype/Text/Rect[1 2 3.5 4]/Contents<FEFF00E40022000A>/P 3 0 R>>")
        .obj(6, "<</T(group)/FT/Tx/V(above)/Kids[7 0 R 8 0 R]>>")
        .obj(7, "<</T(first)/Parent 6 0 R/Subtype/Widget/Rect[0 0 9 9]/V(own \\\\ \"one\")>>")
        .obj(8, "<</T(second)/Parent 6 0 R>>")
        .obj(9, "<</T(tick)/FT/Btn/V/Yes>>")
        .obj(10, "[<</Subtype/Link/Dest[3 0 R/Fit]/Rect[0 0 1 1]>>]");
    return builder.classic().str();
  }

  TestFolder folder;
  std::string in = folder / "in.pdf";
};

TEST_F(Reading, AnnotationsAreListedByPage) {
  write_file(in, form_document());
  const RunResult text = sheaf("annots " + in);
  EXPECT_EQ(text.code, 0);
  EXPECT_NE(text.output.find("     1        5 Text           \xC3\xA4\""), std::string::npos) << text.output;
  EXPECT_NE(text.output.find("     1        7 Widget "), std::string::npos) << text.output;
  EXPECT_NE(text.output.find("     2        0 Link "), std::string::npos) << text.output;
  if (!has_program("python3"))
    GTEST_SKIP() << "python3, which reads the JSON, is not here";
  const std::string annots = "annots --json " + in;
  EXPECT_EQ(value(annots, "[[a[\"object\"] for a in p[\"annotations\"]] for p in d[\"pages\"]]"), "[[5, 7], [0]]");
  EXPECT_EQ(value(annots, "repr(d[\"pages\"][0][\"annotations\"][0][\"values\"][\"Contents\"])"), "'\xC3\xA4\"\\n'");
  EXPECT_EQ(value(annots, "d[\"pages\"][0][\"annotations\"][0][\"values\"][\"Rect\"]"), "[1, 2, 3.5, 4]");
}

TEST_F(Reading, FieldsHaveFullNamesAndInheritedValues) {
  write_file(in, form_document());
  const RunResult text = sheaf("fields " + in);
  EXPECT_EQ(text.code, 0);
  EXPECT_NE(text.output.find("7 Tx   group.first = own \\ \"one\"\n"), std::string::npos) << text.output;
  EXPECT_NE(text.output.find("8 Tx   group.second = above\n"), std::string::npos) << text.output;
  EXPECT_NE(text.output.find("9 Btn  tick = /Yes\n"), std::string::npos) << text.output;
  if (!has_program("python3"))
    GTEST_SKIP() << "python3, which reads the JSON, is not here";
  EXPECT_EQ(
      value("fields --json " + in, "[(f[\"name\"],f[\"type\"],f[\"value\"]) for f in d[\"fields\"]]"),
      "[('group.first', 'Tx', 'own \\\\ \"one\"'), ('group.second', 'Tx', 'above'), ('tick', 'Btn', {'name': 'Yes'})]");
}

TEST_F(Reading, JsonOfEveryCommandIsReadByAReaderOfJson) {
  if (!has_program("python3"))
    GTEST_SKIP() << "python3, which reads the JSON, is not here";
  // Texts that are hard to quote: control characters, half a surrogate pair, bytes that are not UTF-8.
  PdfBuilder builder;
  builder.pages(1)
      .obj(3, "<</Type/Page/Parent 2 0 R/Resources<</Font<</F#FF 5 0 R>>/XObject<</X 6 0 R>>>>/Annots[7 0 R]>>")
      .obj(5, "<</Type/Font/Subtype/Type1/BaseFont/Od#22d#5C#01#FF>>")
      .stream(6, "/Subtype/Image/Width 1/Height 1/BitsPerComponent 8/ColorSpace/DeviceGray", "x")
      .obj(7, "<</Subtype/Text/Contents<FEFFD83D0001>/NM(\\377\\000\\037\\\\)/K#80 /#C3#28/Big 1e400>>")
      .stream(8, "/Filter/No#22#FF", "x")
      .obj(9, "<</Title<EFBBBFC328FF>/Author(\\000\\b\\t\")>>");
  const std::string odd = folder / "a \"b\\\xC3\xA4.pdf";
  write_file(odd, builder.classic("/Root 1 0 R/Info 9 0 R/ID[<00FF><22>]").str());
  for (const char* command : {"info", "check", "pages", "annots", "fields", "fonts", "images"})
    EXPECT_EQ(value(std::string(command) + " --json '" + odd + "'", "type(d).__name__"), "dict") << command;
  EXPECT_EQ(value("info --json '" + odd + "'", "d[\"file\"].rsplit(\"/\",1)[1]"), "a \"b\\\xC3\xA4.pdf");
}

TEST_F(Reading, SplitMakesPartsOfTheirPages) {
  write_file(in, PdfBuilder().pages(5).classic().str());
  const RunResult run = sheaf("split " + in + " -o " + (folder / "part-%d.pdf") + " --every 2");
  EXPECT_EQ(run.code, 0);
  EXPECT_NE(run.output.find("5 pages in 3 parts"), std::string::npos) << run.output;
  const int pages[] = {2, 2, 1};
  for (int part = 1; part <= 3; ++part) {
    const std::string name = folder / ("part-" + std::to_string(part) + ".pdf");
    EXPECT_NE(sheaf("info " + name).output.find("Pages          " + std::to_string(pages[part - 1])),
              std::string::npos);
    EXPECT_EQ(sheaf("check " + name).code, 0);
  }
  EXPECT_EQ(sheaf("split " + in + " -o " + (folder / "one.pdf") + " --every 2").code, 0);
  EXPECT_FALSE(std::filesystem::exists(folder / "one.pdf")) << "a pattern without a number gets one";
  EXPECT_EQ(sheaf("split " + in + " -o " + in + " --every 5").code, 2);
  EXPECT_EQ(read_file(in), PdfBuilder().pages(5).classic().str());
}

TEST_F(Reading, MergeTakesTheRangesAsTheyAreWritten) {
  // Pages differ in width, by which they are recognised.
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R>>").obj(2, "<</Type/Pages/Count 4/Kids[3 0 R 4 0 R 5 0 R 6 0 R]>>");
  for (int i = 1; i <= 4; ++i)
    builder.obj(2 + i, "<</Type/Page/Parent 2 0 R/MediaBox[0 0 " + std::to_string(100 * i) + " 50]>>");
  write_file(in, builder.classic().str());
  const std::string out = folder / "out.pdf";
  ASSERT_EQ(sheaf("merge " + out + " " + in + ":r1,3-2,1,z").code, 0);
  std::string widths;
  const std::string listed = sheaf("pages --json " + out).output;
  for (std::size_t at = listed.find("\"width\":"); at != std::string::npos; at = listed.find("\"width\":", at + 1))
    widths += listed[at + 8];
  EXPECT_EQ(widths, "43214");
  for (const char* ranges : {"5", "0", "7-", "r5", "x", "1,,2", "2-9"})
    EXPECT_EQ(sheaf("merge " + (folder / "no.pdf") + " " + in + ":" + ranges).code, 2) << ranges;
  EXPECT_FALSE(std::filesystem::exists(folder / "no.pdf"));
}

TEST_F(Reading, AnnotationsNestedTooDeepAreReported) {
  for (const int fields : {30, 40}) {
    PdfBuilder builder;
    builder.obj(1, "<</Type/Catalog/Pages 2 0 R>>").obj(2, "<</Type/Pages/Kids[3 0 R]/Count 1>>");
    builder.obj(3, "<</Type/Page/Parent 2 0 R/Annots[4 0 R]>>");
    for (int i = 0; i < fields; ++i) {
      const std::string parent = i + 1 < fields ? "/Parent " + std::to_string(5 + i) + " 0 R" : "";
      builder.obj(4 + i, "<</Type/Annot/Subtype/Widget/T(x)" + parent + ">>");
    }
    write_file(in, builder.classic().str());
    EXPECT_EQ(sheaf("annots --json " + in).code, fields > 32 ? 1 : 0) << fields;
  }
}

TEST_F(Reading, PasswordsComeFromStandardInput) {
  write_file(in, PdfBuilder().pages(1).classic("/Root 1 0 R/ID[<0A><0B>]").str());
  const std::string locked = folder / "locked.pdf";
  ASSERT_EQ(sheaf("rewrite --encrypt aes256 --user-password 'a b' --owner-password o " + in + " " + locked).code, 0);
  const std::string ask = std::string(SHEAF_TOOL) + " show --password-file - " + locked + " 1 2>&1";
  for (const char* line : {"a b", "a b\\n", "a b\\r\\n", "a b\\nmore\\n"})
    EXPECT_EQ(run_command("printf '" + std::string(line) + "' | " + ask).code, 0) << line;
  EXPECT_EQ(run_command("printf 'a b ' | " + ask).code, 2);
  EXPECT_EQ(run_command(ask + " </dev/null").code, 2);
  EXPECT_EQ(sheaf("show --password-file " + (folder / "missing") + " " + locked + " 1").code, 2);
}

}  // namespace
