// Character maps: tokens, codespaces, ranges, texts, maps in folders and in documents, and the
// caches that keep them.
#include "sheaf/neighbours/fonts/cmap.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <map>
#include <random>
#include <thread>

#include "sheaf/neighbours/fonts/cmap_folders.h"
#include "sheaf/neighbours/fonts/cmap_parser.h"
#include "sheaf/neighbours/fonts/cmap_tokens.h"
#include "sheaf/neighbours/fonts/environment.h"
#include "support/external_tool.h"
#include "support/pdf_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

template <class Map>
struct MapHolder {
  explicit MapHolder(Map* held) : map(held) {}
  ~MapHolder() { CPDFSharedCMap::release(map); }
  MapHolder(const MapHolder&) = delete;
  MapHolder& operator=(const MapHolder&) = delete;
  Map* operator->() const { return map; }
  Map* map;
};

struct CMap : MapHolder<CPDFCMap> {
  explicit CMap(const std::string& text) : MapHolder(CPDFCMap::parse(text.data(), text.size())) {}
  explicit CMap(CPDFCMap* held) : MapHolder(held) {}
  /// The codes of `text` as "bytes:cid", or "bytes!cid" for one outside of the codespace.
  std::string decode(const std::string& text) const {
    std::string out;
    const auto* at = reinterpret_cast<const std::uint8_t*>(text.data());
    int left = static_cast<int>(text.size());
    while (left > 0) {
      std::uint32_t code = 0;
      std::uint32_t cid = 0;
      bool valid = false;
      map->next_code(at, left, code, valid);
      const int bytes = map->next_cid(at, left, code, cid);
      out += (out.empty() ? "" : " ") + std::to_string(bytes) + (valid ? ":" : "!") + std::to_string(cid);
      at += bytes;
      left -= bytes;
    }
    return out;
  }
};

struct ToUnicode : MapHolder<CPDFCMapToUnicode> {
  explicit ToUnicode(const std::string& text) : MapHolder(CPDFCMapToUnicode::parse(text.data(), text.size())) {}
  explicit ToUnicode(CPDFCMapToUnicode* held) : MapHolder(held) {}
  std::u16string text(std::uint32_t code, int bytes = 2) const {
    char16_t units[CPDFCMapToUnicode::kMostUnits];
    return std::u16string(units, static_cast<std::size_t>(map->text_of(code, bytes, units, std::size(units))));
  }
};

// As the map files of real encodings are written.
const char* const kMixed = R"(%!PS-Adobe-3.0 Resource-CMap
%%Title: (Own-H) /WMode 1 def begincidchar <41> 9 endcidchar
/CIDInit /ProcSet findresource begin 12 dict begin begincmap
/CIDSystemInfo 3 dict dup begin
  /Registry (Ad\157be\
) def /Ordering (Own(1)) def /Supplement 3 def
end def
/CMapName /Own-H def /CMapVersion 1.0 def /UIDOffset 16#FF def /XUID [1 10 25335] def
4 begincodespacerange <00> <80> <8140> <9FFC> <A1A1A1> <A1FEFE> <E0000000> <E0FFFFFF> endcodespacerange
1 beginnotdefrange <00> <1f> 7 endnotdefrange
2 begincidrange <20> <7e> 231 % a comment <7f> 1
<8140> <817e> 633 endcidrange
3 begincidchar <41> 1000 <A1A1A2> 2000<E0010203>3000 endcidchar
endcmap CMapName currentdict /CMap defineresource pop end end
)";

TEST(CMapTokens, AreThoseOfPostScript) {
  const std::string source = "/a/b[1 -2 +3.9]<4 1zZ 4>(a\\(b(c)\\)\\n\\101)<</k 16#fF>>x-1 .5 8# {} %(\n)<41<42>end";
  CMapTokens tokens(source.data(), source.size());
  std::string seen;
  for (CMapToken token = tokens.next(); token != CMapToken::kEnd; token = tokens.next()) {
    const bool is_number = token == CMapToken::kNumber;
    seen += "enNso[]"[static_cast<int>(token)];
    seen += (is_number ? std::to_string(tokens.number()) : std::string(tokens.text())) + " ";
  }
  EXPECT_EQ(seen, "Na Nb [ n1 n-2 n3 ] sA@ sa(b(c))\nA o Nk n255 o ox-1 n0 o8# o o o sA sB oend ");
  for (const std::string cut : {"<41", "(a(b)", "(a\\", "%", "<"}) {
    CMapTokens rest(cut.data(), cut.size());
    EXPECT_EQ(rest.next(), CMapToken::kEnd) << cut;
  }
}

