// Pages moved, stamped and labelled, outlines and attachments changed, documents as JSON and compared: each journey's
// result is read back by another program or by another command.
#include <gtest/gtest.h>

#include "support/external_tool.h"
#include "support/pdf_builder.h"

namespace {

// Four pages that say their number, with labels, an outline, a field on each of the last two pages, and inherited
// boxes.
std::string book() {
  PdfBuilder builder;
  builder
      .obj(1,
           "<</Type/Catalog/Pages 2 0 R/Outlines 20 0 R/PageLabels<</Nums[0<</S/r>>2<</S/D/P(B-)>>]>>"
           "/AcroForm<</Fields[30 0 R 31 0 R]>>>>")
      .obj(2,
           "<</Type/Pages/Count 4/Kids[3 0 R 4 0 R 5 0 R 6 0 R]/MediaBox[0 0 300 200]/Rotate 90"
           "/Resources<</Font<</F 7 0 R>>>>>>");
  for (int i = 0; i < 4; ++i) {
    const std::string number = std::to_string(i + 1);
    const std::string annots = i >= 2 ? "/Annots[" + std::to_string(28 + i) + " 0 R]" : "";
    builder.obj(3 + i, "<</Type/Page/Parent 2 0 R/Contents " + std::to_string(10 + i) + " 0 R" + annots + ">>");
    builder.stream(10 + i, "", "BT /F 20 Tf 50 100 Td (Leaf " + number + ") Tj ET");
  }
  builder.obj(7, "<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>")
      .obj(20, "<</Type/Outlines/First 21 0 R/Last 22 0 R/Count 3>>")
      .obj(21, "<</Title(One)/Parent 20 0 R/Next 22 0 R/Dest[3 0 R/Fit]>>")
      .obj(22, "<</Title(Three)/Parent 20 0 R/Prev 21 0 R/First 23 0 R/Last 23 0 R/Count 1/Dest[5 0 R/XYZ 0 90 null]>>")
      .obj(23, "<</Title(Four)/Parent 22 0 R/A<</S/GoTo/D[6 0 R/Fit]>>>>");
  for (int i = 0; i < 2; ++i)
    builder.obj(30 + i, "<</Type/Annot/Subtype/Widget/FT/Tx/T(f" + std::to_string(i + 3) + ")/Rect[9 9 50 20]/P " +
                            std::to_string(5 + i) + " 0 R>>");
  return builder.classic().str();
}

struct Everyday : testing::Test {
  void SetUp() override { write_file(in, book()); }
  RunResult sheaf(const std::string& arguments) {
    return run_command("cd " + folder.str() + " && " + SHEAF_TOOL + " " + arguments + " 2>&1");
  }
  // The text of each page, by another program.
  std::string leaves(const std::string& file) {
    return run_command("cd " + folder.str() + " && pdftotext " + file + " - | grep -o 'Leaf [0-9]' | tr -dc 0-9")
        .output;
  }
  bool is_sound(const std::string& file) {
    return !has_program("qpdf") || run_command("cd " + folder.str() + " && qpdf --check " + file + " 2>&1").code == 0;
  }
  static bool contains(const RunResult& result, const std::string& text) {
    return result.output.find(text) != std::string::npos;
  }

