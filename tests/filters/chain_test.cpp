// From a stream's record to its decoded bytes: the raw data, parameters, chains and their bounds.
#include <gtest/gtest.h>

#include <string>

#include "filters/filter_support.h"
#include "sheaf/document/content/content_text.h"
#include "sheaf/filters/decode_parms.h"
#include "sheaf/filters/flate.h"
#include "sheaf/object/security.h"
#include "support/pdf_builder.h"

using namespace sheaf;

namespace {

// A file of objects that the table found by its rebuild.
class Chain : public testing::Test {
protected:
  void open(const std::string& objects) {
    text_ = "%PDF-1.7\n1 0 obj<</Type/Catalog>>endobj\n" + objects + "\ntrailer<</Root 1 0 R>>\n";
    file_.Open(text_.data(), static_cast<int>(text_.size()));
    table_.stream = &file_;
    ASSERT_EQ(table_.XRefCreate(), 1);
  }

  // The decoded bytes of a record over `raw`; "null" when there is no decoder.
  std::string run(const std::string& raw, std::string_view dict, int length = -1) {
    std::string kept = raw;
    CQVStreamMemFix source;
    source.Open(kept.data(), static_cast<int>(kept.size()));
    const Value value(dict);
    CPDFStreamRec rec;
    rec.dict.copy_from(value.as_dict());
    rec.source = &source;
    rec.plain = plain_;
    rec.length = length >= 0 ? length : static_cast<int>(raw.size());
    const StreamPtr decoder(table_.make_stream(&rec));
    rec.dict.clear();
    return decoder == nullptr ? "null" : read_all(*decoder);
  }

  std::string run_object(int num) {
    Freed<CPDFObj> obj;
    table_.get_entity(obj, {num, 0});
    const StreamPtr decoder(table_.make_stream(obj.as_stream()));
    return decoder == nullptr ? "null" : read_all(*decoder);
  }

  std::int32_t plain_ = 1;
  std::string text_;
  CQVStreamMemFix file_;
  CPDFXRefTable table_;
};

TEST_F(Chain, LengthComesFromTheRecordThenTheDictionaryThenTheEnd) {
  const std::string raw = "some bytes\nendstream\nendobj";
  EXPECT_EQ(run(raw, "<</Length 3>>", 4), "some");
  EXPECT_EQ(run(raw, "<</Length 3>>", 0), "som");
  EXPECT_EQ(run(raw, "<<>>", 0), "some bytes");
  EXPECT_EQ(run(raw, "<</Length 3.0>>", 0), "some bytes");
  EXPECT_EQ(run(raw, "<</Length 0>>", 0), "null");
  EXPECT_EQ(run(raw, "<</Length -4>>", 0), "null");
  open("5 0 obj 3 endobj 6 0 obj<</Length 6 0 R>>stream\nself\nendstream endobj");
  EXPECT_EQ(run(raw, "<</Length 5 0 R>>", 0), "som");
  EXPECT_EQ(run_object(6), "self");
  CPDFStreamRec rec;
  EXPECT_EQ(table_.make_stream(nullptr), nullptr);
  EXPECT_EQ(table_.make_stream(&rec), nullptr);
  rec.source = &file_;
  rec.length = -1;
  EXPECT_EQ(table_.make_stream(&rec), nullptr);
}

TEST_F(Chain, LengthBeyondTheSourceGivesZerosWithinReason) {
  EXPECT_EQ(run("abc", "<<>>", 6), std::string("abc\0\0\0", 6));
  const std::string cut = run("abc", "<<>>", INT32_MAX);
  EXPECT_LT(cut.size(), 100000u);
  EXPECT_EQ(cut.substr(0, 3), "abc");
  EXPECT_EQ(run(PdfBuilder::deflated("abc"), "<</Filter/FlateDecode>>", INT32_MAX), "abc");
}

TEST_F(Chain, FilterMayBeANameAStringAReferenceOrAnArray) {
  open("5 0 obj/AHx endobj 6 0 obj[/AHx 5 0 R]endobj");
  EXPECT_EQ(run("4142", "<</Filter/AHx>>"), "AB");
  EXPECT_EQ(run("4142", "<</Filter(AHx)>>"), "AB");
  EXPECT_EQ(run("4142", "<</Filter 5 0 R>>"), "AB");
  EXPECT_EQ(run("34313432", "<</Filter 6 0 R>>"), "AB");
  EXPECT_EQ(run("4142", "<</Filter[]>>"), "4142");
  EXPECT_EQ(run("4142", "<</Filter[/Crypt/AHx]/DecodeParms[<</Name/Identity>>]>>"), "AB");
  for (const char* const unknown : {"/ahx", "/AHx2", "7", "()", "[7]", "[/AHx 7]", "[/AHx null]", "[/AHx/Unknown]"})
    EXPECT_EQ(run("4142", std::string("<</Filter ") + unknown + ">>"), "null") << unknown;
}

TEST_F(Chain, ParametersStandBesideTheirOwnKindOfFilterOnly) {
  const std::string rows = "\2\1\1\1\1\2\1\1\1\1";
  const std::string undone = "\1\1\1\1\2\2\2\2";
  const std::string coded = PdfBuilder::deflated(rows);
  std::string hex;
  for (const char c : coded) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
    hex += digits;
  }
  open("5 0 obj<</Predictor 12/Columns 4>>endobj 7 0 obj[null 5 0 R]endobj");
  EXPECT_EQ(run(coded, "<</Filter/Fl/DecodeParms 5 0 R>>"), undone);
  EXPECT_EQ(run(coded, "<</Filter[/Fl]/DecodeParms[5 0 R]>>"), undone);
  EXPECT_EQ(run(hex, "<</Filter[/AHx/Fl]/DecodeParms[null<</Predictor 12/Columns 4>>]>>"), undone);
  EXPECT_EQ(run(hex, "<</Filter[/AHx/Fl]/DecodeParms 7 0 R>>"), undone);
  EXPECT_EQ(run(coded, "<</Filter/Fl/DecodeParms[<</Predictor 12/Columns 4>>]>>"), rows);
  EXPECT_EQ(run(coded, "<</Filter[/Fl]/DecodeParms<</Predictor 12/Columns 4>>>>"), rows);
  EXPECT_EQ(run(hex, "<</Filter[/AHx/Fl]/DecodeParms[5 0 R]>>"), rows);
}

