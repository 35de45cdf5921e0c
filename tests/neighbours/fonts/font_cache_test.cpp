// The table's caches of fonts and faces, and fonts that the application brings.
#include "sheaf/base/named_table.h"

#include <gtest/gtest.h>

#include "sheaf/cache/font_caches.h"
#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/neighbours/fonts/font.h"
#include "sheaf/neighbours/fonts/font_provider.h"
#include "sheaf/neighbours/fonts/programs/ft_font.h"
#include "sheaf/xref/xref_table.h"
#include "support/external_tool.h"
#include "support/failing_heap.h"
#include "support/font_builder.h"

using namespace sheaf;

namespace {

TEST(FontCaches, FacesStandInTheOrderOfTheirNames) {
  CPDFEnviroment* const env = new CPDFEnviroment;
  CPDFCacheFontExt cache;
  cache.env = env;
  for (const char* name : {"b", "a", "c"})
    EXPECT_EQ(cache.insert_font(find_named(cache.items, cache.count, name).index, name)->face, nullptr);
  for (const char* name : {"a", "b", "c"}) {
    const SortedPlace place = find_named(cache.items, cache.count, name);
    EXPECT_TRUE(place.found);
    EXPECT_EQ(place.index, name[0] - 'a');
  }
  while (cache.count < 32)
    ASSERT_NE(cache.insert_font(cache.count, "z"), nullptr);
  {
    FailingHeap heap(1);
    EXPECT_EQ(cache.insert_font(32, "z"), nullptr) << "no memory: all stays as it was";
  }
  EXPECT_NE(cache.insert_font(32, "z"), nullptr);
  cache.clear();
  cache.clear();
  EXPECT_EQ(cache.items, nullptr);
  EXPECT_EQ(cache.count, 0);
  CPDFEnviroment::destroy(env);
}

// Counts what happens to it.
struct CountedFont : CPDFFont {
  explicit CountedFont(std::string& what) : log(what) { font_key = 77; }
  ~CountedFont() override { log += "d"; }
  void load_font() override {}
  void set_font_style(int) override {}
  void embed_flush() override { log += "f"; }
  std::string& log;
};

TEST(FontCaches, FontsStandInTheOrderOfTheirComing) {
  std::string log;
  CPDFCacheFont cache;
  for (int i = 0; i < 9; ++i)
    EXPECT_EQ(cache.Append("same", i, new CountedFont(log)), i);
  EXPECT_EQ(cache.items[8].style, 8);
  EXPECT_EQ(cache.items[8].font_key, 77U);
  cache.embed_flush();
  EXPECT_EQ(log, "fffffffff");
  cache.clear();
  cache.clear();
  EXPECT_EQ(log, "fffffffffddddddddd");
}

struct Provider : CPDFFontProvider {
  void get_font_file(const char* key1, const char* key2, int key3, char* path, int& flags) override {
    asked += std::string(key1) + "," + key2 + "," + std::to_string(key3) + ";";
    flags = face << 8 | 5;
    std::snprintf(path, kPathSize, "%s", file.c_str());
  }
  std::string asked;
  std::string file;
  int face = 0;
};

TEST(FontCaches, FontsOfTheApplicationBelongToTheCaller) {
  const TestFolder folder;
  FontBuilder plain;
  FontBuilder large;
  large.simple_glyphs = 40;
  write_file(folder / "two.ttc", FontBuilder::collection({plain, large}));
  CPDFEnviroment* const env = new CPDFEnviroment;
  CPDFXRefTable table;
  table.set_envirment(env, "test");
  CPDFEnviroment::destroy(env);
  int flags = -7;
  EXPECT_EQ(table.get_extern_font("a", "b", 3, flags), nullptr);
  EXPECT_EQ(flags, -7) << "nobody to ask";
  Provider provider;
  table.font_provider = &provider;
  EXPECT_EQ(table.get_extern_font("a", "b", 3, flags), nullptr) << "an empty path";
  provider.file = folder / "two.ttc";
  provider.face = 1;
  CQVFTFont* const font = table.get_extern_font("c", "d", -4, flags);
  ASSERT_NE(font, nullptr);
  EXPECT_EQ(font->glyph_count(), 42U);
  EXPECT_EQ(flags, 1 << 8 | 5);
  EXPECT_EQ(provider.asked, "a,b,3;c,d,-4;");
  delete font;
  for (const int face : {2, -1, 0x7FFFFF}) {
    provider.face = face;
    EXPECT_EQ(table.get_extern_font("", "", 0, flags), nullptr);
  }
  provider.file = folder / "none.ttf";
  EXPECT_EQ(table.get_extern_font("", "", 0, flags), nullptr);
}

}  // namespace