  TestFolder folder;
  std::string in = folder / "in.pdf";
};

TEST_F(Everyday, PagesGoWithTheirLabelsEntriesAndFields) {
  if (!has_program("pdftotext"))
    GTEST_SKIP() << "pdftotext is not installed";
  struct Row {
    const char* command;
    const char* leaves;
    const char* labels;
    const char* outline;
    const char* fields;
  };
  for (const Row& row : {Row{"select in.pdf 4,1,1", "411", "1 decimal 2 B-\n2 roman 1 \n3 roman 1 \n",
                             "One  2\nThree  -\n  Four  1\n", "f4"},
                         Row{"delete in.pdf r1", "123", "1 roman 1 \n3 decimal 1 B-\n", "One  1\nThree  3\n", "f3"},
                         Row{"insert in.pdf in.pdf:2 --before 1", "21234", "1 roman 2 \n2 roman 1 \n4 decimal 1 B-\n",
                             "One  2\nThree  4\n  Four  5\n", "f3"}}) {
    for (const char* form : {"", " --rewrite"}) {
      ASSERT_NE(sheaf(std::string(row.command) + " -o out.pdf" + form).code, 2) << row.command << form;
      EXPECT_EQ(leaves("out.pdf"), row.leaves) << row.command << form;
      EXPECT_EQ(sheaf("labels out.pdf").output, row.labels) << row.command << form;
      EXPECT_EQ(sheaf("outline out.pdf").output, row.outline) << row.command << form;
      EXPECT_TRUE(contains(sheaf("fields out.pdf"), row.fields)) << row.command << form;
      EXPECT_TRUE(contains(sheaf("pages --all out.pdf"), "media 0 0 300 200")) << row.command << form;
      EXPECT_TRUE(is_sound("out.pdf")) << row.command << form;
    }
  }
  // What was deleted is in the update's old part only.
  ASSERT_EQ(sheaf("delete in.pdf 4 -o new.pdf --rewrite").code, 0);
  EXPECT_FALSE(contains(sheaf("fields new.pdf"), "f4"));
  EXPECT_EQ(read_file(folder / "new.pdf").find("Leaf 4"), std::string::npos);
  EXPECT_EQ(sheaf("delete in.pdf 1-z -o none.pdf").code, 2);
}

TEST_F(Everyday, PagesAreTurnedCroppedAndStampedAsTheyAreSeen) {
  ASSERT_EQ(sheaf("rotate in.pdf +90:1 0:2 -o turned.pdf").code, 0);
  ASSERT_EQ(sheaf("crop turned.pdf --margins 10,20,30,40 --pages 1 -o out.pdf").code, 0);
  const RunResult pages = sheaf("pages --all out.pdf");
  EXPECT_TRUE(contains(pages, "260.00     140.00    180 i, media 0 0 300 200, crop 10 20 270 160")) << pages.output;
  EXPECT_TRUE(contains(pages, "300.00     200.00      0 ii, media 0 0 300 200\n")) << pages.output;
  EXPECT_EQ(sheaf("crop in.pdf --margins 150 -o none.pdf").code, 2);
  if (!has_program("pdftotext"))
    GTEST_SKIP() << "pdftotext is not installed";
  // Page 1 is shown upside down, page 2 is not: the stamp is upright on both, in the upper left corner.
  write_file(folder / "stamp.pdf", PdfBuilder()
                                       .obj(1, "<</Type/Catalog/Pages 2 0 R>>")
                                       .obj(2, "<</Type/Pages/Count 1/Kids[3 0 R]>>")
                                       .obj(3,
                                            "<</Type/Page/Parent 2 0 R/MediaBox[0 0 40 20]/Contents 4 0 R"
                                            "/Resources<</Font<</F 5 0 R>>>>>>")
                                       .stream(4, "", "BT /F 8 Tf 2 8 Td (Mark) Tj ET")
                                       .obj(5, "<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>")
                                       .classic()
                                       .str());
  for (const char* command : {"overlay", "underlay"}) {
    ASSERT_EQ(sheaf(std::string(command) + " turned.pdf stamp.pdf --pages 1,2 --repeat --fit none --place top-left "
                                           "-o stamped.pdf")
                  .code,
              0);
    EXPECT_TRUE(is_sound("stamped.pdf"));
    const RunResult words = run_command("cd " + folder.str() + " && pdftotext -bbox stamped.pdf - | grep Mark");
    EXPECT_EQ(run_command("cd " + folder.str() +
                          " && pdftotext -bbox stamped.pdf - | grep Mark | grep -c 'xMin=\"2.0.*yMax=\"1[0-9]\\.'")
                  .output,
              "2\n")
        << words.output;
  }
}

TEST_F(Everyday, CollatedPagesComeInTurn) {
  if (!has_program("pdftotext"))
    GTEST_SKIP() << "pdftotext is not installed";
  ASSERT_EQ(sheaf("merge --collate 2 out.pdf in.pdf in.pdf:4,3,1").code, 0);
  EXPECT_EQ(leaves("out.pdf"), "1243341");
}

TEST_F(Everyday, OutlinesLabelsAndPacketsComeBackFromWhatWasPrinted) {
  ASSERT_EQ(sheaf("outline --json in.pdf > outline.json").code, 0);
  ASSERT_EQ(sheaf("delete in.pdf 4 -o other.pdf").code, 0);
  ASSERT_EQ(sheaf("outline in.pdf --set outline.json -o out.pdf").code, 0);
  EXPECT_EQ(sheaf("outline out.pdf").output, sheaf("outline in.pdf").output);
  write_file(folder / "new.json", R"([{"title":"\u00c4","page":4,"view":["XYZ",null,80,null],"open":false},
      {"title":"Web","level":1,"uri":"http://x.example/"}])");
  ASSERT_EQ(sheaf("outline in.pdf --set new.json -o out.pdf").code, 0);
  EXPECT_EQ(sheaf("outline out.pdf").output, "\xC3\x84  4\n  Web  http://x.example/\n");
  EXPECT_TRUE(contains(sheaf("show out.pdf trailer/Root/Outlines/First/Count"), "-1"));
  ASSERT_EQ(
      sheaf("outline in.pdf > lines.txt && " + std::string(SHEAF_TOOL) + " outline in.pdf --set lines.txt -o out.pdf")
          .code,
      0);
  EXPECT_EQ(sheaf("outline out.pdf").output, sheaf("outline in.pdf").output);
  write_file(folder / "bad.json", R"([{"title":"x","page":9}])");
  EXPECT_EQ(sheaf("outline in.pdf --set bad.json -o no.pdf").code, 2);
  write_file(folder / "labels.txt", "1 Letters 3\n3 none 1 Cover\n");
  ASSERT_EQ(sheaf("labels in.pdf --set labels.txt -o out.pdf").code, 0);
  EXPECT_EQ(sheaf("labels out.pdf").output, "1 Letters 3 \n3 none 1 Cover\n");
  ASSERT_EQ(sheaf("new xmp.pdf --pdfa --set Title=Old").code, 0);
  ASSERT_EQ(sheaf("metadata xmp.pdf --xmp | sed s/Old/New/ > packet.xml").code, 0);
  ASSERT_EQ(sheaf("metadata xmp.pdf --set-xmp packet.xml -o out.pdf").code, 0);
  EXPECT_TRUE(contains(sheaf("info out.pdf"), "New"));
  EXPECT_TRUE(contains(sheaf("metadata --json out.pdf"), "\"in_step\":true"));
}

