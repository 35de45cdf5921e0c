// Objects by number: where they live, how misplaced ones are found, and the table's growth.
#include <gtest/gtest.h>

#include <memory>

#include "sheaf/filters/stream_filter.h"
#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/object/references.h"
#include "support/pdf_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

// A classic file of one page with object 5, whose entry is off by `error` bytes.
std::string misplaced(int error) {
  PdfBuilder builder;
  builder.pages(1).obj(4, "(four)").obj(5, "(first five)").raw("5 0 obj (second five) endobj\n");
  const std::string good = builder.classic().str();
  char from[16];
  char to[16];
  std::snprintf(from, sizeof(from), "%010zu", builder.offset_of(5));
  std::snprintf(to, sizeof(to), "%010zu", builder.offset_of(5) + static_cast<std::size_t>(error));
  std::string bytes = good;
  bytes.replace(bytes.find(from), 10, to);
  return bytes;
}

struct Opened : TestTable {
  explicit Opened(const std::string& bytes) : TestTable(bytes) {
    const std::size_t at = bytes.rfind("startxref\n");
    table.XRefRead(static_cast<unsigned>(std::stoul(bytes.substr(at + 10))));
  }
};

TEST(Access, AMisplacedObjectIsFoundAndItsEntryCorrectedOnce) {
  Opened a_little_low(misplaced(-5));
  EXPECT_EQ(a_little_low.object(5), "(first five)");
  EXPECT_EQ(a_little_low.object(5), "(first five)");
  EXPECT_EQ(a_little_low.table.repaired_count, 1u);
  EXPECT_EQ(a_little_low.table.xref_items[5].type, 3u);
  EXPECT_EQ(a_little_low.table.xref_items[5].gen, -1);
  ASSERT_EQ(a_little_low.table.repairs.size(), 1u);
  EXPECT_EQ(a_little_low.table.repairs[0].num, 5);

  Opened far_low(misplaced(-30));  // the table is stale: the last copy of the object is the one
  EXPECT_EQ(far_low.object(5), "(second five)");

  Opened high_on_letters(misplaced(4));  // lands on "obj": searched for from 16 bytes in front
  EXPECT_EQ(high_on_letters.object(5), "(first five)");
}

TEST(Access, MissingObjectsAndReferenceCyclesAreNull) {
  PdfBuilder builder;
  builder.pages(1).obj(4, "5 0 R").obj(5, "4 0 R").obj(6, "6 0 R").obj(7, "8 0 R").obj(8, "(target)").classic();
  Opened t(builder.str());
  EXPECT_EQ(t.object(4), "null");
  EXPECT_EQ(t.object(6), "null");
  EXPECT_EQ(t.object(7), "(target)");
  EXPECT_EQ(t.object(99), "null");
  EXPECT_EQ(t.object(-1), "null");
}

TEST(Access, AnItemOfTheOutputItselfCanBeResolved) {
  PdfBuilder builder;
  builder.obj(1, "(the target)").classic("");
  TestTable t(builder.str());
  t.table.XRefRead(static_cast<unsigned>(builder.last_section()));
  for (const char* array : {"[1 0 R]", "[(the target)]"}) {
    Freed<CPDFObj> obj;
    read_value(obj, array);
    t.table.resolve(obj, obj.as_array()->get(0));
    EXPECT_STREQ(obj.as_text(), "the target");
  }
}

TEST(Access, ObjectStreamsAreReadInSequenceAndKept) {
  PdfBuilder builder;
  builder.pages(1).object_stream(9, {{4, "(four)"}, {5, "<</A 6 0 R>>"}, {6, "6"}, {7, "stray [7]"}}).xref_stream(10);
  Opened t(builder.str());
  EXPECT_EQ(t.object(4), "(four)");
  EXPECT_EQ(t.object(5), "<</A 6 0 R>>");
  EXPECT_EQ(t.object(6), "6");
  EXPECT_EQ(t.object(7), "[7]");
  EXPECT_EQ(t.table.objstm_count, 1u);
  t.table.xref_items[7].gen = 44;  // beyond "N"
  EXPECT_EQ(t.object(7), "null");
}