TEST_F(Chain, ParametersAreNumbersAndFlagsOrTheirDefaults) {
  open("5 0 obj 4.5 endobj 6 0 obj true endobj 8 0 obj 5 0 R endobj");
  const Value parms(
      "<</Up 4.5/Down 4.4/Neg -2.5/Int 7/Name/x/Ref 5 0 R/Twice 8 0 R/Lost 99 0 R/T true/F false/TR 6 0 R>>");
  const auto number = [&](CPDFXRefTable* table, const char* key) {
    return parm_number(table, parms.as_dict(), key, 42);
  };
  EXPECT_EQ(number(&table_, "Up"), 5);
  EXPECT_EQ(number(&table_, "Down"), 4);
  EXPECT_EQ(number(&table_, "Neg"), -2);
  EXPECT_EQ(number(&table_, "Int"), 7);
  EXPECT_EQ(number(&table_, "Ref"), 5);
  EXPECT_EQ(number(&table_, "Twice"), 5);
  for (const char* const key : {"Name", "Lost", "None", "T"})
    EXPECT_EQ(number(&table_, key), 42) << key;
  EXPECT_EQ(number(nullptr, "Ref"), 42);
  EXPECT_EQ(parm_number(&table_, nullptr, "Int", 42), 42);
  EXPECT_TRUE(parm_flag(&table_, parms.as_dict(), "T"));
  EXPECT_TRUE(parm_flag(&table_, parms.as_dict(), "TR"));
  EXPECT_FALSE(parm_flag(nullptr, parms.as_dict(), "TR"));
  for (const char* const key : {"F", "Int", "None"})
    EXPECT_FALSE(parm_flag(&table_, parms.as_dict(), key)) << key;
}

TEST_F(Chain, StagesAreCutAndTheLastOneIsNot) {
  constexpr std::size_t kCut = 0x1000000;
  const std::string bomb = PdfBuilder::deflated(std::string(kCut + 200000, '4'));
  // The cut falls on a step of 64 KiB below 16 MiB.
  const std::size_t half = run(bomb, "<</Filter[/Fl/AHx]>>").size();
  EXPECT_LE(half, kCut / 2);
  EXPECT_GT(half, (kCut - 0x10000) / 2 - 1);
  EXPECT_EQ(run(bomb, "<</Filter/Fl>>").size(), kCut + 200000);
  table_.decoded_ceiling = 1 << 20;
  EXPECT_LE(run(bomb, "<</Filter[/Fl/AHx]>>").size(), (1u << 20) / 2);
}