// Names that would leave the folder, name devices, or differ in nothing but capital letters.
TEST_F(Everyday, AttachmentsStayInTheirFolder) {
  PdfBuilder builder;
  const std::vector<std::string> names = {"(../../evil.txt)", "(C:\\\\boot.ini)", "(a.txt)",
                                          "(A.TXT)",          "(nul.txt)",        "(..)"};
  std::string list;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const int num = 10 + 2 * static_cast<int>(i);
    list += "(" + std::to_string(i) + ")" + std::to_string(num) + " 0 R ";
    builder.obj(num, "<</Type/Filespec/UF" + names[i] + "/EF<</F " + std::to_string(num + 1) + " 0 R>>>>");
    builder.stream(num + 1, "/Type/EmbeddedFile", "data " + std::to_string(i));
  }
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R/Names<</EmbeddedFiles<</Names[" + list + "]>>>>>>")
      .obj(2, "<</Type/Pages/Count 1/Kids[3 0 R]>>")
      .obj(3, "<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]>>");
  write_file(in, builder.classic().str());
  std::filesystem::create_directories(folder / "deep/out");
  ASSERT_EQ(sheaf("attachments in.pdf -d deep/out").code, 0);
  EXPECT_EQ(run_command("cd " + folder.str() + " && find deep -type f | LC_ALL=C sort").output,
            "deep/out/A (2).TXT\ndeep/out/_nul.txt\ndeep/out/a.txt\ndeep/out/attachment\ndeep/out/boot.ini\n"
            "deep/out/evil.txt\n");
  EXPECT_EQ(read_file(folder / "deep/out/evil.txt"), "data 0");
  ASSERT_EQ(sheaf("attachments in.pdf --remove a.txt --add deep/out/evil.txt --rewrite -o out.pdf").code, 0);
  EXPECT_EQ(read_file(folder / "out.pdf").find("data 2"), std::string::npos);
  ASSERT_EQ(
      run_command("cd " + folder.str() + " && printf piped | " + SHEAF_TOOL + " update out.pdf --attach - --in-place")
          .code,
      0);
  EXPECT_TRUE(contains(sheaf("attachments out.pdf --name stdin -d piped && cat " + (folder / "piped/stdin")), "piped"));
  if (!has_program("pdfdetach"))
    GTEST_SKIP() << "pdfdetach is not installed";
  const RunResult listed = run_command("cd " + folder.str() + " && pdfdetach -list out.pdf");
  EXPECT_TRUE(contains(listed, "7 embedded files") && contains(listed, "evil.txt") && !contains(listed, "a.txt"))
      << listed.output;
}

