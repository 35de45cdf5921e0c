// The operators of content streams: what they are, where they are, and what damaged content leaves of them.
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "sheaf/document/content/content_reader.h"
#include "sheaf/document/content/content_writer.h"

namespace sheaf {
namespace {

// Each operator with its operands printed, "!" after those with a fault.
std::vector<std::string> read_all(std::string_view text) {
  std::vector<std::string> found;
  ContentReader reader(text);
  while (reader.next()) {
    ContentWriter out;
    for (std::int32_t i = 0; i < reader.operands().count; ++i)
      out.value(reader.operands().items[i]);
    found.push_back(std::string(out.data(), static_cast<std::size_t>(out.size())) + "|" + std::string(reader.op()));
    if (!reader.image_data().empty())
      found.back() += "|" + std::string(reader.image_data());
    if (reader.fault() != ContentFault::kNone)
      found.back() += "!";
  }
  return found;
}

using Lines = std::vector<std::string>;

TEST(ContentReader, GivesOperatorsWithTheirOperands) {
  EXPECT_EQ(read_all("q 1 0 0 -1 .5 20 cm/Im1 Do Q % done\nBT(a\\)b)'[(x)-20<41>]TJ T* ET"),
            (Lines{"|q", "1 0 0 -1 0.5 20|cm", "/Im1|Do", "|Q", "|BT", "(a\\)b)|'", "[(x)-20(A)]|TJ", "|T*", "|ET"}));
  EXPECT_EQ(read_all("/P <</MCID 0/L[1 2]>>BDC true null 0 0 1 rg"),
            (Lines{"/P <</L[1 2]/MCID 0>>|BDC", "true null 0 0 1|rg"}));
}

// Whoever changes one operator copies the bytes of all others.
TEST(ContentReader, SaysWhereEachOperatorIs) {
  const std::string text = " 1 w\n%c\n(a) Tj  BI /W 1 ID x\nEI\tQ ";
  std::string copy;
  std::size_t last = 0;
  ContentReader reader(text);
  Lines pieces;
  while (reader.next()) {
    copy += text.substr(last, reader.end() - last);
    pieces.push_back(text.substr(reader.begin(), reader.end() - reader.begin()));
    last = reader.end();
  }
  EXPECT_EQ(copy + text.substr(last), text);
  EXPECT_EQ(pieces, (Lines{"1 w", "(a) Tj", "BI /W 1 ID x\nEI", "Q"}));
}

TEST(ContentReader, FindsTheEndOfInlineImages) {
  // Two bytes of samples, which hold an EI of their own.
  EXPECT_EQ(read_all("BI/W 8/H 4/BPC 1/CS/G ID \nEI \nEI Q"), (Lines{"<</BPC 1/CS/G/H 4/W 8>>|BI|\nEI ", "|Q"}));
  EXPECT_EQ(read_all("BI /F /Fl ID a EI \x01\x02 b\nEI\nQ"), (Lines{"<</F/Fl>>|BI|a EI \x01\x02 b", "|Q"}));
  EXPECT_EQ(read_all("BI /F /Fl ID abcEI Q"), (Lines{"<</F/Fl>>|BI|abc", "|Q"}));
  EXPECT_EQ(read_all("BI /W 3 ID abc Q"), (Lines{"<</W 3>>|BI|abc Q!"}));
}

TEST(ContentReader, GoesOnAfterDamage) {
  EXPECT_EQ(read_all("1 ] w } >> q"), (Lines{"1|w!", "|q!"}));
  EXPECT_EQ(read_all("q [1 2"), (Lines{"|q", "[1 2]|!"}));
  EXPECT_EQ(read_all("q 5"), (Lines{"|q", "5|!"}));
  EXPECT_EQ(read_all("BI 5 Q"), (Lines{"<<>>|BI!", "5|Q"}));
  EXPECT_TRUE(read_all("").empty());
}

// Plain operands are passed over, odd ones read: a stray bracket in front makes the reader read all of the first
// operator.
TEST(ContentReader, FindsTheSameWhetherItPassesOperandsOrReadsThem) {
  const char* const kPieces[] = {"1",         "-2.50",
                                 "+3",        "4.",
                                 "--5",       ".",
                                 "6e3",       "7-8",
                                 "0",         "R",
                                 "RG",        "obj",
                                 "(a(b)c",    "(d)",
                                 "(\\)\\(e)", "<41 4>",
                                 "<4obj",     "[",
                                 "]",         "<<",
                                 ">>",        "/N",
                                 "/N#41",     "/",
                                 "true",      "null",
                                 "endobj",    "% c\n",
                                 "BI",        "ID",
                                 "EI",        "TJ",
                                 "[1(a)]",    "<</A 1/B[<</C(])>>]>>",
                                 "[1 0 R]",   "12345678901",
                                 "\0",        "re",
                                 "{",         "w"};
  unsigned state = 1;
  for (int round = 0; round < 4000; ++round) {
    std::string text;
    for (int i = 0; i < 8; ++i) {
      state = state * 1664525U + 1013904223U;
      text += kPieces[(state >> 8) % std::size(kPieces)];
      text += (state >> 4) % 4 != 0 ? " " : "";
    }
    text += " Q ";
    Lines plain = read_all(text);
    Lines careful = read_all("} " + text);
    ASSERT_FALSE(careful.empty());
    ASSERT_EQ(careful[0].back(), '!');
    if (plain[0].back() != '!')
      careful[0].pop_back();
    EXPECT_EQ(plain, careful) << text;
  }
}

TEST(ContentReader, TakesTimeInProportionToTheText) {
  std::string images;
  for (int i = 0; i < 100000; ++i)
    images += "BI ID \x01 xEI\x02 ";
  EXPECT_EQ(read_all(images).size(), 1u);
  images.clear();
  for (int i = 0; i < 100000; ++i)
    images += "BI ID xEI \x02 ";
  EXPECT_EQ(read_all(images).size(), 200000u);
}

}  // namespace
}  // namespace sheaf