TEST(CMap, CodesOfMixedLengthsEndWhereTheirCodespaceSays) {
  const CMap map(kMixed);
  ASSERT_NE(map.map, nullptr);
  EXPECT_STREQ(map->info().name, "Own-H");
  EXPECT_STREQ(map->info().registry, "Adobe");
  EXPECT_STREQ(map->info().ordering, "Own(1)");
  EXPECT_EQ(map->info().supplement, 3);
  EXPECT_FALSE(map->is_vertical());
  EXPECT_EQ(map.decode("\x20\x41\x81\x41\xA1\xA1\xA2\xE0\x01\x02\x03\x7f"), "1:231 1:1000 2:634 3:2000 4:3000 1:0");
  EXPECT_EQ(map.decode(std::string("\x00\x1F", 2)), "1:7 1:7");
  // No range begins so: as many bytes as the shortest code. Else as many as the range matched best.
  EXPECT_EQ(map.decode("\xFF\x41"), "1!0 1:1000");
  EXPECT_EQ(map.decode("\x81\x20\x41"), "2!0 1:1000");
  EXPECT_EQ(map.decode("\xA1\xFD\x41\x20"), "3!0 1:231");
  EXPECT_EQ(map.decode("\xA1\xFD"), "2!0");
  EXPECT_EQ(map.decode("\xE0\x01"), "2!0");
  EXPECT_TRUE(map->has_code(0x41, 1));
  EXPECT_FALSE(map->has_code(0x41, 2));
}

TEST(CMap, LaterRangesCoverEarlierOnes) {
  std::mt19937 source(1);
  const auto random = [&source] { return static_cast<std::uint32_t>(source()); };
  for (int round = 0; round < 200; ++round) {
    std::map<std::uint32_t, std::uint32_t> expected;
    std::string text = "begincodespacerange <0000> <FFFF> endcodespacerange begincidrange ";
    for (int i = 0; i < 30; ++i) {
      const std::uint32_t lo = random() % 200;
      const std::uint32_t hi = lo + random() % (round % 2 == 0 ? 8 : 100);
      const std::uint32_t cid = random() % 1000;
      char line[32];
      std::snprintf(line, sizeof(line), "<%04X> <%04X> %u\n", lo, hi, cid);
      text += line;
      for (std::uint32_t code = lo; code <= hi; ++code)
        expected[code] = cid + code - lo;
    }
    const CMap map(text + "endcidrange");
    for (std::uint32_t code = 0; code < 320; ++code) {
      ASSERT_EQ(map->has_code(code, 2), expected.count(code) != 0) << text;
      ASSERT_EQ(map->cid_of(code, 2), expected[code]) << text << code;
    }
  }
}

TEST(CMap, SloppyMapsAreReadForWhatTheyHold) {
  EXPECT_EQ(CMap("begincidrange <0000> <00FF> 5").decode(std::string("\0\1", 2)), "2:6");  // no codespace, no end
  EXPECT_TRUE(CMap("<</WMode 1>> begincidchar <41> 1 begincodespacerange <00> <FF>")->is_vertical());
  // Entries that are none are passed over one by one.
  const CMap map(
      "begincidrange <30> <20> 1 <40> 2 <0102030405> <0102030406> 3 <41> <42> -4 <43> <44> 70000 /x <45> <46> 8");
  EXPECT_EQ(map->cid_of(0x41, 1), 0u);
  EXPECT_EQ(map->cid_of(0x43, 1), 0u);
  EXPECT_EQ(map->cid_of(0x46, 1), 9u);
  for (const char* none : {"", "no map", "begincmap endcmap", "begincidchar <41> (a) endcidchar"})
    EXPECT_EQ(CMap(none).map, nullptr) << none;
}

