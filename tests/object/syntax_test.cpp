// Reading and printing of PDF syntax: what real writers produce, and that printing loses nothing.
#include <gtest/gtest.h>

#include <random>

#include "object/array.h"
#include "object/dictionary.h"
#include "object/stream_rec.h"
#include "support/test_table.h"

namespace {

TEST(Syntax, ValuesReadAsOtherReadersReadThem) {
  struct Row {
    const char* text;
    const char* printed;
  };
  const Row rows[] = {
      {"  % comment\n 12", "12"},
      {"+17", "17"},
      {"--5", "-5"},
      {"4.", "4.0"},
      {"-.002", "-0.002"},
      {".", "0.0"},
      {"1.2.3", "1.2"},
      {"1e5", "1"},
      {"2147483648", "2147483648.0"},
      {"-2147483648", "-2147483648"},
      {"99999999999999999999.5", "137438953471.99999999"},
      {"true", "true"},
      {"null", "null"},
      {"endobj", "no value"},
      {"]", "no value"},
      {"", "null"},
      {"/Name#20with#41", "/Name#20withA"},
      {"/A#zz#00", "/A#23zz#2300"},
      {"/", "/"},
      {"[/ null / 1/ /A]", "[/ null/ 1//A]"},
      {"(a(b)c)", "(a\\(b\\)c)"},
      {"(\\n\\101\\8\\\r\n\\)x\r\ny)", "(\\nA8\\)x\\ny)"},
      {"(open", "(open)"},
      {"<4 1 4x2 4>", "(AB@)"},
      {"<00FF80>", "<00FF80>"},
      {"12 0 R", "12 0 R"},
      {"12 0 Rx", "12"},
      {"7 0 obj<</A 1>>endobj", "<</A 1>>"},
      {"7 0 obj endobj", "null"},
      {"[1 2 0 R/N(s)[true]null]", "[1 2 0 R/N(s)[true]null]"},
      {"[1 2", "[1 2]"},
      {"[1 foo 2]", "[1 null 2]"},
      {"<</B 1/A 2/B 3>>", "<</A 2/B 3>>"},
      {"<</A/B/C>>", "<</A/B/C null>>"},
      {"<</A 1 2 3/B[4>>", "<</A 1/B[4]>>"},
      {"<</A 5endobj", "<</A 5>>"},
      {"<</A<</B[<</C 1>>]>>>>", "<</A<</B[<</C 1>>]>>>>"},
  };
  for (const Row& row : rows)
    EXPECT_EQ(reprinted(row.text), row.printed) << row.text;
}

TEST(Syntax, TokensMayLieAcrossBuffers) {
  for (const int padding : {1980, 1990, 1995, 1999, 2000, 2001}) {
    const std::string blanks(static_cast<std::size_t>(padding), ' ');
    EXPECT_EQ(reprinted(blanks + "<</Key#41(a\\101b)/Ref 12 0 R/Hex<4142>/Num -1.5>>"),
              "<</Hex(AB)/KeyA(aAb)/Num -1.5/Ref 12 0 R>>")
        << padding;
  }
  const std::string name(5000, 'n');
  EXPECT_EQ(reprinted("/" + name), "/" + name);
}

TEST(Syntax, NestingBeyondTheLimitIsNullAndTheRestStaysReadable) {
  std::string text = "[";
  for (int i = 0; i < 10000; ++i)
    text += "[";
  for (int i = 0; i < 10000; ++i)
    text += "]";
  text += " 42]";
  Freed<CPDFObj> value;
  read_value(value, text);
  ASSERT_NE(value.as_array(), nullptr);
  ASSERT_EQ(value.as_array()->count, 2);
  EXPECT_EQ(value.as_array()->get(1)->as_int(), 42);
}

TEST(Syntax, EveryPrefixOfAGoodInputIsSurvived) {
  const std::string text =
      "5 0 obj\n<</A[1 2 0 R<414>(s\\(\\05)]/B<</C -1.25/D/E#41>>>>\nstream\r\nxyz\nendstream endobj";
  for (std::size_t len = 0; len <= text.size(); ++len)
    reprinted(text.substr(0, len));
  EXPECT_EQ(reprinted(text.substr(0, 30)), "<</A[1 2 0 R(A@)(s\\()]>>");
}

TEST(Syntax, StreamsKnowWhereTheirDataBegin) {
  struct Row {
    const char* line_end;
    int skipped;
  };
  const Row rows[] = {{"\r\n", 2}, {"\n", 1}, {"\r", 1}, {"  \r\n", 4}, {" ", 0}};
  for (const Row& row : rows) {
    const std::string head = "9 0 obj <</Length 3>> stream";
    MemStream file(head + row.line_end + "ABC\nendstream\nendobj\n");
    CPDFBufBase buf;
    buf.buf_init(&file);
    Freed<CPDFObj> value;
    value.read(&buf, nullptr);
    ASSERT_EQ(value.tag, kTagStream);
    EXPECT_EQ(value.as_stream()->offset, head.size() + static_cast<std::size_t>(row.skipped));
    EXPECT_EQ(value.as_stream()->source, &file);
    EXPECT_EQ(value.as_stream()->ref.num, 9);
  }
}

TEST(Syntax, TheBufferStandsOnEndobjBehindAnObject) {
  MemStream file("3 0 obj\n(text)\n  endobj 77");
  CPDFBufBase buf;
  buf.buf_init(&file);
  Freed<CPDFObj> value;
  value.read(&buf, nullptr);
  EXPECT_EQ(std::string(buf.buf_data + buf.buf_pos, 6), "endobj");
  value.read(&buf, nullptr);
  EXPECT_EQ(value.tag, kTagNoValue);
  value.read(&buf, nullptr);
  EXPECT_EQ(value.as_int(), 77);
}

TEST(Syntax, RealsOfEverySizeComeBackToTheBit) {
  std::mt19937_64 random(20261121);
  for (int i = 0; i < 20000; ++i) {
    const QVFIX number = static_cast<QVFIX>(random()) >> (i % 60);
    Freed<CPDFObj> value;
    value.set_real(number);
    const std::string text = TestTable::syntax(value);
    Freed<CPDFObj> again;
    read_value(again, text);
    ASSERT_EQ(again.tag, kTagReal) << text;
    ASSERT_EQ(again.as_real(), number) << text;
    ASSERT_EQ(text.find('e'), std::string::npos) << text;
  }
}

TEST(Syntax, StringsAndNamesOfAnyBytesComeBack) {
  std::mt19937 random(7);
  for (int i = 0; i < 2000; ++i) {
    std::string bytes(static_cast<std::size_t>(i % 40), '\0');
    for (char& c : bytes)
      c = static_cast<char>(random());
    Freed<CPDFObj> value;
    Freed<CPDFObj> again;
    value.set_string(bytes.data(), static_cast<int>(bytes.size()));
    read_value(again, TestTable::syntax(value));
    ASSERT_EQ(std::string(again.as_string().data, static_cast<std::size_t>(again.as_string().len)), bytes);
    bytes.erase(std::remove(bytes.begin(), bytes.end(), '\0'), bytes.end());
    value.set_name(bytes.c_str());
    read_value(again, TestTable::syntax(value));
    ASSERT_STREQ(again.as_name(), bytes.c_str());
  }
}

TEST(Print, StreamsTellTheirTrueLengthEvenIntoTheirOwnFile) {
  MemStream file("0123456789");
  Freed<CPDFObj> value;
  auto* rec = new CPDFStreamRec;
  rec->dict.set_item_ref("Length", {8, 0});
  rec->dict.set_item_name("Type", "X");
  rec->offset = 4;
  rec->length = 50;  // more than there is
  rec->source = &file;
  value.take_stream(rec);
  file.SetPos(CQVStream::STR_SEEK_END, 0);
  PDF_ENC_PARA para{6, 2, 1, nullptr};
  value.write(&file, &para);
  EXPECT_EQ(file.str().substr(10), "6 2 obj\n<</Length 6/Type/X>>\nstream\n456789\nendstream\nendobj\n");
}

TEST(Print, LongContainersBreakIntoLines) {
  std::string text = "[";
  for (int i = 0; i < 200; ++i)
    text += "100 ";
  const std::string printed = reprinted(text + "]");
  std::size_t longest = 0;
  for (std::size_t at = 0; at < printed.size();) {
    const std::size_t end = std::min(printed.find('\n', at), printed.size());
    longest = std::max(longest, end - at);
    at = end + 1;
  }
  EXPECT_LT(longest, 120u);
  EXPECT_EQ(reprinted(printed), printed);
}

TEST(Print, DepthNeedsNoStack) {
  CPDFObj nested{};
  for (int depth = 0; depth < 200'000; ++depth) {
    CPDFObj outer{};
    outer.take_array(new CPDFArray);
    outer.as_array()->append_moved(nested);
    nested.move_from(outer);
  }
  const std::string text = TestTable::syntax(nested);
  EXPECT_EQ(std::count(text.begin(), text.end(), '['), 200'000);
  nested.free();
}

}  // namespace
