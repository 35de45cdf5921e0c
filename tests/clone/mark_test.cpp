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

}  // namespace
