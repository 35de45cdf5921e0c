// sheaf fill, sheaf flatten and what sheaf fields gives them: the journeys of a form through the tool.
#include <gtest/gtest.h>

#include "support/external_tool.h"
#include "support/form_maker.h"

namespace {

std::string form() {
  FormMaker maker;
  maker.builder().stream(7, "/Subtype/Form/BBox[0 0 9 9]", "").stream(8, "/Subtype/Form/BBox[0 0 9 9]", "");
  maker.field("name", "/FT/Tx");
  maker.field("kind", "/FT/Ch/Ff 131072/Opt[[(r)(Red)][(g)(Green)]]", "50 650 250 670");
  maker.field("list", "/FT/Ch/Ff 2097152/Opt[(One)(Two)(Three)]", "50 550 250 600");
  maker.field("agrees", "/FT/Btn/AP<</N<</Ja 7 0 R/Off 8 0 R>>>>/AS/Off", "300 700 320 720");
  maker.field("fixed", "/FT/Tx/Ff 1/V(kept)", "300 650 400 670");
  return maker.str();
}

class FillCommand : public testing::Test {
protected:
  void SetUp() override { write_file(folder / "in.pdf", form()); }
  RunResult run(const std::string& rest) { return run_command(std::string(SHEAF_TOOL) + " " + rest + " 2>&1"); }
  std::string path(const std::string& name) { return folder / name; }
  std::string values(const std::string& name) { return run("fields " + path(name)).output; }

  TestFolder folder;
};

const char kAllSet[] = " --set 'name=Zo\xC3\xAB (1)' --set kind=Green --set list=One --set list=Three --set agrees=yes";

TEST_F(FillCommand, WhatFieldsPrintFillsAnotherCopyAlike) {
  ASSERT_EQ(run("fill " + path("in.pdf") + " " + path("a.pdf") + kAllSet).code, 0);
  const std::string wanted = values("a.pdf");
  EXPECT_NE(wanted.find("kind = g"), std::string::npos) << wanted;
  EXPECT_NE(wanted.find("agrees = /Ja"), std::string::npos) << wanted;
  for (const std::string kind : {"json", "fdf", "xfdf"}) {
    ASSERT_EQ(run("fields --" + kind + " " + path("a.pdf") + " > " + path("data")).code, 0);
    const RunResult filled = run("fill " + path("in.pdf") + " " + path("b.pdf") + " --data " + path("data"));
    EXPECT_EQ(filled.code, 0) << kind << filled.output;
    EXPECT_EQ(values("b.pdf"), wanted) << kind << read_file(path("data"));
  }
  write_file(path("data"),
             "{\"name\": \"Zo\\u00eb (1)\", \"kind\": \"g\", \"list\": [\"One\", \"Three\"], \"agrees\": true}");
  EXPECT_EQ(run("fill " + path("in.pdf") + " " + path("b.pdf") + " --data " + path("data")).code, 0);
  EXPECT_EQ(values("b.pdf"), wanted);
}

TEST_F(FillCommand, TellsWhatWasNotSetAndWritesTheRest) {
  const RunResult some = run("fill " + path("in.pdf") + " " + path("a.pdf") + " --set fixed=x --set name=Ann");
  EXPECT_EQ(some.code, 1);
  EXPECT_NE(some.output.find("field fixed was not set: the field is read-only"), std::string::npos) << some.output;
  EXPECT_NE(values("a.pdf").find("name = Ann"), std::string::npos);
  for (const std::string bad : {"--set nobody=x", "--set noequals", "--data /nowhere", ""}) {
    const RunResult none = run("fill " + path("in.pdf") + " " + path("none.pdf") + " " + bad);
    EXPECT_EQ(none.code, 2) << bad;
    EXPECT_FALSE(std::filesystem::exists(path("none.pdf"))) << bad;
  }
  for (const std::string data : {"{\"a\": ", "<xfdf", "%FDF-1.2", "[1]", "{\"a\": \"\\ud800\"}"}) {
    write_file(path("data"), data);
    EXPECT_EQ(run("fill " + path("in.pdf") + " " + path("none.pdf") + " --data " + path("data")).code, 2) << data;
  }
}

TEST_F(FillCommand, FieldsSayWhatTheyTake) {
  const std::string json = run("fields --json " + path("in.pdf")).output;
  for (const std::string part : {"\"kind\":\"combo box\",\"flags\":[],\"offers\":[{\"value\":\"r\",\"text\":\"Red\"}",
                                 "\"kind\":\"check box\",\"flags\":[],\"offers\":[{\"value\":\"Ja\"}]",
                                 "\"flags\":[\"read-only\",\"any-text\"]", "\"flags\":[\"several\"]"})
    EXPECT_NE(json.find(part), std::string::npos) << part << json;
}

// Every cipher: what was filled in and drawn is there for those who have the password, and for them only.
TEST_F(FillCommand, EncryptedFormsStayEncrypted) {
  if (!has_program("pdftotext") || !has_program("qpdf"))
    GTEST_SKIP() << "pdftotext or qpdf is not installed";
  for (const std::string cipher : {"aes256", "aes128", "rc4"}) {
    ASSERT_NE(
        run("rewrite " + path("in.pdf") + " " + path("enc.pdf") + " --encrypt " + cipher + " --user-password u").code,
        2);
    ASSERT_EQ(run("fill --password u " + path("enc.pdf") + " " + path("filled.pdf") + kAllSet).code, 0);
    ASSERT_EQ(run("flatten --password u " + path("filled.pdf") + " " + path("flat.pdf")).code, 0);
    EXPECT_EQ(run_command("qpdf --password=u --check " + path("flat.pdf") + " 2>&1").code, 0) << cipher;
    EXPECT_NE(run_command("qpdf --check " + path("flat.pdf") + " 2>&1").code, 0) << cipher;
    const std::string text = run_command("pdftotext -upw u " + path("flat.pdf") + " -").output;
    for (const char* value : {"Zo\xC3\xAB (1)", "Green", "Three", "kept"})
      EXPECT_NE(text.find(value), std::string::npos) << cipher << value << text;
  }
}

// The widgets' appearances and the pages' content show the same pixels.
TEST_F(FillCommand, FlatteningChangesNoPixel) {
  ASSERT_EQ(run("fill --read-only --set fixed=kept " + path("in.pdf") + " " + path("a.pdf") + kAllSet).code, 0);
  ASSERT_EQ(run("flatten " + path("a.pdf") + " " + path("b.pdf")).code, 0);
  EXPECT_EQ(run("fields " + path("b.pdf")).output, "");
  const std::pair<const char*, std::string> programs[] = {
      {"pdftoppm", "pdftoppm -r 50 %.pdf > %.ppm"},
      {"mutool", "mutool draw -q -r 50 -o %.ppm %.pdf"},
      {"gs", "gs -q -dBATCH -dNOPAUSE -sDEVICE=ppmraw -r50 -o %.ppm %.pdf"}};
  int shown = 0;
  for (const auto& [program, command] : programs) {
    if (!has_program(program))
      continue;
    ++shown;
    for (const char* name : {"a", "b"}) {
      std::string line = command;
      for (std::size_t at = line.find('%'); at != std::string::npos; at = line.find('%'))
        line.replace(at, 1, path(name));
      run_command(line + " 2>/dev/null");
    }
    const std::string before = read_file(path("a.ppm"));
    EXPECT_GT(before.size(), 1000u) << program;
    EXPECT_TRUE(before == read_file(path("b.ppm"))) << program;
  }
  if (shown == 0)
    GTEST_SKIP() << "no program that draws pages is installed";
}

}  // namespace
