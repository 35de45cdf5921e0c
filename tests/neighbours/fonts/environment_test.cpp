// Where fonts are found, and how faces are shared between documents.
#include "sheaf/neighbours/fonts/environment.h"

#include <gtest/gtest.h>

#include "sheaf/neighbours/fonts/programs/ft_font.h"
#include "support/external_tool.h"
#include "support/failing_heap.h"
#include "support/font_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

struct Environment : testing::Test {
  void SetUp() override {
    FontBuilder regular;
    regular.characters = {{'A', 1}};
    FontBuilder bold = regular;
    bold.subfamily = "Bold";
    bold.post_script = "TestSans-Bold";
    bold.weight = 700;
    std::filesystem::create_directories(folder / "deep/er");
    write_file(folder / "deep/er/a.TTF", bold.build());
    write_file(folder / "z.ttf", regular.build());
    FontBuilder other = regular;
    other.family = "Other \xE9";
    other.post_script = "Other";
    write_file(folder / "zz.ttc", FontBuilder::collection({bold, other}));
    write_file(folder / "broken.ttf", regular.build().substr(0, 200));
    env = new CPDFEnviroment;
    env->use_system_fonts(0);
    env->add_font_folder((folder / "").c_str());
  }
  void TearDown() override {
    if (env != nullptr)
      CPDFEnviroment::destroy(env);
  }
  std::string place(const std::string& name) {
    char path[CPDFEnviroment::kPathSize];
    int index = 7;
    env->get_face_para(name.c_str(), path, index);
    return std::filesystem::path(path).filename().string() + " " + std::to_string(index);
  }

  TestFolder folder;
  CPDFEnviroment* env = nullptr;
};

TEST_F(Environment, KnowsFontsByEveryNameInAnyCase) {
  EXPECT_EQ(place("Test Sans"), "z.ttf 0") << "of a family the plain face";
  EXPECT_EQ(place("TEST sans bOLD"), "a.TTF 0");
  EXPECT_EQ(place("testsans-bold"), "a.TTF 0");
  EXPECT_EQ(place("other \xC3\x89 regular"), "zz.ttc 1");
  EXPECT_EQ(place("OTHER"), "zz.ttc 1");
  for (const std::string& unknown : {std::string("Test"), std::string(), std::string(10000, 'n'), std::string("\xFF")})
    EXPECT_EQ(place(unknown), " -1");
}

TEST_F(Environment, KnowsNamesInMacintoshRecordsAndInThreeBytesOfUtf8) {
  const auto u16 = FontBuilder::u16;
  const std::string mincho = "\x66\x0E\x67\x1D";
  FontBuilder face;
  face.replaced["name"] = u16(0) + u16(3) + u16(6 + 3 * 12) +                         //
                          u16(1) + u16(0) + u16(0) + u16(1) + u16(8) + u16(0) +       // ASCII
                          u16(1) + u16(0) + u16(0) + u16(4) + u16(4) + u16(8) +       // of another script
                          u16(3) + u16(1) + u16(0x411) + u16(1) + u16(4) + u16(12) +  // UTF-16
                          "Mac Face" + "\x96\xBE\x92\xA9" + mincho;
  write_file(folder / "m.ttf", face.build());
  EXPECT_EQ(place("mac face"), "m.ttf 0");
  EXPECT_EQ(place("\xE6\x98\x8E\xE6\x9C\x9D"), "m.ttf 0");
  EXPECT_EQ(place("\x96\xBE\x92\xA9"), " -1");
}

TEST_F(Environment, FacesAreSharedAndAllGivenBack) {
  CPDFXRefTable first;
  CPDFXRefTable second;
  first.set_envirment(env, "test");
  second.set_envirment(env, "test");
  void* const face = first.get_font_ext("Test Sans");
  ASSERT_NE(face, nullptr);
  EXPECT_EQ(first.get_font_ext("Test Sans"), face);
  EXPECT_EQ(second.get_font_ext("test sans"), face) << "one face for all documents";
  EXPECT_NE(second.get_font_ext("Test Sans Bold"), face);
  EXPECT_EQ(second.get_font_ext("unknown"), nullptr);
  EXPECT_EQ(env->faces_in_use(), 3) << "a hit in the cache is no further use";
  first.XRefFree();
  EXPECT_EQ(env->faces_in_use(), 2);
  EXPECT_EQ(static_cast<CQVFTFont*>(second.get_font_ext("test sans"))->glyph_index('A'), 1U);
  env->release_face("Test Sans");
  EXPECT_EQ(env->faces_in_use(), 2) << "nobody took it from this copy";
  second.set_envirment(env, "again");
  EXPECT_EQ(env->faces_in_use(), 0) << "a new environment takes nothing over from the one before";
  EXPECT_NE(second.get_font_ext("test sans"), nullptr);
  second.XRefFree();
  EXPECT_EQ(env->faces_in_use(), 0);
}

TEST_F(Environment, UnloadGivesBackWhatWasForgotten) {
  ASSERT_NE(env->new_face("Test Sans"), nullptr);
  ASSERT_NE(env->new_face("Test Sans"), nullptr);
  EXPECT_EQ(env->faces_in_use(), 2);
  env->unload();
  EXPECT_EQ(env->faces_in_use(), 0);
  EXPECT_NE(env->new_face("Test Sans"), nullptr);
}

TEST_F(Environment, EveryRefusedRequestLeavesNothingBehind) {
  CPDFEnviroment::destroy(env);
  env = nullptr;
  bool refused = true;
  for (long long request = 1; refused && request < 5000; ++request) {
    FailingHeap heap(request);
    CPDFEnviroment* const tried = new CPDFEnviroment;
    tried->use_system_fonts(0);
    tried->add_font_folder((folder / "").c_str());
    {
      CPDFXRefTable table;
      table.set_envirment(tried, "test");
      table.get_font_ext("Test Sans");
      table.get_font_ext("Other");
    }
    EXPECT_EQ(tried->faces_in_use(), 0);
    CPDFEnviroment::destroy(tried);
    EXPECT_EQ(heap.held, 0) << "request " << request;
    refused = heap.has_refused();
  }
  EXPECT_FALSE(refused);
}

}  // namespace