TEST(ToUnicode, CodesHaveTextsOfAllKinds) {
  const ToUnicode map(R"(/CMapName /T def 1 begincodespacerange <0000> <FFFF> endcodespacerange
    beginbfchar <0001> <0041> <0002> <D835DC00> <0003> <006600660069> <0004> /uni00410042 <0005> /u1F600 <0006> <42>
    <0007> <> <0008> /Aacute <0009> /f_f_i.alt <000A> /afii10049 <000B> /nosuchname
    <000C> /zukatakana_Omega <000D> /lamedholamdagesh <000E> /uniD800 <000F> /uni0041004Z <0070> /zukatakanab endbfchar
    beginbfrange <0010> <0012> [<0061> <00620063> /z] <0020> <0022> <0391> <0030> <0032> <D83DDFFE>
    <0040> <0042> <00660069> <0050> <0051> <0041D83DDFFF> <0060> <0061> [<0070>] endbfrange)");
  EXPECT_EQ(map.text(1), u"A");
  EXPECT_EQ(map.text(2), u"\U0001D400");
  EXPECT_EQ(map.text(3), u"ffi");
  EXPECT_EQ(map.text(4), u"AB");
  EXPECT_EQ(map.text(5), u"\U0001F600");
  EXPECT_EQ(map.text(6), u"B");
  EXPECT_EQ(map.text(7), u"");
  EXPECT_EQ(map.text(8) + map.text(9) + map.text(10) + map.text(11), u"\u00C1ffi\u042F");
  EXPECT_EQ(map.text(12) + map.text(13), u"\u30BA\u03A9\u05DC\u05B9\u05BC");
  EXPECT_EQ(map.text(14) + map.text(15) + map.text(0x70), u"");
  EXPECT_EQ(map.text(0x10) + map.text(0x11) + map.text(0x12), u"abcz");
  EXPECT_EQ(map.text(0x22), u"\u0393");
  EXPECT_EQ(map.text(0x32), u"\U0001F800");  // the low surrogate runs over
  EXPECT_EQ(map.text(0x42), u"fk");
  EXPECT_EQ(map.text(0x51), u"A\U0001F800");
  EXPECT_EQ(map.text(0x60), u"p");
  EXPECT_EQ(map.text(0x61), u"");
  EXPECT_EQ(map.text(1, 1), u"A");  // another length than the map's
  char16_t two[2];
  EXPECT_EQ(map->text_of(3, 2, two, 2), 2);
  EXPECT_EQ(map->text_of(2, 2, two, 1), 0);
  EXPECT_EQ(ToUnicode("beginbfrange <00> <FF> <10FFFE>").text(1, 1), u"\u1100");  // an odd byte after is dropped
  EXPECT_EQ(ToUnicode("begincidchar <41> 1").map, nullptr);
}

TEST(CMap, HostileMapsCostLittleAndAreCut) {
  const CMap wide("begincodespacerange <00000000> <FFFFFFFF> endcodespacerange begincidrange <00000000> <FFFFFFFF> 1");
  EXPECT_EQ(wide->cid_of(0xFFFE, 4), 0xFFFFu);
  EXPECT_EQ(wide->cid_of(0xFFFF, 4), 0u);
  EXPECT_EQ(wide->cid_of(0xFFFFFFFF, 4), 0u);
  const ToUnicode all("beginbfrange <00000000> <FFFFFFFF> <0000> <00000000> <FFFFFFFF> <00410042>");
  EXPECT_EQ(all.text(0xFFFFFFFF, 4), u"AA");
  std::string many = "beginbfrange <0000> <0001> [";
  for (int i = 0; i < 200000; ++i)
    many += "<0041>[";
  EXPECT_EQ(ToUnicode(many).text(0), u"A");
  std::string spaces = "begincodespacerange ";
  for (int i = 0; i < 100000; ++i)
    spaces += "<00> <" + std::string("0123456789ABCDEF").substr(static_cast<std::size_t>(i % 16), 1) + "F>";
  EXPECT_EQ(CMap(spaces).decode("\xF0"), "1:0");
  std::string crossing = "begincidrange ";
  for (int i = 0; i < 50000; ++i)
    crossing += "<0000> <FFFF> " + std::to_string(i) + " <0000> <00FF> 5 ";
  EXPECT_EQ(CMap(crossing)->cid_of(0x101, 2), 49999u + 0x101);
}