TEST_F(Chain, DepthOfAChainIsBounded) {
  const auto times = [](int count, const char* name) {
    std::string names;
    for (int i = 0; i < count; ++i)
      names += name;
    return names;
  };
  const auto filters = [&](int count, const char* name) { return "<</Filter[" + times(count, name) + "]>>"; };
  EXPECT_EQ(run("abc", filters(64, "/Crypt")), "abc");
  EXPECT_EQ(run("abc", filters(1000, "/Crypt")), "null");
  std::string onion = "core";
  for (int i = 0; i < 40; ++i)
    onion = PdfBuilder::deflated(onion);
  EXPECT_EQ(run(onion, filters(40, "/Fl")), "core");
  // Small in the file, 16 MiB in each stage.
  const std::string bomb = PdfBuilder::deflated(std::string(0x1100000, 'b'));
  EXPECT_GT(run(bomb, "<</Filter[/Fl" + times(5, "/Crypt") + "]>>").size(), 0xFE0000u);
  EXPECT_EQ(run(bomb, "<</Filter[/Fl" + times(60, "/Crypt") + "]>>"), "null");
}

TEST_F(Chain, ObjectStreamThatHoldsItsOwnParametersEndsSoon) {
  open(
      "5 0 obj<</Type/ObjStm/N 9 0 R/First 10 0 R/Length 8 0 R/Filter 6 0 R/DecodeParms 7 0 R>>stream\n"
      "6 0 7 3 8 6 9 9 10 12 1 2 3 4 5\nendstream endobj");
  Freed<CPDFObj> obj;
  ASSERT_TRUE(table_.grow_xref_items(256, false));
  for (std::int32_t num = 6; num <= 10; ++num)
    table_.xref_items[num] = {2, 5, num - 6};
  for (std::int32_t num = 6; num <= 10; ++num) {
    table_.get_entity(obj, {num, 0});
    EXPECT_TRUE(obj.is_null()) << num;
  }
}

class XorHandler : public CPDFSecHand {
public:
  void set_password(const char*) override {}
  std::uint32_t get_permissions() const override { return ~0u; }
  int get_dec_size(int len) override { return refuse ? -1 : len; }
  int authorize(const PDF_String*, const CPDFDictionary*) override { return 1; }
  void decrypt_data(int, int, const unsigned char* src, int len, unsigned char* dst, int* out_len) override {
    for (int i = 0; i < len; ++i)
      dst[i] = src[i] ^ 1;
    *out_len = claimed != 0 ? claimed : len;
  }
  void decrypt_string(int, int, const unsigned char*, int, unsigned char*, int* out_len) override { *out_len = 0; }
  int prepare_stream(int, int, const CPDFDictionary*) override { return 0; }
  int claimed = 0;
  bool refuse = false;
};

// Decoders of images where something else is expected: blank rows without end are no objects.
TEST_F(Chain, ImageFiltersBeforeObjectsGiveLittle) {
  open(
      "5 0 obj<</Type/ObjStm/N 1/First 4/Filter/CCITTFaxDecode/Length 1>>stream\n\1\nendstream endobj\n"
      "6 0 obj<</Filter/CCITTFaxDecode/DecodeParms<</K -1/Columns 60000>>/Length 1>>stream\n\1\nendstream endobj");
  const PDF_OBJSTM* entry = table_.get_objstm(table_.xref_items[5].offset, 5, 0);
  ASSERT_NE(entry, nullptr);
  EXPECT_LT(entry->decoded, 100'000);
  const StreamPtr fax = decoder_of("CCF", std::string(1000, 'x'));
  EXPECT_EQ(fax->most_text(1 << 24), 65536 + 64000);
  EXPECT_EQ(fax->most_text(100), 100);
  EXPECT_EQ(decoder_of("Fl", "x")->most_text(1 << 24), 1 << 24);
  ContentText content;
  Freed<CPDFObj> ref;
  ref.set_ref({6, 0});
  EXPECT_FALSE(content.load(table_, &ref, 100'000'000));
  EXPECT_LT(content.text().size(), 100'000U);
}

TEST_F(Chain, DecryptionComesBeforeTheFilters) {
  XorHandler hand;
  table_.sec_hand = &hand;
  plain_ = 0;
  EXPECT_EQ(run("5053", "<</Filter/AHx>>"), "PS");  // no handler is named
  std::strcpy(table_.sec_filter, "Xor");
  EXPECT_EQ(run("5053", "<</Filter[/Crypt/AHx]>>"), "AB");
  hand.claimed = 1 << 30;
  EXPECT_EQ(run("5053", "<<>>"), "4142");
  hand.claimed = -1;
  EXPECT_EQ(run("5053", "<<>>"), "");
  hand.refuse = true;
  EXPECT_EQ(run("5053", "<</Filter/AHx>>"), "null");
  plain_ = 1;
  EXPECT_EQ(run("5053", "<</Filter/AHx>>"), "PS");
}

}  // namespace
