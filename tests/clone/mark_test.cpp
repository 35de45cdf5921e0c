// What is marked as reached from a container that is no object of its own.
#include <gtest/gtest.h>

#include "support/pdf_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

TEST(Mark, DirectContainersReachWhatTheyReferTo) {
  PdfBuilder builder;
  builder.pages(1).obj(4, "[5 0 R 4 0 R]").obj(5, "(leaf)").obj(6, "<</A 5 0 R>>").obj(7, "(alone)").classic();
  TestTable t(builder.str());
  t.table.XRefRead(static_cast<unsigned>(builder.last_section()));
  const auto reached = [&t](const std::string& syntax) {
    CPDFCloneMap map{};
    map.count = 256;
    map.entries = static_cast<std::uint32_t*>(QVCalloc(256, sizeof(std::uint32_t)));
    map.capacity = 256;
    Freed<CPDFObj> value;
    read_value(value, syntax);
    t.table.rec_dict(map, value.as_dict());
    t.table.rec_array(map, value.as_array());
    std::string numbers;
    for (int num = 0; num < 8; ++num)
      numbers += map.entries[num] != 0 ? std::to_string(num) : "";
    QVFree(map.entries);
    return numbers;
  };
  EXPECT_EQ(reached("<</A[[4 0 R]]>>"), "45");
  EXPECT_EQ(reached("[<</A 6 0 R>> 7 0 R 99 0 R]"), "567");
  EXPECT_EQ(reached("[]"), "");
  EXPECT_EQ(reached("(no container)"), "");
}

// The map's maker gave it a word for each entry of that time; only its rounded count is known.
TEST(Mark, AMapThatIsOlderThanTheTableIsNotReadBeyondItsEnd) {
  PdfBuilder builder;
  builder.pages(1).obj(4, "[300 0 R]").classic();
  TestTable t(builder.str());
  t.table.XRefRead(static_cast<unsigned>(builder.last_section()));
  CPDFCloneMap map{static_cast<std::uint32_t*>(QVCalloc(t.table.xref_count, sizeof(std::uint32_t))), 256};
  t.table.next_obj_num = 301;
  Freed<CPDFObj> late;
  late.set_int(1);
  ASSERT_TRUE(t.table.store_object({300, 0}, late));
  t.table.rec_obj(map, {4, 0});
  EXPECT_NE(map.entries[300], 0u);
  EXPECT_NE(map.entries[4], 0u);
  QVFree(map.entries);
}

}  // namespace