TEST(CMap, EveryPrefixAndEveryFailedAllocationIsSurvived) {
  std::string good = kMixed;
  for (std::size_t len = 0; len <= good.size(); ++len) {
    const CMap map(good.substr(0, len));
    EXPECT_TRUE(map.map == nullptr || map->cid_of(0xFFFF, 2) == 0) << len;
  }
  // Ranges enough for their lists to grow: what grows no further must not pass for a whole map.
  good += "begincidrange ";
  std::string texts = "beginbfrange <00> <02> [<0041> <00420043>] <01> <02> <0044> ";
  for (int i = 0; i < 40; ++i) {
    const std::string code = "<90" + std::to_string(10 + i) + ">";
    good += code + " " + code + " " + std::to_string(500 + 2 * i) + " ";
    texts += code + " " + code + " <00" + std::to_string(10 + i) + "0042> ";
  }
  struct Heap {
    long left;
    long held;
  };
  bool failed = true;
  for (long allowed = 0; failed; ++allowed) {
    Heap heap{allowed, 0};
    const QVHeapHooks hooks{[](void* context, std::size_t size) -> void* {
                              auto& self = *static_cast<Heap*>(context);
                              if (self.left-- <= 0)
                                return nullptr;
                              ++self.held;
                              return std::malloc(size);
                            },
                            [](void* context, void* block, std::size_t size) -> void* {
                              auto& self = *static_cast<Heap*>(context);
                              if (self.left-- <= 0)
                                return nullptr;
                              self.held += block == nullptr ? 1 : 0;
                              return std::realloc(block, size);
                            },
                            [](void* context, void* block) {
                              static_cast<Heap*>(context)->held -= block != nullptr ? 1 : 0;
                              std::free(block);
                            },
                            &heap};
    set_heap_hooks(&hooks);
    {
      const CMap map(good);
      EXPECT_TRUE(map.map == nullptr || map->cid_of(0x9049, 2) == 578) << allowed;
      const ToUnicode text(texts);
      char16_t units[4];
      EXPECT_TRUE(text.map == nullptr || text->text_of(0x9049, 2, units, 4) == 2) << allowed;
    }
    set_heap_hooks(nullptr);
    EXPECT_EQ(heap.held, 0);
    failed = heap.left < 0;
    ASSERT_LT(allowed, 1000);
  }
}

struct Folders : testing::Test {
  Folders() : env(new CPDFEnviroment) {
    std::filesystem::create_directory(folder / "Own-Collection");
    env->add_cmap_folder((folder / "").c_str());
  }
  ~Folders() override { CPDFEnviroment::destroy(env); }
  void put(const std::string& name, const std::string& text) { write_file(folder / name, text); }

  TestFolder folder;
  CPDFEnviroment* env;
};

TEST_F(Folders, MapsBuildOnOthersAndAreShared) {
  put("Own-Collection/Own-H", kMixed);
  put("Own-V", "/Own-H usecmap /WMode 1 def begincidchar <42> 5 endcidchar beginnotdefrange <00> <7F> 8");
  const CMap vertical(env->load_cmap("Own-V"));
  ASSERT_NE(vertical.map, nullptr);
  EXPECT_TRUE(vertical->is_vertical());
  EXPECT_EQ(vertical.decode("\x41\x42\x81\x40\x01\x7F"), "1:1000 1:5 2:633 1:8 1:8");
  auto* copy = new CPDFEnviroment(*env);
  const CMap base(copy->load_cmap("Own-H"));
  EXPECT_EQ(base->ref_count, 2);  // this one and the vertical map's
  EXPECT_EQ(copy->load_cmap("Own-V"), vertical.map);
  EXPECT_EQ(vertical->ref_count, 2);
  copy->release_cmap(vertical.map);
  CPDFEnviroment::destroy(copy);
  EXPECT_EQ(vertical->ref_count, 1);
  env->release_cmap(nullptr);
}

