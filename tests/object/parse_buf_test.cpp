// The searches of the parse buffers: headers, numbers and the ends of streams.
#include <gtest/gtest.h>

#include "base/heap.h"
#include "support/test_table.h"

namespace {

// The position of the header that the strict search finds, or -1.
int header_at(const std::string& text) {
  MemStream file(text);
  CPDFBufBase buf;
  buf.buf_init(&file);
  return buf.buf_skip_to_obj() != nullptr ? static_cast<int>(buf.position()) : -1;
}

TEST(ParseBuf, HeadersAreToldFromOtherNumbers) {
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

TEST(ParseBuf, RawDataEndInFrontOfEndstream) {
  int len = 0;
  EXPECT_EQ(raw_data("abc\r\nendstream endobj", len), "abc");
  EXPECT_EQ(raw_data("abc\n\nendstream endobj", len), "abc\n");
  EXPECT_EQ(raw_data("abc\rendstream endobj", len), "abc");
  EXPECT_EQ(raw_data("abcendstream endobj", len), "abc");
  EXPECT_EQ(raw_data("without an end", len), "withou");
  EXPECT_EQ(len, 6);  // the last eight bytes are kept back
  raw_data("\nendstream endobj", len);
  EXPECT_EQ(len, 0);
  for (const std::size_t size : {500u, 512u, 1990u, 1991u, 1992u, 1993u, 2000u, 70000u}) {
    std::string data(size, 'e');
    EXPECT_EQ(raw_data(data + "\r\nendstream endobj", len), data) << size;
  }
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