TEST_F(Everyday, JsonGivesTheSameObjectsBack) {
  PdfBuilder builder;
  builder.pages(1)
      .obj(10, "[1 -2.5 .000001 3. true null (t\\344xt) <FEFF26AB> <80FF00> /A#20B /#ff 3 0 R <</K#ff[<<>>]>>]")
      .stream(11, "/Filter/ASCIIHexDecode", "00ff>")
      .obj(12, "(old)", 3);
  write_file(in, builder.classic("/Root 1 0 R/ID[<01><02>]").str());
  for (const char* form : {"", " --qpdf", " --streams apart -d parts"}) {
    ASSERT_EQ(sheaf("json in.pdf -o doc.json" + std::string(form)).code, 0);
    const RunResult back = sheaf("json --to-pdf doc.json -o back.pdf");
    ASSERT_EQ(back.code, 0) << back.output;
    EXPECT_EQ(sheaf("show --all back.pdf").output, sheaf("show --all in.pdf").output) << form;
    EXPECT_EQ(sheaf("stream back.pdf 11").output, sheaf("stream in.pdf 11").output);
    EXPECT_EQ(sheaf("diff --objects in.pdf back.pdf").output, "") << form;
  }
  EXPECT_EQ(sheaf("json --to-pdf in.pdf -o none.pdf").code, 2);
  if (!has_program("qpdf"))
    GTEST_SKIP() << "qpdf is not installed";
  // qpdf reads names that are not UTF-8 in a later version of the form only.
  write_file(in, book());
  ASSERT_EQ(sheaf("json in.pdf --qpdf -o doc.json").code, 0);
  ASSERT_EQ(run_command("cd " + folder.str() +
                        " && qpdf --json-input doc.json q.pdf && qpdf --json-output "
                        "--json-stream-data=inline in.pdf q.json 2>&1")
                .code,
            0);
  ASSERT_EQ(sheaf("json --to-pdf q.json -o back.pdf").code, 0);
  for (const char* file : {"q.pdf", "back.pdf"}) {
    EXPECT_TRUE(is_sound(file));
    EXPECT_EQ(sheaf("diff in.pdf " + std::string(file)).output, "") << file;
  }
  // qpdf takes no reference as the value of an object.
  PdfBuilder linked;
  write_file(in,
             linked.pages(1).obj(20, "21 0 R").obj(21, "<</Title(linked)>>").classic("/Root 1 0 R/Info 20 0 R").str());
  ASSERT_EQ(sheaf("json in.pdf --qpdf -o doc.json").code, 0);
  ASSERT_EQ(run_command("cd " + folder.str() + " && qpdf --json-input doc.json q.pdf 2>&1").code, 0);
  EXPECT_TRUE(contains(sheaf("show q.pdf trailer/Info/Title"), "linked"));
}

