// Reading and printing of PDF syntax: what real writers produce, and that printing loses nothing.
#include <gtest/gtest.h>

#include <random>

#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/references.h"
#include "sheaf/object/security.h"
#include "support/failing_heap.h"
#include "support/same_value.h"
#include "support/test_table.h"

using namespace sheaf;

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
      {"2147483648", "2147483648"},
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
      {"[<41 424\nendobj 8 0 obj<43>", "[(AB@)]"},
      {"12 0 R", "12 0 R"},
      {"12 0 Rx", "12"},
      {"12 99999999999 R", "12 2147483647 R"},
      {"-99999999999999999999", "-137438953472"},
      {"0.00-35", "0.0035"},
      {"5endobj", "5"},
      {"7 0 obj<</A 1>>endobj", "<</A 1>>"},
      {"7 0 obj endobj", "null"},
      {"7 0 obj ] endobj", "null"},
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

// Reads references without making values; the numbers, and the place of the buffer after them.
std::string references_of(const std::string& text) {
  MemStream file(text);
  CPDFBufBase buf;
  buf.buf_init(&file);
  ReferenceList found;
  std::string numbers = read_references(buf, found) == kTagNoValue ? "no value " : "";
  for (const std::int32_t num : found)
    numbers += std::to_string(num) + " ";
  return numbers + "to " + std::to_string(buf.position());
}

TEST(Syntax, ReferencesAreFoundWhereValuesHoldThem) {
  struct Row {
    const char* text;
    const char* found;
  };
  const Row rows[] = {
      {"12 0 R ", "12 to 6"},
      {"7 0 obj 12 0 R endobj", "12 to 15"},
      {"[1 0 R(2 0 R \\) 3 0 R)<4>/5 6 0 R] 7 0 R", "1 6 to 34"},
      {"<</A 1 0 R/B[<</C 2 0 R>>3 0 R 4]/D(x)/E/5#20 0 R/F 6 0 R>>", "1 2 3 6 to 59"},
      {"<</A 1 0 R 2 0 R/B 3 0 R>>", "1 3 to 26"},
      {"<</A[1 0 R<</B 2 0 R>>", "1 2 to 22"},
      {"[1 0 R foo 2 0 R endobj", "1 2 to 17"},
      {"endobj 1 0 R", "no value to 6"},
      {"% 1 0 R\n2 0 R", "2 to 13"},
  };
  for (const Row& row : rows)
    EXPECT_EQ(references_of(row.text), row.found) << row.text;
  // Nested deeper than values are made, and then level again.
  const std::string deep = "[" + std::string(600, '[') + "1 0 R" + std::string(600, ']') + "2 0 R]";
  EXPECT_EQ(references_of(deep), "2 to " + std::to_string(deep.size()));
}