TEST(Access, ReferencesOfCompressedObjectsNeedNoObjects) {
  PdfBuilder builder;
  builder.pages(1).object_stream(
      9, {{4, "[5 0 R(1 0 R)<</A 6 0 R>>]"}, {5, "5 % 1 0 R"}, {6, "stray 7 0 R"}, {7, "<</A[4 0 R 4 0 R]>>"}});
  Opened t(builder.xref_stream(10).str());
  const auto found = [&t](std::int32_t num) {
    ReferenceList list;
    t.table.get_references(list, num);
    return std::vector<std::int32_t>(list.begin(), list.end());
  };
  using List = std::vector<std::int32_t>;
  // The same before and after values took the place of the text.
  for (const bool objects : {false, true, true}) {
    EXPECT_EQ(found(4), (List{5, 6}));
    EXPECT_EQ(found(5), List{});
    EXPECT_EQ(found(6), List{7});
    EXPECT_EQ(found(7), (List{4, 4}));
    EXPECT_EQ(t.table.objstm_cache[0].objs != nullptr, objects);
    EXPECT_EQ(t.table.objstm_budget.held, t.table.objstm_cache[0].held());
    EXPECT_EQ(t.object(6), "<</A[4 0 R 4 0 R]>>");  // what it leads to
    t.table.get_objstm(t.table.xref_items[9].offset, 9, 0);
  }
  t.table.xref_items[7].gen = 44;  // beyond "N"
  EXPECT_EQ(found(7), List{});
}

TEST(Access, ObjectStreamsBeyondTheBudgetAreReleasedAndDecodedAgain) {
  constexpr int kStreams = 40;
  PdfBuilder builder;
  builder.pages(1);
  for (int i = 0; i < kStreams; ++i)
    builder.object_stream(10 + i, {{100 + i, "[" + std::to_string(i) + " (" + std::string(1000, 'x') + ")]"}});
  Opened t(builder.xref_stream(99).str());
  t.table.objstm_budget.limit = 16 * 1024;
  const auto asked = [&](int i) { return t.object(100 + i).substr(0, 4); };
  for (int i = 0; i < kStreams; ++i) {
    EXPECT_EQ(asked(i), ("[" + std::to_string(i) + "(xx").substr(0, 4));
    EXPECT_LE(t.table.objstm_budget.held, t.table.objstm_budget.limit);
  }
  EXPECT_EQ(t.table.objstm_count, static_cast<std::uint32_t>(kStreams));
  EXPECT_EQ(t.table.objstm_budget.reloaded, 0);
  EXPECT_EQ(asked(0), "[0(x");
  EXPECT_GT(t.table.objstm_budget.reloaded, 0);
  // Read criss-cross for long, the document keeps them all and decodes none any more.
  for (int round = 0; round < 8; ++round) {
    for (int i = 0; i < kStreams; ++i)
      asked(i);
  }
  const std::int64_t reloaded = t.table.objstm_budget.reloaded;
  for (int i = 0; i < kStreams; ++i)
    asked(i);
  EXPECT_EQ(t.table.objstm_budget.reloaded, reloaded);
  EXPECT_EQ(t.table.objstm_count, static_cast<std::uint32_t>(kStreams));
}

TEST(Access, LengthsThatLeadInACircleEnd) {
  PdfBuilder builder;
  builder.pages(1).obj(4, "<</Length 5 0 R>>\nstream\nx\nendstream").obj(5, "<</Length 4 0 R>>\nstream\nx\nendstream");
  Opened t(builder.classic().str());
  t.table.lengths.checked = true;
  EXPECT_EQ(t.object(4).substr(0, 9), "<</Length");
}

