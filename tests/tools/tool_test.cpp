// The command-line tool from outside: exit codes, output, and that inputs are never damaged.
#include <gtest/gtest.h>

#include "support/external_tool.h"
#include "support/pdf_builder.h"

namespace {

struct Tool : testing::Test {
  void SetUp() override {
    PdfBuilder builder;
    builder.pages(2)
        .stream(6, "/Filter/FlateDecode", PdfBuilder::deflated("decoded data"))
        .obj(5, "<</Title(T\\351st)>>");
    builder.classic("/Root 1 0 R/Info 5 0 R/ID[<0A><0B>]");
    good = builder.str();
    write_file(in, good);
  }
  RunResult sheaf(const std::string& arguments) {
    return run_command(std::string(SHEAF_TOOL) + " " + arguments + " 2>&1");
  }
  static bool contains(const RunResult& result, const std::string& text) {
    return result.output.find(text) != std::string::npos;
  }

  TestFolder folder;
  std::string in = folder / "in.pdf";
  std::string out = folder / "out.pdf";
  std::string good;
};

TEST_F(Tool, ReadsInBothForms) {
  const RunResult info = sheaf("info --json " + in);
  EXPECT_EQ(info.code, 0);
  EXPECT_TRUE(contains(info, "\"pages\":2,")) << info.output;
  EXPECT_TRUE(contains(info, "\"Title\":\"T\xC3\xA9st\"")) << info.output;
  EXPECT_TRUE(contains(info, "\"id\":\"0a\"")) << info.output;
  EXPECT_EQ(sheaf("show " + in + " 2").output, "<</Count 2/Kids[3 0 R 4 0 R]/MediaBox[0 0 612 792]/Type/Pages>>\n");
  EXPECT_TRUE(contains(sheaf("show " + in), "/Root 1 0 R"));
  EXPECT_EQ(sheaf("stream " + in + " 6").output, "decoded data");
  EXPECT_EQ(sheaf("stream --raw " + in + " 6").output, PdfBuilder::deflated("decoded data"));
  EXPECT_TRUE(
      contains(sheaf("pages --json " + in), "{\"page\":2,\"object\":4,\"width\":612,\"height\":792,\"rotate\":0}"));
}

TEST_F(Tool, CheckTellsProblemsByObject) {
  const RunResult clean = sheaf("check --json " + in);
  EXPECT_EQ(clean.code, 0);
  EXPECT_EQ(clean.output.substr(clean.output.find("\"status\"")),
            "\"status\":\"clean\",\"pages\":2,\"objects\":6,\"streams\":1,\"decoded_bytes\":12,\"problems\":[],"
            "\"repairs\":[]}\n");
  PdfBuilder empty;  // a stream may hold nothing
  empty.pages(1).stream(4, "/Filter/FlateDecode", PdfBuilder::deflated("")).stream(5, "", "").classic();
  write_file(out, empty.str());
  EXPECT_EQ(sheaf("check " + out).code, 0);
  PdfBuilder bad;
  bad.pages(1).stream(4, "/Filter/NoSuch", "x").stream(5, "/Filter/FlateDecode", "no deflate data").classic();
  write_file(out, bad.str());
  const RunResult problems = sheaf("check --json " + out);
  EXPECT_EQ(problems.code, 1);
  EXPECT_TRUE(contains(problems, "{\"object\":4,\"what\":\"no decoder for /NoSuch\"}")) << problems.output;
  EXPECT_TRUE(contains(problems, "{\"object\":5,")) << problems.output;
  write_file(out, "%PDF-1.4 nothing");
  EXPECT_EQ(sheaf("check " + out).code, 2);
}

// Clean means that all that is referred to was found, and that every stream came to its end.
TEST_F(Tool, CheckAndRepairTellWhatIsLost) {
  PdfBuilder bad;
  bad.obj(1, "<</Type/Catalog/Pages 2 0 R/Lost 5 0 R/Free 7 0 R/Cut 6 0 R>>")
      .obj(2, "<</Type/Pages/Count 1/Kids[3 0 R]>>");
  bad.obj(3, "<</Type/Page/Parent 2 0 R/Contents 4 0 R>>").stream(4, "", "BT ET").obj(5, "<</There false>>");
  const std::string whole = PdfBuilder::deflated(std::string(3000, 'x') + "some other text at the end");
  bad.stream(6, "/Filter/FlateDecode", whole.substr(0, whole.size() - 20));
  bad.stream(8, "/Filter/FlateDecode", whole.substr(0, whole.size() - 4)).classic();  // without its checksum
  std::string bytes = bad.str();
  bytes.replace(bytes.find("5 0 obj"), 7, "5 0 xxx");
  write_file(in, bytes);
  const RunResult check = sheaf("check --json " + in);
  EXPECT_EQ(check.code, 1);
  EXPECT_TRUE(contains(check, "\"problems\":[{\"object\":6,\"what\":\"stream data end before")) << check.output;
  EXPECT_TRUE(contains(check, "},{\"object\":5,\"what\":\"is referred to")) << check.output;
  EXPECT_FALSE(contains(check, "\"object\":7")) << check.output;
  EXPECT_FALSE(contains(check, "\"object\":8")) << check.output;
  const RunResult repair = sheaf("repair " + in + " " + out);
  EXPECT_EQ(repair.code, 1);
  EXPECT_TRUE(contains(repair, "object 5: is referred to")) << repair.output;
  EXPECT_TRUE(contains(repair, "object 6: stream data end")) << repair.output;

  write_file(in, good.substr(0, good.rfind("startxref")));
  EXPECT_EQ(sheaf("repair " + in + " " + out).code, 1);
  EXPECT_EQ(sheaf("check " + out).code, 0);
  EXPECT_EQ(sheaf("repair " + out + " " + in).code, 0);  // nothing to do
  write_file(in, good.substr(0, good.rfind("startxref")));
  const RunResult info = sheaf("info --json " + in);
  EXPECT_EQ(info.code, 1);
  EXPECT_TRUE(contains(info, "\"repairs\":[{\"code\":\"startxref\",\"object\":0,\"offset\":0,\"action\":"))
      << info.output;
}

// Also those commands say what was healed that give no verdict on their input, and no update is taken for damage.
TEST_F(Tool, CommandsSayThatTheirInputWasHealed) {
  std::string bytes = PdfBuilder().pages(2).classic().str();
  const std::size_t entry = bytes.find(" 00000 n", bytes.find("xref\n"));
  bytes[entry - 1] = bytes[entry - 1] == '1' ? '2' : '1';
  write_file(in, bytes);
  for (const char* command : {"pages ", "annots ", "json "})
    EXPECT_TRUE(contains(sheaf(command + in), "was healed while it was read")) << command;
  EXPECT_EQ(sheaf("merge " + out + " " + in).code, 1);
  EXPECT_EQ(sheaf("rewrite " + in + " " + out).code, 1);
  EXPECT_EQ(sheaf("pages " + out).code, 0);
  ASSERT_EQ(sheaf("update " + out + " --in-place --set Title=x --attach " + in).code, 0);
  EXPECT_EQ(sheaf("check " + out).code, 0);  // the rewritten file's section does not list itself
}

TEST_F(Tool, GenerationsAreAskedForAndFound) {
  PdfBuilder builder;
  builder.pages(1).obj(5, "(text)", 3).classic();
  write_file(in, builder.str());
  EXPECT_EQ(sheaf("show " + in + " 5").output, "(text)\n");
  EXPECT_EQ(sheaf("show " + in + " 5 3").output, "(text)\n");
  const RunResult wrong = sheaf("show " + in + " 5 1");
  EXPECT_EQ(wrong.code, 2);
  EXPECT_TRUE(contains(wrong, "object 5 has generation 3, not 1")) << wrong.output;
}

TEST_F(Tool, MessagesNameTheFileAndTheWayOut) {
  for (const char* arguments : {"info missing.pdf", "show missing.pdf 3", "rewrite missing.pdf x.pdf", "frobnicate"}) {
    const RunResult result = sheaf(arguments);
    EXPECT_EQ(result.code, 2) << arguments;
    EXPECT_FALSE(result.output.empty());
  }
  EXPECT_TRUE(contains(sheaf("info missing.pdf"), "missing.pdf: cannot be opened"));
  EXPECT_TRUE(contains(sheaf("stream " + in + " 2"), "object 2 is no stream"));
  EXPECT_TRUE(contains(sheaf("show " + in + " 99"), "object 99 does not exist"));
}

TEST_F(Tool, InputsAreNeverWrittenOver) {
  EXPECT_EQ(sheaf("rewrite " + in + " " + in).code, 2);
  EXPECT_EQ(sheaf("update " + in + " -o " + in + " --set Title=x").code, 2);
  EXPECT_EQ(sheaf("update " + in + " --set Title=x").code, 2);
  EXPECT_EQ(sheaf("update " + in + " -o " + out + " --attach " + (folder / "missing")).code, 2);
  EXPECT_EQ(sheaf("update " + in + " -o " + out + " --set Colour=x").code, 2);
  EXPECT_EQ(read_file(in), good);
  EXPECT_FALSE(std::filesystem::exists(out));
}

TEST_F(Tool, UpdatesGoAfterTheOldContent) {
  for (const char* form : {"--classic", "--stream", "--seal --saves 3"}) {
    ASSERT_EQ(sheaf("update " + in + " -o " + out + " --set Title=Neu --attach " + in + " " + form).code, 0) << form;
    EXPECT_EQ(read_file(out).substr(0, good.size()), good);
    EXPECT_TRUE(contains(sheaf("info " + out), "Neu")) << form;
    EXPECT_EQ(sheaf("check " + out).code, 0) << form;
    if (has_program("qpdf")) {
      EXPECT_EQ(run_command("qpdf --check " + out + " 2>&1 | grep -v 'one plus' | grep -c WARNING").output, "0\n");
      EXPECT_TRUE(contains(run_command("qpdf --list-attachments " + out + " 2>&1"), "in.pdf")) << form;
    }
  }
  EXPECT_EQ(sheaf("update " + in + " --in-place --set Title=Inside").code, 0);
  EXPECT_EQ(read_file(in).substr(0, good.size()), good);
  EXPECT_TRUE(contains(sheaf("info " + in), "Inside"));
}

TEST_F(Tool, RewritesAreTheSameWhenAskedTo) {
  ASSERT_EQ(sheaf("rewrite --deterministic-id " + in + " " + out).code, 0);
  const std::string first = read_file(out);
  ASSERT_EQ(sheaf("rewrite --deterministic-id " + in + " " + out).code, 0);
  EXPECT_EQ(read_file(out), first);
  EXPECT_EQ(sheaf("check " + out).code, 0);
  write_file(in, good.substr(0, good.rfind("xref\n0")));
  const RunResult repair = sheaf("repair " + in + " " + out);
  EXPECT_EQ(repair.code, 1);
  EXPECT_TRUE(contains(repair, "healed (")) << repair.output;
  EXPECT_EQ(sheaf("check " + out).code, 0);
}

// The nodes count them, but other readers stumble over them.
TEST_F(Tool, KidsThatAreNoPagesAreAProblemAndRepaired) {
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R>>").obj(2, "<</Type/Pages/Kids[3 0 R 4 0 R null 9 0 R 5]/Count 5>>");
  builder.obj(3, "<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]>>").obj(4, "(no page)").classic();
  write_file(in, builder.str());
  const RunResult check = sheaf("check " + in);
  EXPECT_EQ(check.code, 1);
  EXPECT_TRUE(contains(check, "1 pages")) << check.output;
  EXPECT_TRUE(contains(check, "object 2: the page tree lists 4 things that are no pages")) << check.output;
  const RunResult repair = sheaf("repair " + in + " " + out);
  EXPECT_EQ(repair.code, 1);
  EXPECT_TRUE(contains(repair, "healed (pages): 4")) << repair.output;
  EXPECT_EQ(sheaf("check " + out).code, 0);
  if (has_program("qpdf")) {
    EXPECT_EQ(run_command("qpdf --check " + out + " 2>&1").code, 0);
  }
}

TEST_F(Tool, EncryptionIsKeptUnlessItIsTakenOff) {
  const std::string other = folder / "other.pdf";
  ASSERT_EQ(sheaf("rewrite --encrypt aes256 --user-password u --owner-password o " + in + " " + out).code, 0);
  EXPECT_EQ(sheaf("rewrite " + out + " " + other).code, 2);
  EXPECT_EQ(sheaf("rewrite --pdfa --password u " + out + " " + other).code, 2);  // PDF/A is never encrypted
  EXPECT_FALSE(std::filesystem::exists(other));
  EXPECT_TRUE(contains(sheaf("show --password nope " + out + " 5"), "the password is wrong"));
  write_file(folder / "pw", "u\n");
  ASSERT_EQ(sheaf("rewrite --password-file " + (folder / "pw") + " " + out + " " + other).code, 0);
  EXPECT_TRUE(contains(sheaf("info --password o " + other), "AES-256"));
  EXPECT_TRUE(contains(sheaf("info --password o " + other), "owner password"));
  if (has_program("qpdf")) {
    EXPECT_EQ(run_command("qpdf --check --password=u " + other + " 2>&1").code, 0);
    EXPECT_NE(run_command("qpdf --check --password=x " + other + " 2>&1").code, 0);
  }
  ASSERT_EQ(sheaf("rewrite --decrypt --password u " + other + " " + out).code, 0);
  EXPECT_TRUE(contains(sheaf("info " + out), "Encrypted      no"));
}

TEST_F(Tool, NewDocumentsAndTheVerdictOnTheirFrame) {
  ASSERT_EQ(sheaf("new " + out + " --set Author=Me").code, 0);
  EXPECT_TRUE(contains(sheaf("pdfa " + out), "no output intent"));
  ASSERT_EQ(sheaf("new " + out + " --pdfa --set Author=Me").code, 0);
  EXPECT_EQ(sheaf("pdfa " + out).code, 0);
  EXPECT_TRUE(contains(sheaf("pdfa " + out), "claim PDF/A-1B"));
  const std::string made = folder / "made.pdf";
  for (const std::string& command :
       {"update " + in + " --set Title=x -o " + made, "rewrite " + in + " " + made, "merge " + made + " " + in}) {
    ASSERT_EQ(sheaf(command).code, 0) << command;
    EXPECT_TRUE(contains(sheaf("pdfa " + made), "no metadata")) << command;
    ASSERT_EQ(sheaf(command + " --pdfa").code, 0) << command;
    EXPECT_TRUE(contains(sheaf("pdfa " + made), "1 of them for PDF/A")) << command;
    EXPECT_TRUE(contains(sheaf("pdfa " + made), "claim PDF/A-1B")) << command;
  }
  EXPECT_EQ(sheaf("pdfa " + in).code, 0);
  write_file(in, PdfBuilder("%PDF-1.4\n").pages(1).classic().str());
  EXPECT_EQ(sheaf("pdfa " + in).code, 1);
  EXPECT_TRUE(contains(sheaf("info " + out), "Author         Me"));
}

}  // namespace
