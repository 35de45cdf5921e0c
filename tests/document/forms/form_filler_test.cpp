// Filling in forms: what is stored, what is refused and why, and what the appearances show.
#include "sheaf/document/forms/form_filler.h"

#include <gtest/gtest.h>

#include "filled_form.h"
#include "sheaf/document/forms/flattener.h"
#include "support/failing_heap.h"
#include "support/string_stream.h"

namespace {

constexpr char kText[] = "/FT/Tx";

std::string hex(const std::string& text) {
  std::string out;
  for (const char c : text) {
    char digits[3];
    std::snprintf(digits, sizeof(digits), "%02X", static_cast<unsigned char>(c));
    out += digits;
  }
  return "<" + out + ">";
}

// A text of the first plane, as UTF-8, as a string of UTF-16.
std::string utf16(const std::string& text) {
  std::string out = "<FEFF";
  for (std::size_t at = 0; at < text.size();) {
    const auto lead = static_cast<unsigned char>(text[at++]);
    unsigned character = lead >= 0xE0 ? lead & 0x0Fu : lead >= 0xC0 ? lead & 0x1Fu : lead;
    for (; at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80; ++at)
      character = character << 6 | (static_cast<unsigned char>(text[at]) & 0x3Fu);
    char digits[5];
    std::snprintf(digits, sizeof(digits), "%04X", character);
    out += digits;
  }
  return out + ">";
}

TEST(FormFiller, StoresATextAndShowsItInTheFieldsOwnFont) {
  FormMaker maker;
  const int field = maker.field("a.b", kText + std::string("/RV(<p>old</p>)"), "50 700 250 720");
  FilledForm form(maker.str());
  EXPECT_EQ(form.set("a.b", "W\xC3\xB6lf (1)"), PDF_FILL::kDone);
  EXPECT_EQ(form.at(field, "V"), "(W\\366lf \\(1\\))");
  EXPECT_EQ(form.at(field, "RV"), "");
  const std::string look = form.look(field);
  EXPECT_NE(look.find(hex("W\xF6lf (1)") + " Tj"), std::string::npos) << look;
  EXPECT_NE(look.find("/Helv 12 Tf"), std::string::npos) << look;
  EXPECT_NE(look.find("/Tx BMC"), std::string::npos) << look;
  EXPECT_EQ(form.numbers(form.look_of(field).num, "BBox"), "[0 0 200 20]");
  EXPECT_NE(form.at(form.look_of(field).num, "Resources").find("/Helv 6 0 R"), std::string::npos);
}

// Widths of Helvetica: A 667, i 222, space 278 thousandths.
TEST(FormFiller, PlacesTextByItsWidth) {
  FormMaker maker;
  const int centred = maker.field("centred", kText + std::string("/Q 1/DA(/Helv 10 Tf 0 g)"), "0 0 100 20");
  const int right = maker.field("right", kText + std::string("/Q 2/DA(/Helv 10 Tf 0 g)"), "0 0 100 20");
  const int fitted = maker.field("fitted", kText + std::string("/DA(/Helv 0 Tf 0 g)"), "0 0 70.7 200");
  const int comb = maker.field("comb", kText + std::string("/Ff 16777216/MaxLen 4/DA(/Helv 10 Tf 0 g)"), "0 0 80 20");
  FilledForm form(maker.str());
  for (const char* name : {"centred", "right", "comb"})
    EXPECT_EQ(form.set(name, "Ai"), PDF_FILL::kDone);
  EXPECT_EQ(form.set("fitted", "AAAAAAAAAA"), PDF_FILL::kDone);
  EXPECT_NEAR(operand(form.look(centred), "Tm", 2, 0), (100 - 8.89) / 2, 0.001);
  EXPECT_NEAR(operand(form.look(right), "Tm", 2, 0), 100 - 8.89 - 2, 0.001);
  EXPECT_NEAR(operand(form.look(fitted), "Tf", 1, 0), 10, 0.001);  // two points on each side
  EXPECT_NEAR(operand(form.look(comb), "Tm", 2, 0), (20 - 6.67) / 2, 0.001);
  EXPECT_NE(form.look(comb).find(hex("i")), std::string::npos);
}

TEST(FormFiller, BreaksLinesAndShrinksThemUntilTheyFit) {
  FormMaker maker;
  const int fixed = maker.field("fixed", kText + std::string("/Ff 4096/DA(/Helv 10 Tf 0 g)"), "0 0 60 100");
  const int shrunk = maker.field("shrunk", kText + std::string("/Ff 4096/DA(/Helv 0 Tf 0 g)"), "0 0 60 40");
  FilledForm form(maker.str());
  EXPECT_EQ(form.set("fixed", "one two three\r\nfour"), PDF_FILL::kDone);
  const std::string look = form.look(fixed);
  EXPECT_NE(look.find(hex("one two")), std::string::npos) << look;
  EXPECT_NE(look.find(hex("three")), std::string::npos) << look;
  EXPECT_NE(look.find(hex("four")), std::string::npos) << look;
  EXPECT_EQ(form.set("shrunk", "many words that would not fit at the usual size"), PDF_FILL::kDone);
  const double size = operand(form.look(shrunk), "Tf", 1, 0);
  EXPECT_GE(size, 4);
  EXPECT_LT(size, 12);
}

TEST(FormFiller, DrawsBordersAndTurnsWithTheWidget) {
  FormMaker maker;
  const int boxed = maker.field("boxed", kText + std::string("/MK<</BC[1 0 0]/BG[.9]>>/BS<</W 2/S/D/D[4 1]>>"));
  const int turned = maker.field("turned", kText + std::string("/MK<</R 90>>"), "0 0 20 200");
  FilledForm form(maker.str());
  form.set("boxed", "x");
  form.set("turned", "x");
  const std::string look = form.look(boxed);
  EXPECT_NE(look.find("0.9 g\n0 0 200 20 re\nf\n"), std::string::npos) << look;
  EXPECT_NE(look.find("1 0 0 RG\n2 w\n[4 1] 0 d\n1 1 198 18 re\nS\n"), std::string::npos) << look;
  EXPECT_EQ(form.numbers(form.look_of(turned).num, "BBox"), "[0 0 200 20]");
  EXPECT_EQ(form.numbers(form.look_of(turned).num, "Matrix"), "[0 1 -1 0 20 0]");
}

TEST(FormFiller, ChoicesTakeValuesOrShownTexts) {
  FormMaker maker;
  const std::string pairs = "/Opt[[(r)(Red)][(g)(Green)]]";
  const int combo = maker.field("combo", "/FT/Ch/Ff 131072" + pairs);
  const int edit = maker.field("edit", "/FT/Ch/Ff 393216" + pairs);
  const int list = maker.field("list", "/FT/Ch/Ff 2097152/Opt[(One)(Two)(Three)]", "0 0 100 60");
  FilledForm form(maker.str());
  EXPECT_EQ(form.set("combo", "Green"), PDF_FILL::kDone);
  EXPECT_EQ(form.at(combo, "V"), "(g)");
  EXPECT_NE(form.look(combo).find(hex("Green")), std::string::npos);
  EXPECT_EQ(form.set("combo", "Blue"), PDF_FILL::kNotOffered);
  EXPECT_EQ(form.set("edit", "Blue"), PDF_FILL::kDone);
  EXPECT_EQ(form.at(edit, "V"), "(Blue)");
  EXPECT_EQ(form.set_all("combo", {"r", "g"}), PDF_FILL::kOneValue);
  EXPECT_EQ(form.set_all("list", {"Three", "One"}), PDF_FILL::kDone);
  EXPECT_EQ(form.at(list, "V"), "[(Three)(One)]");
  EXPECT_EQ(form.at(list, "I"), "[0 2]");
  const std::string look = form.look(list);
  EXPECT_NE(look.find(hex("Two")), std::string::npos) << look;
  std::size_t marked = 0;
  for (std::size_t at = look.find("re\nf\n"); at != std::string::npos; at = look.find("re\nf\n", at + 1))
    ++marked;
  EXPECT_EQ(marked, 2u) << look;
}

std::string states(const std::string& on) {
  return "/AP<</N<</" + on + " 7 0 R/Off 8 0 R>>>>/AS/Off";
}

TEST(FormFiller, ButtonsGoToTheStateThatAValueNames) {
  FormMaker maker;
  maker.builder().stream(7, "/Subtype/Form/BBox[0 0 9 9]", "").stream(8, "/Subtype/Form/BBox[0 0 9 9]", "");
  const int check = maker.field("check", "/FT/Btn" + states("Ja"));
  const int radio = maker.group("radio", "/FT/Btn/Ff 49152", {states("A"), states("B"), states("A")});
  const int unison = maker.group("unison", "/FT/Btn/Ff 33603584", {states("A"), states("B"), states("A")});
  const int exported = maker.group("exported", "/FT/Btn/Ff 49152/Opt[(one)(two)]", {states("0"), states("1")});
  const int bare = maker.field("bare", "/FT/Btn/MK<</CA(8)/BC[0]>>");
  maker.field("push", "/FT/Btn/Ff 65536/MK<</CA(Go)>>");
  FilledForm form(maker.str());
  for (const char* on : {"Ja", "/Ja", "true", "Yes"}) {
    EXPECT_EQ(form.set("check", "Off"), PDF_FILL::kDone);
    EXPECT_EQ(form.at(check, "AS"), "/Off");
    EXPECT_EQ(form.set("check", on), PDF_FILL::kDone) << on;
    EXPECT_EQ(form.at(check, "V") + form.at(check, "AS"), "/Ja/Ja") << on;
  }
  EXPECT_EQ(form.set("check", "Nein"), PDF_FILL::kNotOffered);
  EXPECT_EQ(form.set("radio", "A"), PDF_FILL::kDone);
  EXPECT_EQ(form.at(radio + 1, "AS") + form.at(radio + 2, "AS") + form.at(radio + 3, "AS"), "/A/Off/Off");
  EXPECT_EQ(form.set("unison", "A"), PDF_FILL::kDone);
  EXPECT_EQ(form.at(unison + 1, "AS") + form.at(unison + 2, "AS") + form.at(unison + 3, "AS"), "/A/Off/A");
  EXPECT_EQ(form.set("exported", "two"), PDF_FILL::kDone);
  EXPECT_EQ(form.at(exported, "V") + form.at(exported + 1, "AS") + form.at(exported + 2, "AS"), "/1/Off/1");
  EXPECT_EQ(form.set("bare", "on"), PDF_FILL::kDone);
  EXPECT_EQ(form.at(bare, "AS"), "/Yes");
  EXPECT_NE(form.look(bare, "Yes"), form.look(bare, "Off"));
  EXPECT_EQ(form.set("push", "x"), PDF_FILL::kPushButton);
}

TEST(FormFiller, SaysWhyAValueIsNotSet) {
  FormMaker maker;
  const std::string lock = "/Lock<</Action/Include/Fields[(locked)]>>";
  const std::string reference =
      "/Reference[<</TransformMethod/FieldMDP/TransformParams<</Action/Exclude/"
      "Fields[(free)(ro)(short)(pw)(open)]>>>>]";
  const int locked = maker.field("locked", kText + std::string("/V(kept)"));
  maker.group("under", kText, {"", ""});
  maker.field("free", kText);
  maker.field("ro", kText + std::string("/Ff 1/V(kept)"));
  maker.field("short", kText + std::string("/MaxLen 3"));
  maker.field("pw", kText + std::string("/Ff 8192"));
  maker.field("sig", "/FT/Sig" + lock + "/V<</Type/Sig" + reference + ">>");
  maker.field("open", "/FT/Sig/Lock<</Action/All>>");  // not signed: locks nothing yet
  FilledForm form(maker.str());
  EXPECT_EQ(form.set("locked", "new"), PDF_FILL::kLocked);
  EXPECT_EQ(form.set("locked", "kept"), PDF_FILL::kUnchanged);
  EXPECT_EQ(form.at(locked, "AP"), "");
  EXPECT_EQ(form.set("under", "x"), PDF_FILL::kLocked);
  EXPECT_EQ(form.set("free", "x"), PDF_FILL::kDone);
  EXPECT_EQ(form.set("ro", "new"), PDF_FILL::kReadOnly);
  EXPECT_EQ(form.set("ro", "kept"), PDF_FILL::kUnchanged);
  form.filler.fill_read_only(true);
  EXPECT_EQ(form.set("ro", "new"), PDF_FILL::kDone);
  EXPECT_EQ(form.set("locked", "new"), PDF_FILL::kLocked);
  EXPECT_EQ(form.set("short", "\xD0\x96\xD0\x96\xD0\x96"), PDF_FILL::kDone);
  EXPECT_EQ(form.set("short", "four"), PDF_FILL::kTooLong);
  EXPECT_EQ(form.set("pw", "x"), PDF_FILL::kPassword);
  EXPECT_EQ(form.set("sig", "x"), PDF_FILL::kSignature);
  EXPECT_EQ(form.set("none", "x"), PDF_FILL::kNoField);
}

TEST(FormFiller, ACertificationThatForbidsChangesIsKept) {
  FormMaker maker;
  maker.field("a", kText);
  maker.catalog_keys = "/Perms<</DocMDP<</Reference[<</TransformMethod/DocMDP/TransformParams<</P 1>>>>]>>>>";
  FilledForm form(maker.str());
  EXPECT_EQ(form.set("a", "x"), PDF_FILL::kCertified);
}

TEST(FormFiller, MakesWhatViewersWereAskedFor) {
  FormMaker maker;
  maker.form_keys = "/NeedAppearances true/XFA[(a)(b)]";
  const int set = maker.field("set", kText);
  const int other = maker.field("other", kText + std::string("/V(there)"));
  const int check = maker.field("check", "/FT/Btn/V/Off");
  FilledForm form(maker.str());
  form.set("set", "x");
  EXPECT_TRUE(form.filler.finish());
  EXPECT_TRUE(form.filler.has_dropped_xfa());
  EXPECT_NE(form.look(set), "");
  EXPECT_NE(form.look(other).find(hex("there")), std::string::npos);
  EXPECT_NE(form.look(check, "Yes"), "");
  const std::string catalog = form.at(1, "AcroForm");
  EXPECT_EQ(catalog.find("NeedAppearances"), std::string::npos) << catalog;
  EXPECT_EQ(catalog.find("XFA"), std::string::npos) << catalog;
}

TEST(FormFiller, FieldsOfOneNameShareTheirValue) {
  FormMaker maker;
  const int first = maker.field("same", kText);
  const int second = maker.field("same", kText, "300 700 400 720");
  FilledForm form(maker.str());
  EXPECT_EQ(form.set("same", "both"), PDF_FILL::kDone);
  EXPECT_EQ(form.at(first, "V") + form.at(second, "V"), "(both)(both)");
  EXPECT_NE(form.look(second), "");
}

TEST(FormFiller, WhatTheOwnFontLacksComesFromTheSystem) {
  FormMaker maker;
  const int field = maker.field("a", kText);
  const int private_use = maker.field("b", kText);
  FilledForm form(maker.str());
  ASSERT_EQ(form.set("a", "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82"), PDF_FILL::kDone);
  if (form.filler.missing_characters() != 0)
    GTEST_SKIP() << "no font with Cyrillic letters is installed";
  EXPECT_EQ(form.at(form.look_of(field).num, "Resources").find("Helv"), std::string::npos);
  EXPECT_EQ(form.set("b", "\xF3\xB0\x80\x80"), PDF_FILL::kDone);  // no font has U+F0000
  EXPECT_EQ(form.filler.missing_characters(), 1);
  EXPECT_NE(form.look(private_use).find(hex("?")), std::string::npos);
  if (!has_program("pdftotext"))
    GTEST_SKIP() << "pdftotext is not installed";
  CPDFFlattener flattener(form.doc);
  ASSERT_TRUE(flattener.run(PDF_FLATTEN::kWidgets));
  const TestFolder folder;
  write_file(folder / "flat.pdf", form.written());
  EXPECT_NE(run_command("pdftotext " + (folder / "flat.pdf") + " -").output.find("Привет"), std::string::npos);
}

// Letters that join, change places or run from right to left: what is shown is read back as what was set.
TEST(FormFiller, SetsTextThatNeedsShaping) {
  const char* const values[] = {"\u0645\u0631\u062D\u0628\u0627", "\u05E9\u05DC\u05D5\u05DD",
                                "\u0928\u092E\u0938\u094D\u0924\u0947", "\u0E20\u0E32\u0E29\u0E32"};
  if (!has_program("pdftotext"))
    GTEST_SKIP() << "pdftotext is not installed";
  for (const char* value : values) {
    const std::string kinds[] = {kText, kText + std::string("/Ff 4096"), "/FT/Ch/Opt[" + utf16(value) + "(x)]"};
    for (const std::string& kind : kinds) {
      FormMaker maker;
      maker.field("a", kind, "0 0 100 60");
      FilledForm form(maker.str());
      ASSERT_EQ(form.set("a", value), PDF_FILL::kDone);
      if (form.filler.missing_characters() != 0)
        continue;  // no font of the script is installed
      CPDFFlattener flattener(form.doc);
      ASSERT_TRUE(flattener.run(PDF_FLATTEN::kWidgets));
      const TestFolder folder;
      write_file(folder / "flat.pdf", form.written());
      EXPECT_NE(run_command("pdftotext " + (folder / "flat.pdf") + " -").output.find(value), std::string::npos)
          << value << kind;
    }
  }
}

// Each character as it is read has a cell of its own, and the first one that is read from right to left is at the
// right.
TEST(FormFiller, CombCellsHoldCharactersWithTheirMarks) {
  const struct {
    const char* value;
    int cells;
  } rows[] = {{"\u05E9\u05DC\u05D5\u05DD", 4}, {"\u0928\u092E\u0938\u094D\u0924\u0947", 4}, {"\u0E01\u0E34\u0E19", 2}};
  for (const auto& row : rows) {
    FormMaker maker;
    const int comb =
        maker.field("comb", kText + std::string("/Ff 16777216/MaxLen 8/Q 2/DA(/Helv 10 Tf 0 g)"), "0 0 80 20");
    FilledForm form(maker.str());
    ASSERT_EQ(form.set("comb", row.value), PDF_FILL::kDone);
    if (form.filler.missing_characters() != 0)
      continue;  // no font of the script is installed
    const std::string look = form.look(comb);
    EXPECT_NEAR(operand(look, "Tm", 2, 0), 80 - 10 * row.cells, 0.001) << look;
  }
}

TEST(FormFiller, RefusedMemoryIsSaidAndLeavesTheDocumentUsable) {
  FormMaker maker;
  maker.form_keys = "/NeedAppearances true";
  maker.field("a", kText);
  maker.field("list", "/FT/Ch/Opt[(One)(Two)]", "0 0 100 60");
  maker.field("check", "/FT/Btn");
  StringStream file(maker.str());
  bool finished = false;
  for (long long n = 1; n < 5000 && !finished; n += n < 200 ? 1 : 17) {
    FailingHeap heap(n);
    CPDFDoc doc;
    if (!doc.open(&file))
      continue;
    CPDFFormFiller filler(doc);
    bool good = filler.load();
    good = good && filler.set("a", "text") == PDF_FILL::kDone;
    good = good && filler.set("list", "Two") == PDF_FILL::kDone;
    good = good && filler.set("check", "on") == PDF_FILL::kDone && filler.finish();
    CPDFFlattener flattener(doc);
    good = flattener.run(PDF_FLATTEN::kWidgets) && good;
    EXPECT_TRUE(good || heap.has_refused()) << n;
    finished = good && !heap.has_refused();
  }
  EXPECT_TRUE(finished);
}

// An embedded composite font says what its map to text has, in codes of two bytes; the rest is the system's.
TEST(FormFiller, SetsTextInACompositeFontOfTheForm) {
  FormMaker maker;
  const int field = maker.field("f", kText + std::string("/Q 2/DA(/Deep 10 Tf 0 g)"), "0 0 100 20");
  maker.fonts = "/Deep 50 0 R";
  maker.builder()
      .obj(50, "<</Subtype/Type0/BaseFont/ABCDEF+Deep/Encoding/Identity-H/DescendantFonts[51 0 R]/ToUnicode 52 0 R>>")
      .obj(51, "<</Subtype/CIDFontType2/BaseFont/ABCDEF+Deep/FontDescriptor 53 0 R/DW 500/W[7[900]8 9 300]>>")
      .stream(52, "",
              "1 begincodespacerange <0000> <FFFF> endcodespacerange 2 beginbfchar <0007> <03A9> <0009> <D83DDE00> "
              "endbfchar 1 beginbfrange <0020> <0022> <0041> endbfrange")
      .obj(53, "<</FontFile2 54 0 R/Ascent 800/Descent -200>>")
      .stream(54, "", "program");
  FilledForm form(maker.str());
  EXPECT_EQ(form.set("f", "B\xCE\xA9\xF0\x9F\x98\x80"), PDF_FILL::kDone);
  const std::string look = form.look(field);
  EXPECT_NE(look.find("/Deep 10 Tf"), std::string::npos) << look;
  EXPECT_NE(look.find("<002100070009> Tj"), std::string::npos) << look;
  EXPECT_NEAR(operand(look, "Tm", 2, 0), 100 - (5 + 9 + 3) - 2, 0.001);
}

// Fields that only the page knows join the form, with what their parents give them; a widget joins its field.
TEST(FormFiller, FindsFieldsThatTheFormDoesNotList) {
  FormMaker maker;
  const int listed = maker.field("listed", kText);
  const int loose = maker.annotation("/Subtype/Widget/FT/Tx/T(loose)/Rect[0 0 90 20]");
  const int below = maker.annotation("/Subtype/Widget/Parent 40 0 R/T(kid)/Rect[0 0 90 20]");
  const int twin = maker.annotation("/Subtype/Widget/Parent " + std::to_string(listed) + " 0 R/Rect[0 0 90 20]");
  maker.builder().obj(40, "<</T(group)/FT/Tx/Kids[" + std::to_string(below) + " 0 R]>>");
  FilledForm form(maker.str());
  EXPECT_EQ(form.set("loose", "one"), PDF_FILL::kDone);
  EXPECT_EQ(form.set("group.kid", "two"), PDF_FILL::kDone);
  EXPECT_EQ(form.set("listed", "three"), PDF_FILL::kDone);
  EXPECT_EQ(form.set("missing", "x"), PDF_FILL::kNoField);
  EXPECT_NE(form.look(loose).find(hex("one")), std::string::npos);
  EXPECT_NE(form.look(below).find(hex("two")), std::string::npos);
  EXPECT_NE(form.look(twin).find(hex("three")), std::string::npos);
  EXPECT_NE(form.at(1, "AcroForm").find(std::to_string(loose) + " 0 R 40 0 R]"), std::string::npos);
}

}  // namespace
