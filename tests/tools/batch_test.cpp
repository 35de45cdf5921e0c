// Runs over many files: folders, lists, limits, and going on where a run ended.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "support/external_tool.h"
#include "support/pdf_builder.h"

namespace {

struct Batch : testing::Test {
  void SetUp() override {
    std::filesystem::create_directories(folder / "in/deeper");
    PdfBuilder builder;
    builder.obj(1, "<</Type/Catalog/Pages 2 0 R>>")
        .obj(2, "<</Type/Pages/Count 1/Kids[3 0 R]/MediaBox[0 0 9 9]>>")
        .obj(3, "<</Type/Page/Parent 2 0 R>>");
    const std::string good = builder.classic().str();
    write_file(folder / "in/a.pdf", good);
    write_file(folder / "in/deeper/B.PDF", good.substr(0, good.size() - 20));
    write_file(folder / "in/c.pdf", "nothing of the kind");
    write_file(folder / "in/d.txt", good);
  }
  RunResult sheaf(const std::string& arguments) {
    return run_command("cd " + folder.str() + "; " + SHEAF_TOOL + " " + arguments);
  }
  static long lines(const RunResult& result) { return std::count(result.output.begin(), result.output.end(), '\n'); }
  static bool contains(const RunResult& result, const std::string& text) {
    return result.output.find(text) != std::string::npos;
  }

  TestFolder folder;
};

TEST_F(Batch, EveryFileOfAFolderHasALineWhateverIsInIt) {
  const RunResult all = sheaf("info --json --jobs 3 in 2>/dev/null");
  EXPECT_EQ(all.code, 2);
  EXPECT_EQ(lines(all), 3);
  EXPECT_TRUE(contains(all, R"("file":"in/c.pdf","error":"sheaf: in/c.pdf: )")) << all.output;
  EXPECT_TRUE(contains(all, "in/deeper/B.PDF"));
  EXPECT_EQ(sheaf("check in/a.pdf in/deeper").code, 1);
}

TEST_F(Batch, ARunGoesOnWhereItEnded) {
  sheaf("check --json in > done 2>/dev/null; printf '{\"file\":\"in/a' >> done");
  write_file(folder / "in/e.pdf", "late");
  const RunResult rest = sheaf("check --json in --skip-done done 2>/dev/null");
  EXPECT_EQ(lines(rest), 1);
  EXPECT_TRUE(contains(rest, "in/e.pdf"));
  const RunResult listed = sheaf("check --json --files-from - --skip-done none < /dev/null");
  EXPECT_EQ(listed.code, 0);
  EXPECT_EQ(lines(sheaf("fonts --json --files-from list 2>/dev/null; printf 'in/a.pdf\\r\\n\\nin/a.pdf' > list")), 0);
  EXPECT_EQ(lines(sheaf("fonts --json --files-from list")), 2);
}

TEST_F(Batch, LimitsEndOneFileOnly) {
  run_command("mkfifo " + (folder / "pipe"));  // into which nobody writes
  const RunResult late = sheaf("check --json --limit-time 0.2 pipe in/a.pdf 2>/dev/null");
  EXPECT_EQ(late.code, 2);
  EXPECT_EQ(lines(late), 2);
  EXPECT_TRUE(contains(late, "--limit-time")) << late.output;
  EXPECT_EQ(sheaf("check --limit-time 60 in/a.pdf").code, 0);
  EXPECT_EQ(sheaf("images -d out in").code, 2);
  EXPECT_EQ(sheaf("check").code, 2);
}

TEST_F(Batch, SeveralProcessesGiveWhatOneGives) {
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R/Kept[4 0 R 5 0 R 6 0 R 7 0 R]>>")
      .obj(2, "<</Type/Pages/Count 1/Kids[3 0 R]/MediaBox[0 0 9 9]>>")
      .obj(3, "<</Type/Page/Parent 2 0 R>>");
  const std::string grey = "/Subtype/Image/Width 40/Height 30/BitsPerComponent 8/ColorSpace/DeviceGray";
  for (int i = 4; i < 7; ++i)
    builder.stream(i, grey, std::string(1200, static_cast<char>('0' + i)));
  builder.stream(7, grey, "cut off");
  write_file(folder / "pictures.pdf", builder.classic().str());
  const auto outcome = [&](const std::string& jobs) {
    const std::string name = "jobs" + jobs;
    const RunResult images = sheaf("images pictures.pdf -d out --jobs " + jobs + " 2>&1; mv out " + name);
    const RunResult small = sheaf("rewrite -q --deterministic-id --compress --recompress 9 --jobs " + jobs +
                                  " pictures.pdf " + name + ".pdf");
    EXPECT_EQ(small.code, 0) << small.output;
    return images.output + sheaf("check " + name + ".pdf --json | sed 's/jobs[0-9]*//'").output;
  };
  EXPECT_EQ(outcome("3"), outcome("1"));
  EXPECT_EQ(run_command("cd " + folder.str() + "; diff -r jobs1 jobs3 && cmp jobs1.pdf jobs3.pdf").code, 0);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / "jobs3"), {}), 4);
}

}  // namespace
