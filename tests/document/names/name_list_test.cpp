// Collected names become one balanced tree, which reading gives back whole.
#include "sheaf/document/names/name_list.h"

#include <gtest/gtest.h>

#include "sheaf/document/names/name_tree.h"
#include "support/pdf_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

constexpr int kNames = 2200;  // more than two levels hold

std::string text_of(const PDF_String& string) {
  return std::string(string.data, static_cast<std::size_t>(string.len));
}

PDF_String string_of(std::string& text) {
  return {static_cast<std::int32_t>(text.size()), text.data()};
}

std::string padded(int number) {
  const std::string digits = std::to_string(number);
  return "n" + std::string(4 - digits.size(), '0') + digits;
}

// The names below a node in their order; each node below the root must tell the least and the greatest.
std::vector<std::string> names_below(CPDFXRefTable& table, const PDF_REF& ref, bool is_root, int& levels) {
  Freed<CPDFObj> node;
  table.get_entity(node, ref);
  std::vector<std::string> found;
  int deepest = 0;
  const CPDFDictionary& dict = *node.as_dict();
  if (const CPDFObj* names = dict.get_item("Names")) {
    for (int i = 0; i < names->as_array()->count; i += 2)
      found.push_back(text_of(names->as_array()->items[i].as_string()));
  } else {
    const CPDFArray& kids = *dict.get_item("Kids")->as_array();
    EXPECT_LE(kids.count, 32);
    for (int i = 0; i < kids.count; ++i) {
      int below = 0;
      const auto more = names_below(table, kids.items[i].as_ref(), false, below);
      found.insert(found.end(), more.begin(), more.end());
      deepest = std::max(deepest, below);
    }
  }
  levels = deepest + 1;
  EXPECT_EQ(dict.get_item("Limits") == nullptr, is_root);
  if (!is_root) {
    EXPECT_EQ(TestTable::syntax(*dict.get_item("Limits")), "[(" + found.front() + ")(" + found.back() + ")]");
  }
  return found;
}

TEST(NameList, ThousandsOfNamesMakeABalancedTree) {
  PdfBuilder builder;
  builder.pages(1).classic();
  TestTable t(builder.str());
  t.table.XRefRead(static_cast<unsigned>(builder.last_section()));
  NameList list;
  std::vector<std::string> sorted;
  for (int i = 0; i < kNames; ++i) {
    sorted.push_back(padded(i));
    std::string name = padded(i * 7 % kNames);  // in no order
    ASSERT_EQ(list.add(string_of(name), {3, 0}), i);
  }
  std::string last = padded(kNames - 1);
  EXPECT_GE(list.find(string_of(last)), 0);
  const PDF_REF root = list.store_tree(t.table);
  int levels = 0;
  EXPECT_EQ(names_below(t.table, root, true, levels), sorted);
  EXPECT_EQ(levels, 3);

  CPDFObj tree{};
  tree.set_ref(root);
  std::vector<std::string> walked;
  name_tree_walk(t.table, &tree, [&](const PDF_String& name, const CPDFObj& value) {
    walked.push_back(text_of(name));
    EXPECT_EQ(value.as_ref(), (PDF_REF{3, 0}));
  });
  EXPECT_EQ(walked, sorted);
}

TEST(NameList, TakenNamesGetTheFirstFreeNumber) {
  NameList list;
  for (std::string name : {"a", "a-2", "", "b"})
    list.add(string_of(name), {1, 0});
  std::string taken = "a";
  std::string nothing;
  EXPECT_EQ(text_of(list.at(list.add_unique(string_of(taken), {2, 0})).name), "a-3");
  EXPECT_EQ(text_of(list.at(list.add_unique(string_of(taken), {2, 0})).name), "a-4");
  EXPECT_EQ(text_of(list.at(list.add_unique(string_of(nothing), {2, 0})).name), "-2");
}

TEST(NameTree, LoopsAndHolesInItAreNoHarm) {
  PdfBuilder builder;
  builder.pages(1)
      .obj(4, "<</Kids[5 0 R 4 0 R null 99 0 R 6 0 R]>>")
      .obj(5, "<</Names[(a)1 7 2(b)]/Kids[6 0 R]>>")
      .obj(6, "<</Names[(c)3]/Kids[5 0 R]>>")
      .classic();
  TestTable t(builder.str());
  t.table.XRefRead(static_cast<unsigned>(builder.last_section()));
  CPDFObj tree{};
  tree.set_ref({4, 0});
  std::string walked;
  name_tree_walk(t.table, &tree, [&](const PDF_String& name, const CPDFObj&) { walked += text_of(name); });
  EXPECT_EQ(walked, "ac");
}

}  // namespace