TEST(Syntax, TokensMayLieAcrossBuffers) {
  const std::string text =
      "<</Key#41(a\\101b\\\r\n()c)/Ref 12 0 R/Hex<41 42>/Num -1.50e3/Odd +--1.2.3/T true% no\r/N/Y#%>\n>>";
  const std::string printed = "<</Hex(AB)/KeyA(aAb\\(\\)c)/N/Y#23/Num -1.5/Odd -1.2/Ref 12 0 R/T true>>";
  for (std::size_t padding = CPDFBuf::kFill - text.size(); padding <= CPDFBuf::kFill; ++padding)
    ASSERT_EQ(reprinted(std::string(padding, ' ') + text), printed) << padding;
  // Tokens longer than the buffer, and a reference that is spread as far.
  for (const std::size_t size : {1997u, 1998u, 1999u, 2000u, 4001u, 70000u}) {
    const std::string run(size, 'n');
    EXPECT_EQ(reprinted("/" + run), "/" + run);
    EXPECT_EQ(reprinted("(" + run + ")"), "(" + run + ")");
    EXPECT_EQ(reprinted("[<" + std::string(size, '4') + ">]").size(), (size + 1) / 2 + 4);
    EXPECT_EQ(reprinted("[" + run + " 1]"), "[null 1]");
    EXPECT_EQ(reprinted(std::string(size, '0') + "7"), "7");
  }
  EXPECT_EQ(reprinted("[1 12" + std::string(900, ' ') + "3" + std::string(900, ' ') + "R 4]"), "[1 12 3 R 4]");
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

TEST(Syntax, DictionariesOfManyKeysAreReadAtOnce) {
  std::string text = "<<";
  for (int i = 100'000; i > 0; --i)
    text += "/Key" + std::to_string(i) + " " + std::to_string(i) + "\n";
  Freed<CPDFObj> value;
  read_value(value, text + "/Key7 /Last>>");
  ASSERT_NE(value.as_dict(), nullptr);
  EXPECT_EQ(value.as_dict()->count, 100'000);
  EXPECT_TRUE(value.as_dict()->get_item("Key7")->is_name("Last"));
  EXPECT_EQ(value.as_dict()->get_item("Key99999")->as_int(), 99'999);
}

TEST(Syntax, EveryPrefixOfAGoodInputGivesAValueThatPrints) {
  const std::string text =
      "5 0 obj\n<</A[1 2 0 R<414>(s\\(\\05)]/B<</C -1.25/D/E#41>>>>\nstream\r\nxyz\nendstream endobj";
  for (std::size_t len = 0; len <= text.size(); ++len) {
    const std::string printed = reprinted(text.substr(0, len));
    EXPECT_EQ(reprinted(printed), printed) << len;
  }
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

TEST(Syntax, TheBufferIsAtEndobjAfterAnObject) {
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
  // A word of no meaning is passed; at the end of the data the keyword stays in the buffer.
  const std::string bodies[] = {"[1 endobj", "endobj", "what endobj", std::string(3000, 'x') + " endobj"};
  for (const std::string& body : bodies) {
    MemStream other("3 0 obj " + body);
    buf.buf_init(&other);
    value.read(&buf, nullptr);
    EXPECT_EQ(std::string(buf.buf_data + buf.buf_pos), "endobj");
    value.read(&buf, nullptr);
    EXPECT_EQ(value.tag, kTagNoValue);
    value.read(&buf, nullptr);
    EXPECT_EQ(value.tag, kTagNull);
  }
}

TEST(Syntax, RealsOfEverySizeComeBackWithoutAnExponent) {
  std::mt19937_64 random(7);
  for (int i = 0; i < 20000; ++i) {
    const QVFIX number = static_cast<QVFIX>(random()) >> (i % 60);
    Freed<CPDFObj> value;
    value.set_real(number);
    const std::string text = TestTable::syntax(value);
    Freed<CPDFObj> again;
    read_value(again, text);
    ASSERT_EQ(again.as_real(), number) << text;
    ASSERT_EQ(text.find_first_not_of("-.0123456789"), std::string::npos) << text;
  }
}

// An integer of more than 31 bits is held as a real, and other readers take no offset with a fraction.
TEST(Syntax, IntegersBeyond31BitsKeepTheirForm) {
  for (const char* text : {"2147483647", "2147483648", "-2147483648", "-2147483649", "4294967295", "137438953471"})
    EXPECT_EQ(reprinted(text), text);
  EXPECT_EQ(reprinted("4294967296.5"), "4294967296.5");
  EXPECT_EQ(reprinted("7.0"), "7.0");
}

// A value of any kind, in containers of a few items, from a fixed sequence.
void make_any(CPDFObj& value, std::mt19937_64& random, int depth) {
  std::string bytes(random() % 40, 0);
  for (char& c : bytes)
    c = static_cast<char>(random() % 3 == 0 ? random() : 'a' + random() % 26);
  const auto number = static_cast<std::int32_t>(random() >> (32 + random() % 32));
  switch (random() % (depth > 0 ? 9 : 7)) {
    case 1:
      return value.set_bool(number & 1);
    case 2:
      return value.set_int(number);
    case 3:
      return value.set_real(static_cast<QVFIX>(random()) >> random() % 60);
    case 4:
      return value.set_string(bytes.data(), static_cast<int>(bytes.size()));
    case 5:
      return value.set_name(bytes.c_str());
    case 6:
      return value.set_ref({number & INT32_MAX, static_cast<std::int32_t>(random() % 65536)});
    case 7:
      value.take_array(new CPDFArray);
      for (int i = static_cast<int>(random() % 8); i > 0; --i) {
        CPDFObj element{};
        make_any(element, random, depth - 1);
        value.as_array()->append_moved(element);
      }
      return;
    case 8:
      value.take_dict(new CPDFDictionary);
      for (int i = static_cast<int>(random() % 8); i > 0; --i) {
        CPDFObj item{};
        make_any(item, random, depth - 1);
        value.as_dict()->move_item(bytes.substr(0, static_cast<std::size_t>(i)).c_str(), item);
      }
      return;
    default:
      return value.free();
  }
}

TEST(Syntax, ValuesOfAnyKindComeBackToTheBit) {
  std::mt19937_64 random(20261121);
  for (int i = 0; i < 5000; ++i) {
    Freed<CPDFObj> value;
    Freed<CPDFObj> again;
    Freed<CPDFObj> copy;
    make_any(value, random, i % 6);
    const std::string text = TestTable::syntax(value);
    read_value(again, text);
    ASSERT_TRUE(same_value(value, again)) << text;
    copy.copy_from(&value);
    ASSERT_TRUE(same_value(value, copy)) << text;
  }
  for (const QVFIX number : {INT64_MIN, INT64_MAX, QVFIX{1}, QVFIX{-1}, kFixOne - 1, kFixHalf}) {
    Freed<CPDFObj> value;
    Freed<CPDFObj> again;
    value.set_real(number);
    read_value(again, TestTable::syntax(value));
    EXPECT_TRUE(same_value(value, again)) << number;
  }
}

TEST(Syntax, AnyRefusedBlockGivesASmallerValueAndNoLeak) {
  // Keys, names, nesting and strings enough to need blocks of each kind.
  std::string text = "7 0 obj [";
  for (int i = 0; i < 20; ++i)
    text += "<</K" + std::to_string(i) + "[/N(s)";
  text += "(" + std::string(3000, 's') + ")<" + std::string(3000, '4') + ">/" + std::string(3000, 'n') + "#41";
  for (int i = 0; i < 20; ++i)
    text += "]/L/M>>";
  text += "] endobj";
  Freed<CPDFObj> whole;
  read_value(whole, text);
  bool refused = true;
  for (int request = 1; refused; ++request) {
    FailingHeap heap(request);
    {
      Freed<CPDFObj> value;
      Freed<CPDFObj> copy;
      read_value(value, text);
      copy.copy_from(&value);
      refused = heap.has_refused();
      if (!refused) {
        EXPECT_TRUE(same_value(value, whole));
        EXPECT_TRUE(same_value(copy, whole));
      }
    }
    EXPECT_EQ(heap.held, 0) << request;
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

// Adds 1 to each byte, and puts "<" in front and ">" after.
struct ShiftingEncrypt : CPDFEncrypt {
  int get_enc_size(int len) override { return len + 2; }
  void encrypt_string(int num, int gen, const unsigned char* src, int len, unsigned char* dst, int* out) override {
    encrypt_data(num, gen, src, len, dst, out);
  }
  bool encrypts_stream(int, int, const CPDFDictionary* dict) override { return dict->get_item("Clear") == nullptr; }
  void encrypt_data(int num, int gen, const unsigned char* src, int len, unsigned char* dst, int* out) override {
    int size = begin_stream(num, gen, dst);
    size += next_piece(src, len, dst + size);
    *out = size + end_stream(dst + size);
  }
  int get_stream_size(int len) override { return len + 2; }
  int begin_stream(int num, int, unsigned char* dst) override {
    EXPECT_EQ(num, 6);
    *dst = '<';
    return 1;
  }
  int next_piece(const unsigned char* src, int len, unsigned char* dst) override {
    for (int i = 0; i < len; ++i)
      dst[i] = static_cast<unsigned char>(src[i] + 1);
    return len;
  }
  int end_stream(unsigned char* dst) override {
    *dst = '>';
    return 1;
  }
};

// A stream object with a body of `size` bytes at the start of the file that it is printed to.
void print_long_body(int size, bool clear) {
  std::string body(static_cast<std::size_t>(size), '\0');
  std::string coded;
  for (std::size_t i = 0; i < body.size(); ++i) {
    body[i] = static_cast<char>('a' + i % 23);
    coded += static_cast<char>(body[i] + 1);
  }
  MemStream file(body);
  file.SetPos(CQVStream::STR_SEEK_END, 0);
  Freed<CPDFObj> value;
  auto* rec = new CPDFStreamRec;
  rec->dict.set_item_str("Text", "abc", 3);
  rec->dict.set_item_int("Length", size);  // the record itself leaves the length open
  if (clear)
    rec->dict.set_item_bool("Clear", 1);
  rec->source = &file;
  value.take_stream(rec);
  ShiftingEncrypt encrypt;
  PDF_ENC_PARA para{6, 0, 1, &encrypt};
  value.write(&file, &para);
  const std::string length = "/Length " + std::to_string(clear ? size : size + 2) + "/Text(<bcd>)>>\nstream\n";
  const std::string end = "\nendstream\nendobj\n";
  EXPECT_EQ(file.str().substr(body.size()),
            clear ? "6 0 obj\n<</Clear true" + length + body + end : "6 0 obj\n<<" + length + "<" + coded + ">" + end);
}

TEST(Print, StringsAndLongBodiesAreEncryptedInPieces) {
  for (const bool clear : {false, true}) {
    for (const int size : {50'000, 300'001})
      print_long_body(size, clear);
  }
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