TEST_F(Folders, ThreadsShareMapsThroughTheirCopies) {
  put("Own-H", kMixed);
  put("Own-V", "/Own-H usecmap /WMode 1 def");
  std::vector<std::thread> threads;
  std::atomic<int> right = 0;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([this, &right] {
      auto* copy = new CPDFEnviroment(*env);
      for (int round = 0; round < 50; ++round) {
        const CMap map(copy->load_cmap(round % 2 == 0 ? "Own-V" : "Own-H"));
        right += map->cid_of(0x41, 1) == 1000 ? 1 : 0;
      }
      CPDFEnviroment::destroy(copy);
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(right, 200);
  const CMap last(env->load_cmap("Own-H"));
  EXPECT_EQ(last->ref_count, 1);  // loaded anew
}

TEST_F(Folders, LoopsAndChainsOfMapsEnd) {
  put("A", "/B usecmap begincidchar <41> 1 endcidchar");
  put("B", "/A usecmap begincidchar <42> 2 endcidchar");
  const CMap loop(env->load_cmap("A"));
  EXPECT_EQ(loop->cid_of(0x41, 1) + loop->cid_of(0x42, 1), 3u);
  put("Self", "/Self usecmap /Other usecmap");
  EXPECT_NE(CMap(env->load_cmap("Self")).map, nullptr);
  for (int i = 0; i < 20; ++i)
    put("C" + std::to_string(i),
        "/C" + std::to_string(i + 1) + " usecmap begincidchar <" + std::to_string(10 + i) + "> 1");
  for (int first = 19; first >= 0; --first) {
    const CMap chain(env->load_cmap(("C" + std::to_string(first)).c_str()));
    EXPECT_EQ(chain->cid_of(static_cast<std::uint32_t>(0x10 + first), 1), first < 10 ? 1u : 0u);
  }
  std::vector<CPDFCMap*> held;  // now each finds its base loaded
  for (int first = 9; first >= 0; --first)
    held.push_back(env->load_cmap(("C" + std::to_string(first)).c_str()));
  for (CPDFCMap* map : held)
    env->release_cmap(map);
}

TEST_F(Folders, NamesCannotLeadOutAndOtherFilesAreNoMaps) {
  put("note.txt", "no map at all");
  write_file(folder / "Own-Collection/inner", kMixed);
  EXPECT_NE(CMap(env->load_cmap("inner")).map, nullptr);
  for (const std::string& name :
       {std::string("Own-Collection/inner"), std::string("../x"), std::string(".."), std::string(), std::string("a b"),
        std::string(10000, 'a'), std::string("Own-Collection"), std::string("note.txt"), std::string("missing")}) {
    EXPECT_EQ(env->load_cmap(name.c_str()), nullptr) << name;
    EXPECT_EQ(env->load_cmap_tounicode(name.c_str()), nullptr) << name;
  }
}

// A table with an environment, whose maps are watched through the environment that it was copied from.
struct MapCaches : Folders {
  MapCaches() : t("") { t.table.set_envirment(env, "test"); }
  TestTable t;
};

TEST_F(MapCaches, HitsCountAndEverythingIsGivenBack) {
  put("M", kMixed);
  CPDFCMap* watched = env->load_cmap("M");
  CPDFCMap* first = t.table.get_cmap("M");
  EXPECT_EQ(first, watched);
  EXPECT_EQ(first->ref_count, 3);  // the watcher's, the cache's, the caller's
  EXPECT_EQ(t.table.get_cmap("M"), first);
  EXPECT_EQ(first->ref_count, 4);
  EXPECT_EQ(t.table.cmap_cache.count, 1);
  t.table.env->release_cmap(first);
  t.table.env->release_cmap(first);
  CPDFCMapToUnicode* text = t.table.get_cmap_tou("Identity-V");
  EXPECT_EQ(text->ref_count, 2);
  t.table.env->release_cmap_tounicode(text);
  t.table.XRefFree();
  EXPECT_EQ(watched->ref_count, 1);
  EXPECT_EQ(t.table.cmap_cache.items, nullptr);
  env->release_cmap(watched);
}

TEST_F(MapCaches, UnknownNamesAreAskedForAgain) {
  EXPECT_EQ(t.table.get_cmap("Later"), nullptr);
  EXPECT_EQ(t.table.get_cmap_tou("Later"), nullptr);
  EXPECT_EQ(t.table.cmap_cache.count + t.table.cmap_tou_cache.count, 0);
  put("Later", std::string(kMixed) + "beginbfchar <41> <0041>");
  const CMap map(t.table.get_cmap("Later"));
  const ToUnicode text(t.table.get_cmap_tou("Later"));
  EXPECT_EQ(map->cid_of(0x41, 1), 1000u);
  EXPECT_EQ(text.text(0x41, 1), u"A");
}

// Lets so many requests of the heap family through, and refuses the others.
struct CallLimit {
  CallLimit() { set_heap_hooks(&hooks); }
  ~CallLimit() { end(); }
  void end() { set_heap_hooks(nullptr); }
  int allocs = 0;
  int reallocs = 0;
  QVHeapHooks hooks{[](void* self, std::size_t size) -> void* {
                      return static_cast<CallLimit*>(self)->allocs-- > 0 ? std::malloc(size) : nullptr;
                    },
                    [](void* self, void* block, std::size_t size) -> void* {
                      return static_cast<CallLimit*>(self)->reallocs-- > 0 ? std::realloc(block, size) : nullptr;
                    },
                    [](void*, void* block) { std::free(block); }, this};
};

TEST_F(MapCaches, EntriesStandInOrderAndGrowBySteps) {
  CPDFCacheCMap& cache = t.table.cmap_cache;
  for (const char* name : {"b", "a", "c"}) {
    put(name, kMixed);
    CPDFSharedCMap::release(t.table.get_cmap(name));
  }
  ASSERT_EQ(cache.count, 3);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(cache.items[i].name, std::string(1, static_cast<char>('a' + i)));
    EXPECT_EQ(CMap(t.table.get_cmap(cache.items[i].name)).map, cache.items[i].map);
  }
  while (cache.count < 32)
    EXPECT_EQ(cache.insert_map(cache.count, "z")->map, nullptr);
  CallLimit heap;
  EXPECT_EQ(cache.insert_map(32, "z"), nullptr);  // no memory: all stays as it was
  EXPECT_EQ(cache.count, 32);
  heap.reallocs = 1;
  EXPECT_EQ(cache.insert_map(32, "z"), nullptr);  // nor for the name
  EXPECT_EQ(cache.count, 32);
  EXPECT_EQ(heap.reallocs, 0);
  heap.allocs = 1;
  EXPECT_NE(cache.insert_map(32, "z"), nullptr);
  heap.end();
  for (int twice = 0; twice < 2; ++twice) {
    cache.clear();
    t.table.cmap_tou_cache.clear();
    EXPECT_EQ(cache.items, nullptr);
    EXPECT_EQ(cache.count + t.table.cmap_tou_cache.count, 0);
  }
}

TEST_F(MapCaches, StreamsOfDocumentsBuildOnOneAnother) {
  PdfBuilder builder;
  builder.pages(1)
      .stream(4, "/Type/CMap/CMapName/Own/WMode 1/UseCMap 5 0 R", "begincidchar <0041> 1 endcidchar")
      .stream(5, "/UseCMap/Identity-H", "begincidchar <0042> 2 endcidchar")
      .stream(6, "/UseCMap 7 0 R", "beginbfchar <41> <0058> endbfchar")
      .stream(7, "/UseCMap 6 0 R", "beginbfchar <42> <0059> endbfchar")
      .stream(8, "", "/Identity-V usecmap");
  TestTable doc(builder.classic().str());
  doc.table.XRefRead(static_cast<unsigned>(builder.last_section()));
  const auto load = [&doc](int num) {
    Freed<CPDFObj> ref;
    ref.set_ref({num, 0});
    return CPDFCMap::load(doc.table, &ref);
  };
  const CMap map(load(4));
  EXPECT_EQ(map.decode(std::string("\0\x41\0\x42\0\x43", 6)), "2:1 2:2 2:67");
  EXPECT_TRUE(map->is_vertical());
  EXPECT_EQ(CMap(load(8))->cid_of(9, 2), 9u);
  EXPECT_EQ(load(3), nullptr);
  EXPECT_EQ(load(99), nullptr);
  Freed<CPDFObj> looped;
  looped.set_ref({6, 0});
  const ToUnicode text(CPDFCMapToUnicode::load(doc.table, &looped));
  EXPECT_EQ(text.text(0x41, 1) + text.text(0x42, 1), u"XY");
}

TEST(CMap, PredefinedOnesAreFoundInTheSystem) {
  char path[4096];
  if (!find_resource(GrowArray<char*>(), "UniJIS-UTF16-H", path, sizeof(path)))
    GTEST_SKIP() << "no predefined CMaps here: install poppler-data";
  auto* env = new CPDFEnviroment;
  {
    const CMap utf16(env->load_cmap("UniJIS-UTF16-H"));
    const CMap shift_jis(env->load_cmap("90ms-RKSJ-V"));
    const CMap gb(env->load_cmap("GBK2K-H"));
    const ToUnicode japan(env->load_cmap_tounicode("Adobe-Japan1-UCS2"));
    EXPECT_EQ(utf16.decode(std::string("\0A\x30\x42\xD8\x40\xDC\x0B", 8)), "2:34 2:843 4:13839");
    EXPECT_EQ(shift_jis.decode("A\x82\xA0\x81\x41"), "1:264 2:843 2:7887");
    EXPECT_TRUE(shift_jis->is_vertical());
    EXPECT_STREQ(gb->info().ordering, "GB1");
    EXPECT_EQ(gb.decode("\x81\x30\x84\x36\xB0\xA1"), "4:22354 2:940");
    EXPECT_EQ(japan.text(843), u"\u3042");
  }
  CPDFEnviroment::destroy(env);
}

}  // namespace
