// Objects that are printed from their text: the same as by way of values, for whatever is taken at all.
#include <gtest/gtest.h>

#include <random>

#include "sheaf/base/scope_guard.h"
#include "sheaf/object/plain_object.h"
#include "sheaf/object/references.h"
#include "sheaf/object/security.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

const char* const kScalars[] = {"/Name",  "/A.b-c",   "12",     "-3",         "1.50",      "-0.5",   "0.0625",
                                "007",    "5 0 R",    "12 3 R", "(a b)",      "(a\\)b)",   "(x(y))", "(\n)",
                                "<4142>", "<4 1\n4>", "true",   "false",      "null",      "/A#41",  "()",
                                ".5",     "+4",       "12.",    "1234567890", "3 12 0  R", "0 0"};
const char* const kFaults[] = {"<<", ">>", "[",     "]",   "(",   "<4x>",   "0 R", "5 0 Rx",   "% c\n", "<\n<",
                               "/",  "{",  "nullx", "--1", "1e5", "endobj", "obj", "stream\n", "\xE9",  ")"};

class Maker {
public:
  explicit Maker(unsigned seed) : random_(seed) {}
  unsigned below(std::size_t count) { return static_cast<unsigned>(random_() % count); }

  std::string value(unsigned depth) {
    const unsigned kind = depth == 0 ? 2 : below(4);
    if (kind > 1)
      return kScalars[below(std::size(kScalars))];
    std::string text = kind == 0 ? "[" : "<<";
    for (unsigned left = below(6); left > 0; --left) {
      if (kind == 1)
        text += gap() + "/K" + std::to_string(below(9));
      text += (below(9) == 0 ? "\n" : " ") + value(depth - 1);
    }
    return text + gap() + (kind == 0 ? "]" : ">>");
  }
  std::string with_fault(std::string text) {
    return text.insert(below(text.size() + 1), kFaults[below(std::size(kFaults))]);
  }

private:
  std::string gap() { return below(2) == 0 ? "" : " "; }

  std::mt19937 random_;
};

std::string printed_by_values(const std::string& text, bool& is_stream) {
  MemStream file(text);
  CPDFBufBase buf;
  buf.buf_init(&file);
  Freed<CPDFObj> value;
  value.read(&buf, nullptr);
  is_stream = value.as_stream() != nullptr;
  CQVStreamMem out;
  PDF_ENC_PARA para{7, 2, 1, nullptr};
  value.write(&out, &para);
  return {reinterpret_cast<const char*>(out.data), out.len};
}

// Empty when the object was refused.
std::string printed_plainly(const std::string& text) {
  MemStream file(text);
  CPDFBufBase buf;
  buf.buf_init(&file);
  PlainObject object;
  if (!object.read(buf))
    return {};
  CQVStreamMem out;
  object.print(&out, 7, 2);
  return {reinterpret_cast<const char*>(out.data), out.len};
}

std::string references_of(const std::string& text) {
  MemStream file(text);
  CPDFBufBase buf;
  buf.buf_init(&file);
  ReferenceList found;
  read_references(buf, found);
  std::string numbers;
  for (const std::int32_t num : found)
    numbers += std::to_string(num) + " ";
  return numbers + "with " + std::to_string(text.size() - buf.position()) + " left";
}

TEST(PlainObject, PrintsAndRefersAsValuesDo) {
  constexpr int kTurns = 20000;
  Maker maker(7);
  int taken = 0;
  for (int turn = 0; turn < kTurns; ++turn) {
    std::string body = maker.value(4);
    if (turn % 2 != 0)
      body = maker.with_fault(body);
    const std::string text = "7 0 obj\n" + body + "\nendobj\n";
    bool is_stream = false;
    const std::string expected = printed_by_values(text, is_stream);
    const std::string printed = printed_plainly(text);
    if (!printed.empty()) {
      ++taken;
      ASSERT_FALSE(is_stream) << text;
      ASSERT_EQ(printed, expected) << text;
    }
    // A comment is left to the reader of tokens.
    ASSERT_EQ(references_of(text), references_of("7 0 obj %\n" + text.substr(8))) << text;
  }
  EXPECT_GT(taken, kTurns / 10);
}

TEST(PlainObject, IsNotTakenFromHalfABuffer) {
  for (std::size_t size = CPDFBuf::kFill - 60; size < CPDFBuf::kFill + 10; ++size) {
    const std::string text = "7 0 obj[" + std::string(size, ' ') + "12 0 R true 3]endobj";
    bool is_stream = false;
    const std::string printed = printed_plainly(text);
    EXPECT_TRUE(printed.empty() || printed == printed_by_values(text, is_stream)) << size;
    EXPECT_EQ(references_of(text), "12 with 6 left") << size;
  }
}

TEST(PlainObject, LongOnesAndThoseNotSoundAreRefused) {
  const std::string many(300, '[');
  for (const char* body : {"<</A 1/A 2>>", "<</Length 5>>stream\n", "<</A/B#20>>", "<</A 1", "5", "<</A 1>>%\n"})
    EXPECT_EQ(printed_plainly(std::string("7 0 obj") + body + "endobj"), "") << body;
  EXPECT_EQ(printed_plainly("7 0 obj" + many + std::string(300, ']') + "endobj"), "");
  EXPECT_NE(printed_plainly("7 0 obj<</B(x)/A[1 0 R]>>endobj"), "");
}

}  // namespace