TEST(Access, FalseLengthsAreTakenToTheEndOfTheStreamWhenAskedTo) {
  const std::string body(40'000, 'd');
  const auto stated = [&](const char* length, bool checks) {
    PdfBuilder builder;
    builder.pages(1).obj(4, "<</Length " + std::string(length) + ">>\nstream\n" + body + "\r\nendstream");
    Opened t(builder.obj(5, "99999999").classic().str());
    t.table.lengths.checked = checks;
    std::size_t sizes[2] = {};
    for (std::size_t& size : sizes) {
      Freed<CPDFObj> obj;
      t.table.get_entity(obj, {4, 0});
      const std::unique_ptr<CPDFStream> decoder(t.table.make_stream(obj.as_stream()));
      int len = 0;
      const HeapBlock<unsigned char> data(decoder->buffer_load(1 << 20, len));
      size = static_cast<std::size_t>(len);
    }
    EXPECT_EQ(sizes[0], sizes[1]);
    EXPECT_EQ(t.table.lengths.size(), t.table.repairs.size());
    return sizes[0];
  };
  EXPECT_EQ(stated("12", false), 12u);
  EXPECT_EQ(stated("12", true), body.size());
  EXPECT_EQ(stated("5 0 R", true), body.size());
  EXPECT_EQ(stated("40002", true), body.size() + 2);  // the line end counted in: "endstream" follows
  EXPECT_EQ(stated("40000", true), body.size());
}

TEST(Access, ObjectStreamsThatLieEndInNull) {
  const std::string numbers = "4 0 ";
  for (const char* keys :
       {"/Type/ObjStm/N 2000000000/First 4", "/Type/ObjStm/N -1/First 4", "/Type/ObjStm/N 1/First 2000000000",
        "/Type/ObjStm/N 1/First -4", "/Type/ObjStm/N 1/First 4/Length 9 0 R", "/Filter/Unknown/N 1/First 4"}) {
    PdfBuilder builder;
    builder.pages(1).obj(9, "<<" + std::string(keys) + ">>\nstream\n" + numbers + "(four)\nendstream");
    builder.xref_stream(10);
    Opened t(builder.str());
    t.table.xref_items[4] = {2, 9, 0};
    t.object(4);
    t.table.xref_items[4] = {2, 4, 0};  // a member of itself
    EXPECT_EQ(t.object(4), "null") << keys;
  }
}

TEST(Access, NewObjectsGetSlotsAndNumbers) {
  TestTable t("");
  PDF_NEWOBJ* slot = t.table.get_xref2(255, 0);
  ASSERT_NE(slot, nullptr);
  EXPECT_EQ(t.table.xref_count, 256u);
  slot->obj.set_int(7);
  EXPECT_EQ(t.table.get_xref2(255, 5), slot);  // the same slot; the generation is not looked at
  EXPECT_EQ(t.table.new_obj_count, 1u);
  t.table.get_xref2(256, 0);
  EXPECT_EQ(t.table.xref_count, 512u);
  EXPECT_EQ(t.object(255), "7");
  t.table.next_obj_num = 900;
  EXPECT_EQ(t.table.alloc_obj_num(), 900);
  EXPECT_EQ(t.table.next_obj_num, 901u);
  t.table.XRefFree();
  t.table.XRefFree();
  EXPECT_EQ(t.table.xref_count, 0u);
  EXPECT_EQ(t.table.next_obj_num, 901u);  // kept for the caller to reset
}

TEST(Access, AnEnvironmentIsCopiedAndReleasedWithTheTable) {
  auto* env = new CPDFEnviroment;
  TestTable t("");
  t.table.set_envirment(env, "tagged");
  EXPECT_NE(t.table.env, env);
  EXPECT_EQ(t.table.cmap_cache.env, t.table.env);
  EXPECT_EQ(t.table.get_cmap("no such map"), nullptr);
  t.table.set_envirment(env, "again");
  t.table.XRefFree();
  EXPECT_EQ(t.table.env, nullptr);
  CPDFEnviroment::destroy(env);
}

TEST(Recovery, TheLastHeaderOfANumberWins) {
  PdfBuilder builder;
  builder.pages(1).obj(7, "(old)").obj(7, "(new)").raw("trailer\n<</Root 1 0 R/Size 8>>\n");
  TestTable t(builder.str());
  EXPECT_EQ(t.table.XRefCreate(), 1);
  EXPECT_EQ(t.object(7), "(new)");
  EXPECT_EQ(t.table.repaired_count, 4u);
  EXPECT_EQ(t.table.next_obj_num, 256u);
  EXPECT_EQ(t.table.XRefCreate(), 1);
  EXPECT_EQ(t.table.repaired_count, 0u);  // all entries were of that kind already
}

TEST(Recovery, WhatHasNoTrailerOrNoRootIsRefused) {
  PdfBuilder no_trailer;
  no_trailer.pages(1);
  EXPECT_EQ(TestTable(no_trailer.str()).table.XRefCreate(), 0);
  EXPECT_EQ(TestTable(no_trailer.str() + "trailer 5").table.XRefCreate(), 0);
  EXPECT_EQ(TestTable(no_trailer.str() + "trailer <</Size 3>>").table.XRefCreate(), 0);
  EXPECT_EQ(TestTable("trailer <</Root 1 0 R>>").table.XRefCreate(), 0);
  EXPECT_EQ(TestTable(no_trailer.str() + "trailer <</Root 1 0 R").table.XRefCreate(), 1);
}

TEST(Recovery, ALoneHeaderCannotMakeTheTableHuge) {
  const std::string lone = "2000000 0 obj (x) endobj trailer <</Root 1 0 R>>";
  TestTable of_a_few_bytes(lone);
  of_a_few_bytes.table.XRefCreate();
  EXPECT_EQ(of_a_few_bytes.table.xref_count, 0u);
  TestTable of_a_page(lone + std::string(4000, ' '));
  of_a_page.table.XRefCreate();
  EXPECT_EQ(of_a_page.table.xref_count, 2000128u);
  TestTable billions("2147483647 0 obj (x) endobj 1 0 obj (y) endobj trailer <</Root 1 0 R>>");
  billions.table.XRefCreate();
  EXPECT_EQ(billions.table.xref_count, 256u);
}

TEST(Recovery, AnObjectWithoutAnEndSwallowsWhatFollows) {
  TestTable t("1 0 obj (a) 2 0 obj (b) endobj 3 0 obj (c) endobj trailer <</Root 1 0 R>>");
  EXPECT_EQ(t.table.XRefCreate(), 1);
  EXPECT_EQ(t.object(2), "null");
  EXPECT_EQ(t.object(3), "(c)");
}

TEST(TextStrings, ConvertByTheirMark) {
  TestTable t("");
  const auto convert = [&t](const std::string& bytes, int max) {
    const PDF_String text{static_cast<std::int32_t>(bytes.size()), const_cast<char*>(bytes.c_str())};
    wchar_t out[64];
    t.table.cvt_text_to_ucs(&text, out, max);
    return std::wstring(out);
  };
  EXPECT_EQ(convert("a\tb\rc\x92", 64), L"a b\rc\u2122");
  EXPECT_EQ(convert(std::string("\xFE\xFF\xD8\x3D\xDE\x00\x00", 7), 64),
            (std::wstring{wchar_t(0xD83D), wchar_t(0xDE00)}));
  EXPECT_EQ(convert("\xFE\xFF", 64), L"");
  EXPECT_EQ(convert("abc", 2), L"a");
  EXPECT_EQ(convert("abc", 1), L"");
  EXPECT_EQ(convert("a\x7F\x9F\xAD"
                    "b",
                    64),
            L"a\uFFFD\uFFFD\uFFFDb");  // bytes without a character
  t.table.utf8_strings = 1;
  EXPECT_EQ(convert("\xC3\xA9x\xFFy", 64), L"\u00E9x");
}

}  // namespace
