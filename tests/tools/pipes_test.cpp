// Standard input and output as files, names of parts, passwords by line, and the size of pages made of images.
#include <gtest/gtest.h>

#include "support/external_tool.h"
#include "support/jpeg_maker.h"
#include "support/pdf_builder.h"

namespace {

const std::string kTool = SHEAF_TOOL;

struct Pipes : testing::Test {
  void SetUp() override {
    write_file(folder / "in.pdf", PdfBuilder().pages(3).classic().str());
    write_file(folder / "sample.jpg", make_jpeg(smooth_picture(160, 100, 3), 160, 100, {}));
  }
  RunResult sh(const std::string& command) {
    return run_command("cd " + folder.str() + " && sheaf() { " + kTool + " \"$@\"; }; " + command);
  }
  bool has(const std::string& name) { return std::filesystem::exists(folder / name); }

  TestFolder folder;
};

TEST_F(Pipes, StandardInputAndOutputAreFiles) {
  EXPECT_EQ(sh("cat in.pdf | sheaf rewrite - - 2> log | sheaf update - -o - --set Title=Piped 2>> log | "
               "sheaf info - | grep -c 'Piped\\|Pages *3'")
                .output,
            "2\n");
  EXPECT_EQ(sh("sheaf merge - in.pdf:1 - < in.pdf 2> log | sheaf pages - | wc -l").output, "5\n");
  EXPECT_EQ(sh("printf 'a\\tb' | sheaf new - --text - 2> log | sheaf check -").code, 0);
  EXPECT_EQ(sh("sheaf new - --image - < sample.jpg 2> log | sheaf images - | grep -c DCTDecode").output, "1\n");
  EXPECT_EQ(sh("mkfifo pipe && (cat in.pdf > pipe & sheaf check pipe)").code, 0);
  for (const char* command : {"pages .", "new no.pdf --text .", "new no.pdf --image .", "rewrite . no.pdf"}) {
    const RunResult directory = sh(std::string("sheaf ") + command + " 2>&1");
    EXPECT_EQ(directory.code, 2) << command;
    EXPECT_NE(directory.output.find("sheaf: .: is a directory"), std::string::npos) << command << directory.output;
  }
  EXPECT_FALSE(has("no.pdf"));
  // Reports go elsewhere, or nowhere.
  EXPECT_EQ(sh("sheaf rewrite -q in.pdf - 2>&1 > /dev/null").output, "");
  EXPECT_EQ(sh("sheaf rewrite -q in.pdf out.pdf 2>&1").output, "");
  EXPECT_EQ(sh("sheaf check in.pdf --password-file - - < in.pdf 2>&1").code, 2);
}

TEST_F(Pipes, PartsGetTheNamesThatThePatternSays) {
  ASSERT_EQ(sh("sheaf split in.pdf -o 'a-%03d.pdf' && sheaf split in.pdf -o 'b%%-%d.pdf' --every 2 && "
               "sheaf split in.pdf -o c.pdf && sheaf split in.pdf -o d.pdf --every 3")
                .code,
            0);
  for (const char* name : {"a-001.pdf", "a-003.pdf", "b%-1.pdf", "b%-2.pdf", "c-1.pdf", "c-3.pdf", "d.pdf"})
    EXPECT_TRUE(has(name)) << name;
  EXPECT_EQ(sh("sheaf split in.pdf -o - 2> log").code, 2);
}

TEST_F(Pipes, AMergeTakesAPasswordFromEachLine) {
  ASSERT_EQ(sh("sheaf rewrite in.pdf a.pdf --encrypt aes256 --user-password one; "
               "sheaf rewrite in.pdf b.pdf --encrypt aes128 --user-password two")
                .code,
            0);
  EXPECT_EQ(sh("printf 'one\\r\\ntwo\\n' | sheaf merge -q out.pdf a.pdf b.pdf --password-file -; "
               "sheaf pages out.pdf | wc -l")
                .output,
            "7\n");
  EXPECT_EQ(sh("printf 'one\\none\\n' | sheaf merge no.pdf a.pdf b.pdf --password-file - 2> log").code, 2);
  EXPECT_FALSE(has("no.pdf"));
}

// Width and height of the page, then the matrix of the picture of 160 by 100 samples.
TEST_F(Pipes, AnImageIsPlacedOnItsPageAsAskedFor) {
  struct Row {
    const char* options;
    const char* page;
    const char* matrix;
  };
  for (const Row& row :
       {Row{"", "160.00     100.00", "160.0000 0.0000 0.0000 100.0000 0.0000 0.0000"},
        Row{"--dpi 144", "80.00      50.00", "80.0000 0.0000 0.0000 50.0000 0.0000 0.0000"},
        Row{"--margin 10", "180.00     120.00", "160.0000 0.0000 0.0000 100.0000 10.0000 10.0000"},
        Row{"--page-size A4", "595.00     842.00", "160.0000 0.0000 0.0000 100.0000 217.5000 371.0000"},
        Row{"--page-size 200x100 --margin 25", "200.00     100.00", "80.0000 0.0000 0.0000 50.0000 60.0000 25.0000"},
        Row{"--page-size 10x5in --fit", "720.00     360.00", "576.0000 0.0000 0.0000 360.0000 72.0000 0.0000"}}) {
    const RunResult made =
        sh(std::string("sheaf new -q out.pdf --image sample.jpg ") + row.options +
           " && sheaf pages out.pdf && for n in 1 2 3 4 5 6; do sheaf stream out.pdf $n 2>&1 | grep -a cm; done");
    EXPECT_NE(made.output.find(row.page), std::string::npos) << row.options << made.output;
    EXPECT_NE(made.output.find(row.matrix), std::string::npos) << row.options << made.output;
  }
  EXPECT_EQ(sh("sheaf new no.pdf --image sample.jpg --page-size B9 2> log").code, 2);
  EXPECT_EQ(sh("sheaf new no.pdf --image sample.jpg --page-size A4 --margin 300 2> log").code, 2);
}

TEST_F(Pipes, TabsOfATextEndAtColumns) {
  if (!has_program("pdftotext"))
    GTEST_SKIP() << "needs pdftotext";
  ASSERT_EQ(sh("printf 'a\\tX\\nlonger\\tX\\n' | sheaf new t.pdf --text -").code, 0);
  const std::string places =
      "pdftotext -bbox t.pdf - | sed -n 's/.*xMin=\"\\([0-9.]*\\)\".*>X<.*/\\1/p' | sort -u | wc -l";
  EXPECT_EQ(sh(places).output, "1\n");
}

}  // namespace
