// Values, dictionaries and arrays: ownership, order and deep copies.
#include <gtest/gtest.h>

#include <string>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/object.h"

using namespace sheaf;

namespace {

TEST(Obj, EmptyStringsAreCopiedWithAndWithoutTheirBlock) {
  Freed<CPDFObj> source;
  Freed<CPDFObj> copy;
  source.set_string("", 0);
  copy.copy_from(&source);
  ASSERT_EQ(copy.tag, kTagString);
  ASSERT_NE(copy.data, nullptr);
  EXPECT_EQ(copy.data[0], 0);

  source.set_string(nullptr, -3);
  copy.copy_from(&source);
  EXPECT_EQ(copy.tag, kTagString);
  EXPECT_EQ(copy.as_string().len, 0);
  EXPECT_EQ(copy.data, nullptr);

  copy.copy_from(nullptr);
  EXPECT_TRUE(copy.is_null());
}

TEST(Obj, NumbersConvertByRoundingHalvesUp) {
  CPDFObj number{};
  number.set_real(fix_from_int(2) + kFixHalf);
  EXPECT_EQ(number.to_int(), 3);
  number.set_real(-fix_from_int(2) - kFixHalf);
  EXPECT_EQ(number.to_int(), -2);
  number.set_int(-7);
  EXPECT_EQ(number.to_real(), fix_from_int(-7));
  number.free();
  EXPECT_EQ(number.value, 0u);
}

TEST(Obj, StreamCopiesShareTheDataAndOwnTheDictionary) {
  CQVStream* const source = reinterpret_cast<CQVStream*>(0x1000);
  Freed<CPDFObj> stream;
  auto* rec = new CPDFStreamRec;
  rec->dict.set_item_int("Length", 5);
  rec->offset = 17;
  rec->length = 5;
  rec->plain = 1;
  rec->source = source;
  stream.take_stream(rec);
  Freed<CPDFObj> copy;
  copy.copy_from(&stream);
  stream.as_stream()->dict.set_item_int("Length", 6);
  EXPECT_EQ(copy.as_dict_or_stream()->get_item("Length")->as_int(), 5);
  EXPECT_EQ(copy.as_stream()->source, source);
  EXPECT_EQ(copy.as_stream()->offset, 17u);
}

TEST(Obj, DeepNestingNeedsNoStack) {
  CPDFObj nested{};
  nested.set_int(1);
  for (int depth = 0; depth < 1'000'000; ++depth) {
    CPDFObj outer{};
    if (depth % 2 == 0) {
      outer.take_array(new CPDFArray);
      ASSERT_EQ(outer.as_array()->append_moved(nested), 1);
    } else {
      outer.take_dict(new CPDFDictionary);
      outer.as_dict()->move_item("Kid", nested);
    }
    nested.move_from(outer);
  }
  CPDFObj copy{};
  copy.copy_from(&nested);
  nested.free();
  EXPECT_TRUE(nested.is_null());
  int depth = 0;
  const CPDFObj* inner = &copy;
  for (; inner->tag != kTagInt; ++depth)
    inner = inner->tag == kTagArray ? inner->as_array()->get(0) : inner->as_dict()->get_item("Kid");
  EXPECT_EQ(depth, 1'000'000);
  copy.free();
}

TEST(Obj, TextsMayBeSetFromTheObjectItself) {
  Freed<CPDFObj> value;
  value.set_name("Name");
  value.set_name(value.as_name() + 1);
  EXPECT_STREQ(value.as_name(), "ame");
  value.set_string(value.as_name(), 3);
  value.set_string(value.as_string().data + 1, 2);
  EXPECT_STREQ(value.as_text(), "me");
  Cleared<CPDFArray> array;
  array.append_name("First");
  for (int i = 0; i < 20; ++i)
    array.append(array.get(0));
  EXPECT_TRUE(array.get(20)->is_name("First"));
}

TEST(Dictionary, KeepsKeysSortedAndUnique) {
  Cleared<CPDFDictionary> dict;
  for (const char* key : {"Type", "A", "Parent", "Kids", "B", "A"})
    dict.set_item_name(key, key);
  ASSERT_EQ(dict.count, 5);
  for (int i = 1; i < dict.count; ++i)
    EXPECT_LT(std::string(dict.items[i - 1]->key()), dict.items[i]->key());
  dict.set_item("Parent", nullptr);
  dict.set_item("Missing", nullptr);
  EXPECT_EQ(dict.get_item("Parent"), nullptr);
  EXPECT_EQ(dict.count, 4);
  dict.set_item("A", dict.get_item("A"));  // a value may replace itself
  EXPECT_TRUE(dict.get_item("A")->is_name("A"));
}

TEST(Dictionary, StoresDeepCopies) {
  Cleared<CPDFDictionary> dict;
  Cleared<CPDFArray> array;
  const _QVRECTF box{0, 0, fix_from_int(612), fix_from_int(792)};
  array.append_int(1);
  array.append_ref({5, 0});
  dict.set_item_arr("Kids", &array);
  dict.set_item_rect("MediaBox", &box);
  array.clear();
  ASSERT_EQ(dict.get_item("Kids")->as_array()->count, 2);
  EXPECT_EQ(dict.get_item("Kids")->as_array()->get(1)->as_ref().num, 5);
  EXPECT_EQ(dict.get_item("MediaBox")->as_array()->get(2)->as_real(), fix_from_int(612));
  Cleared<CPDFDictionary> copy;
  copy.copy_from(&dict);
  dict.clear();
  dict.clear();
  EXPECT_EQ(copy.count, 2);
  copy.copy_from(nullptr);
  EXPECT_EQ(copy.count, 0);
}

TEST(String, WideTextBecomesTwoBytesACharacter) {
  struct Row {
    const wchar_t* text;
    int bom;
    std::string bytes;
  };
  const Row rows[] = {{L"A", 1, std::string("\xFE\xFF\0A", 4)},
                      {L"\U0001F600", 0, "\xF6" + std::string(1, '\0')},
                      {nullptr, 1, "\xFE\xFF"},
                      {nullptr, 0, ""}};
  for (const Row& row : rows) {
    PDF_String text;
    text.init(row.text, row.bom);
    EXPECT_EQ(std::string(text.data, static_cast<std::size_t>(text.len)), row.bytes);
    EXPECT_EQ(text.data[text.len], 0);
    QVFree(text.data);
  }
}

}  // namespace
