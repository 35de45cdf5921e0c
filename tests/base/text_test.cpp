// Numbers and wide text.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "sheaf/base/number_text.h"
#include "sheaf/base/wide_text.h"

using namespace sheaf;

namespace {

TEST(NumberText, ReadsSignsAndWrapsIn32Bits) {
  EXPECT_EQ(ansi_to_i32("123 0 obj"), 123);
  EXPECT_EQ(ansi_to_i32("-42"), -42);
  EXPECT_EQ(ansi_to_i32("+7"), 7);
  EXPECT_EQ(ansi_to_i32("obj"), 0);
  EXPECT_EQ(ansi_to_i32("4294967297"), 1);
}

TEST(NumberText, PrintsTheWholeRange) {
  char text[kNumberTextSize];
  EXPECT_EQ(ansi_from_i32(text, INT_MIN), 11);
  EXPECT_STREQ(text, "-2147483648");
  EXPECT_EQ(ansi_from_u32(text, UINT_MAX), 10);
  EXPECT_STREQ(text, "4294967295");
  ansi_from_i32(text, 0);
  EXPECT_STREQ(text, "0");
}

TEST(WideText, Utf8CharactersAreDecodedAndBadOnesRefused) {
  struct Row {
    const char* bytes;
    wchar_t code;
    int used;
  };
  const Row rows[] = {
      {"A", L'A', 1},         {"\xC3\xA9", 0xE9, 2}, {"\xF0\x9F\x98\x80", 0x1F600, 4}, {"\xC0\x80", 0, 1},
      {"\xED\xA0\x80", 0, 3}, {"\xE2\x82", 0, 2},    {"\xF5\x80\x80\x80", 0, 1},       {"", 0, 1}};
  for (const Row& row : rows) {
    wchar_t code = 1;
    EXPECT_EQ(cvt_char_UTF8_To_UCS4(reinterpret_cast<const unsigned char*>(row.bytes), code), row.used) << row.bytes;
    EXPECT_EQ(code, row.code) << row.bytes;
  }
}

TEST(WideText, LocalBytesAreCutAtTheBoundAndStandForThemselvesWhenNoUtf8) {
  wchar_t wide[4];
  cvt_ltou("\xC3\xA9\xFFxyz", wide, 4);
  EXPECT_EQ(std::wstring(wide), std::wstring(L"\u00E9\u00FFx"));
  EXPECT_EQ(ucs_len(wide), 3u);
  EXPECT_EQ(ucs_len(nullptr), 0u);
}

}  // namespace
