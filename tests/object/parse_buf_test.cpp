// The searches of the parse buffers: headers, numbers and the ends of streams.
#include <gtest/gtest.h>

#include "support/test_table.h"

using namespace sheaf;

namespace {

// The position of the header that the strict search finds, or -1.
int header_at(const std::string& text) {
  MemStream file(text);
  CPDFBufBase buf;
  buf.buf_init(&file);
  return buf.buf_skip_to_obj() != nullptr ? static_cast<int>(buf.position()) : -1;
}

TEST(ParseBuf, HeadersAreDistinguishedFromOtherNumbers) {
  EXPECT_EQ(header_at("junk 12 0 obj"), 5);
  EXPECT_EQ(header_at("12 0obj"), 0);
  EXPECT_EQ(header_at("12 0 object"), 0);
  EXPECT_EQ(header_at("12 obj"), -1);
  EXPECT_EQ(header_at("12 0 R"), -1);
  EXPECT_EQ(header_at("12 0" + std::string(40, ' ') + "obj"), -1);
  EXPECT_EQ(header_at(std::string(1995, ' ') + "12 0 obj"), 1995);
  EXPECT_EQ(header_at(std::string("1\0002 0 obj", 10)), -1);
  EXPECT_EQ(header_at(""), -1);
}

TEST(ParseBuf, TheSearchForANumberHasTwoModes) {
  const std::string text = "117 0 obj x 17 0 R 17 0 obj";
  for (const auto& [mode, expected] : {std::pair{1, 19}, std::pair{2, 1}, std::pair{0, 1}}) {
    MemStream file(text);
    CPDFBufBase buf;
    buf.buf_init(&file);
    ASSERT_NE(buf.buf_skip_to_obj({17, 0}, mode), nullptr);
    EXPECT_EQ(buf.position(), static_cast<unsigned>(expected)) << mode;
  }
  MemStream file(text);
  CPDFBufBase buf;
  buf.buf_init(&file);
  EXPECT_EQ(buf.buf_skip_to_obj({99, 0}, 1), nullptr);
}

std::string raw_data(const std::string& text, int& len) {
  MemStream file(text);
  const HeapBlock<char> block(CPDFXRefTable::read_stream_raw_data(&file, len));
  return block && len > 0 ? std::string(block.get(), static_cast<std::size_t>(len)) : "";
}

// Raw data by the rule as it reads: byte by byte, the last eight bytes of the source kept back.
std::string slow_raw_data(const std::string& text, int& len) {
  std::size_t end = text.find("endstream");
  if (end == std::string::npos) {
    len = static_cast<int>(text.size() > 8 ? text.size() - 8 : 0);
    return text.substr(0, static_cast<std::size_t>(len));
  }
  if (end > 0 && text[end - 1] == '\n')
    end -= end > 1 && text[end - 2] == '\r' ? 2 : 1;
  else if (end > 0 && text[end - 1] == '\r')
    --end;
  len = static_cast<int>(end);
  return text.substr(0, end);
}

TEST(ParseBuf, RawDataEndBeforeEndstream) {
  int len = 0;
  EXPECT_EQ(raw_data("abc\r\nendstream endobj", len), "abc");
  EXPECT_EQ(raw_data("abc\n\nendstream endobj", len), "abc\n");
  EXPECT_EQ(raw_data("abc\rendstream endobj", len), "abc");
  EXPECT_EQ(raw_data("abcendstream endobj", len), "abc");
  EXPECT_EQ(raw_data("without an end", len), "withou");
  EXPECT_EQ(len, 6);  // the last eight bytes are kept back
  raw_data("\nendstream endobj", len);
  EXPECT_EQ(len, 0);
  for (std::size_t size = 1980; size < 2020; ++size) {
    for (const char* tail : {"\r\nendstream endobj", "\nendstream", "\rendstream x", "endstrea", "eendstream"}) {
      const std::string text = std::string(size, 'e') + tail;
      int expected = 0;
      EXPECT_EQ(raw_data(text, len), slow_raw_data(text, expected)) << size << tail;
      EXPECT_EQ(len, expected);
    }
  }
  const std::string data(700'000, 'n');
  EXPECT_EQ(raw_data(data + "\nendstream", len), data);
}

TEST(ParseBuf, ALineEndBeforeTheDataMakesTheirLengthNegative) {
  MemStream file("stream\nendstream endobj");
  CPDFBufBase buf;
  buf.buf_init(&file);
  buf.buf_skip(7);
  int len = 0;
  const HeapBlock<char> block(buf.buf_read_stream_raw_data(len));
  EXPECT_TRUE(block);
  EXPECT_EQ(len, -1);
  EXPECT_EQ(buf.position(), 6u);
}

TEST(ParseBuf, TheEndOfTheSourceIsAnEmptyBuffer) {
  MemStream file("abc");
  file.SetPos(CQVStream::STR_SEEK_END, 0);
  CPDFBufBase buf;
  buf.buf_init(&file);
  EXPECT_EQ(buf.buf_len, 0u);
  EXPECT_STREQ(buf.buf_data, "");
  CPDFBufMem memory;
  memory.buf_init_mem("abc", 3);
  char byte = 0;
  EXPECT_EQ(memory.read(&byte, 1), 0);
  EXPECT_EQ(memory.get_stream(), nullptr);
  memory.buf_skip(1000);
  EXPECT_EQ(memory.buf_len, 0u);
}

TEST(ParseBuf, IntegersWrapAndKeepTheirPlace) {
  MemStream file("+12-7x99999999999");
  CPDFBufBase buf;
  buf.buf_init(&file);
  EXPECT_EQ(buf.buf_read_int(), 12);
  EXPECT_EQ(buf.buf_read_int(), -7);
  EXPECT_EQ(buf.buf_read_int(), 0);
  EXPECT_EQ(buf.position(), 5u);
  buf.buf_skip(1);
  EXPECT_EQ(buf.buf_read_int(), 1215752191);
}

}  // namespace
