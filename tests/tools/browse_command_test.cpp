// sheaf browse: what is in the page's data, of documents of several kinds. The page itself is tried in a browser.
#include <gtest/gtest.h>

#include "support/external_tool.h"
#include "support/jp2_maker.h"
#include "support/pdf_builder.h"

namespace {

struct BrowseCommand : testing::Test {
  std::string browse(const std::string& bytes, int code, const std::string& options = "") {
    write_file(folder / "in.pdf", bytes);
    const RunResult run = run_command(std::string(SHEAF_TOOL) + " browse '" + (folder / "in.pdf") + "' -o '" +
                                      (folder / "out.html") + "' " + options + " 2>&1");
    EXPECT_EQ(run.code, code) << run.output;
    return read_file(folder / "out.html");
  }
  static void expect(const std::string& page, const std::vector<std::string>& texts) {
    for (const std::string& text : texts)
      EXPECT_NE(page.find(text), std::string::npos) << text;
  }
  TestFolder folder;
};

TEST_F(BrowseCommand, EncryptedTextIsReadableAndFilesWithoutAKeyAreRefused) {
  PdfBuilder builder;
  builder.pages(1).obj(4, "<</Title(a plain title)>>").stream(5, "", "BT (plain words) Tj ET");
  builder.obj(3, "<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]/Contents 5 0 R/Note 4 0 R>>").classic();
  write_file(folder / "plain.pdf", builder.str());
  ASSERT_EQ(run_command(std::string(SHEAF_TOOL) + " rewrite '" + (folder / "plain.pdf") + "' '" +
                        (folder / "locked.pdf") + "' --encrypt aes256 --user-password u")
                .code,
            0);
  const std::string locked = read_file(folder / "locked.pdf");
  const std::string page = browse(locked, 0, "--password u");
  expect(page, {"/Title (a plain title)", "(plain words) Tj", ", encrypted, sound"});
  std::remove((folder / "out.html").c_str());
  EXPECT_EQ(browse(locked, 2), "");
}

TEST_F(BrowseCommand, OlderVersionsInObjectStreamsAndDamageAreShown) {
  PdfBuilder builder;
  builder.obj(2, "<</Type/Pages/Count 1/Kids[3 0 R]/MediaBox[0 0 9 9]>>")
      .object_stream(8, {{1, "<</Type/Catalog/Pages 2 0 R>>"}, {3, "<</Type/Page/Parent 2 0 R>>"}, {4, "(old words)"}})
      .xref_stream(9);
  builder.object_stream(10, {{4, "(new words)"}, {3, "<</Type/Page/Parent 2 0 R/Also 4 0 R>>"}}).xref_stream(11);
  const std::string page = browse(builder.str(), 0);
  const std::size_t old = page.find("\"text\":\"(old words)\"");
  const std::size_t current = page.find("\"current\":true,\"text\":\"(new words)\"");
  EXPECT_LT(old, current);
  EXPECT_NE(current, std::string::npos);
  expect(page, {"\"holder\":8", "\"type\":\"members\"", "\"type\":\"entries\""});
  const std::string bytes = builder.str();
  const std::string damaged = browse(bytes.substr(0, bytes.rfind("endstream") - 20), 1);
  expect(damaged, {"was rebuilt", "\"repairs\":[["});
}

TEST_F(BrowseCommand, PicturesOfJpxDataLeaveOutWhatIsNoColour) {
  const std::string jpx = make_jp2(30, 20, {.components = 4}, [](int c, int x, int) { return c == 3 ? 0 : x * 8; });
  if (jpx.empty())
    GTEST_SKIP() << "OpenJPEG made no image";
  PdfBuilder builder;
  builder.pages(1)
      .stream(4, "/Type/XObject/Subtype/Image/Width 30/Height 20/SMaskInData 1/Filter/JPXDecode", jpx)
      .stream(5, "/Type/XObject/Subtype/Image/Width 31/Height 20/Filter/JPXDecode", jpx)
      .classic();
  const std::string page = browse(builder.str(), 0);
  const std::size_t picture = page.find("\"type\":\"picture\"");
  ASSERT_NE(picture, std::string::npos);
  EXPECT_LT(picture, page.find("\"n\":5"));
  EXPECT_EQ(page.find("\"type\":\"picture\"", picture + 1), std::string::npos);  // its data are of another width
}

TEST_F(BrowseCommand, ThePageStaysBelowItsBound) {
  PdfBuilder builder;
  builder.pages(1);
  for (int num = 4; num < 400; ++num)
    builder.stream(num, "", std::string(9000, 'x'));
  builder.classic();
  const std::string page = browse(builder.str(), 0, "--most 1MiB");
  EXPECT_LE(page.size(), std::size_t{1} << 20);
  expect(page, {"\"n\":399", "\"cut\":true", "\"left_out\":0"});
  EXPECT_EQ(run_command(std::string(SHEAF_TOOL) + " browse '" + (folder / "in.pdf") + "' --most 9 2>&1").code, 2);
}

}  // namespace