TEST_F(Everyday, DiffNamesPagesValuesAndObjects) {
  ASSERT_EQ(sheaf("delete in.pdf 2 -o fewer.pdf").code, 0);
  const RunResult fewer = sheaf("diff in.pdf fewer.pdf");
  EXPECT_EQ(fewer.code, 1);
  EXPECT_EQ(fewer.output.substr(0, 9), "- page 2\n") << fewer.output;
  ASSERT_EQ(sheaf("update in.pdf -o later.pdf --set Title=New").code, 0);
  ASSERT_EQ(sheaf("rotate later.pdf +90:3 --in-place").code, 0);
  EXPECT_TRUE(contains(sheaf("diff later.pdf --revision 1..2"), "+ Info "));
  const RunResult last = sheaf("diff later.pdf --revision 2..3");
  EXPECT_TRUE(contains(last, "~ page 3: rotation\n") && contains(last, "~ object 5 Page\n")) << last.output;
  EXPECT_EQ(sheaf("diff later.pdf later.pdf --objects").code, 0);
  EXPECT_EQ(sheaf("diff later.pdf --revision 3..4").code, 2);
  // A new file of the same content is the same document.
  ASSERT_EQ(sheaf("rewrite in.pdf again.pdf --encrypt aes256 --user-password u --owner-password o").code, 0);
  EXPECT_EQ(sheaf("diff in.pdf again.pdf --other-password u").output, "");
}

TEST_F(Everyday, CheckNamesPageAndOffsetOfContentThatCannotBeDrawn) {
  const std::string content = "q /F 9 Tf BT (x) Tj ET 1 2 re foo BX bar EX /Im Do Q Q /Form Do (open";
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R>>")
      .obj(2, "<</Type/Pages/Count 1/Kids[3 0 R]>>")
      .obj(3,
           "<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]/Contents[4 0 R 5 0 R]"
           "/Resources<</Font<</F 6 0 R>>/XObject<</Form 7 0 R>>>>>>")
      .stream(4, "", "0 g")
      .stream(5, "", content)
      .obj(6, "<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>")
      .stream(7, "/Type/XObject/Subtype/Form/BBox[0 0 9 9]", "/F 9 Tf BT");
  write_file(in, builder.classic().str());
  const RunResult checked = sheaf("check in.pdf");
  EXPECT_EQ(checked.code, 1);
  struct Row {
    int object;
    std::size_t offset;
    const char* what;
  };
  for (const Row& row : {Row{5, content.find("1 2 re"), "the operator lacks operands (re)"},
                         Row{5, content.find("foo"), "there is no such operator (foo)"},
                         Row{5, content.find("/Im"), "the resources do not have what is named (Im)"},
                         Row{5, content.find("Q /Form"), "a graphics state is restored that was not saved (Q)"},
                         Row{5, content.find("(open"), "operands are followed by no operator"},
                         Row{7, 10, "a text object does not end (BT)"}}) {
    const std::string line = "object " + std::to_string(row.object) + ": page 1, offset " + std::to_string(row.offset);
    EXPECT_TRUE(contains(checked, line + ": ") && contains(checked, row.what)) << line << row.what << checked.output;
  }
  EXPECT_FALSE(contains(checked, "(bar)") || contains(checked, "(F)")) << checked.output;
}

}  // namespace
