// Whole JBIG2 streams: the standard's example, every kind of region against a plain encoder, pages,
// and what damaged or greedy streams become.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "sheaf/neighbours/decoders/jbig2/jb2_refinement.h"
#include "support/failing_heap.h"
#include "support/jbig2_encoder.h"
#include "support/jbig2_example.h"
#include "support/jbig2_pages.h"

using namespace sheaf;

using namespace jb2_test;

namespace {

constexpr unsigned kImmediateText = 6;
constexpr unsigned kPatterns = 16;
constexpr unsigned kHalftone = 22;
constexpr unsigned kIntermediateGeneric = 36;
constexpr unsigned kGeneric = 38;
constexpr unsigned kRefinement = 42;

// The pictures of Annex H; '#' is black.
const char* const kExampleText[] = {
    ".####....####...####....####....####.", "#....#.......#..#...#.......#..#....#",
    "#........#####..#...#...#####..#.....", "#.......#....#..#...#..#....#..#.....",
    "#....#..#....#..####...#....#..#....#", ".####....#####..#.......#####...####.",
    "................#....................", "................#....................",
};
const char* const kExampleHalftone[] = {
    "......................#...#...#.", "......#..##..##..##..##.###.###.", "..............#..##..##..##..##.",
    ".............................#..", "..................#...#...#...#.", "..#..##..##..##..##.###.###.###.",
    "..........#..##..##..##..##..###", ".........................#...#..", "..............#...#...#...#..##.",
    ".##..##..##..##.###.###.###.###.", "......#..##..##..##..##..#######", ".....................#...#...#..",
    "..........#...#...#...#..##..##.", ".##..##..##.###.###.###.###.###.", "..#..##..##..##..##..###########",
    ".................#...#...#...##.", "......#...#...#...#..##..##..##.", ".##..##.###.###.###.###.###.####",
    ".##..##..##..##..###############", ".............#...#...#...##..##.", "..#...#...#...#..##..##..##.###.",
    ".##.###.###.###.###.###.########", ".##..##..##..###################", ".........#...#...#...##..##..##.",
    "..#...#...#..##..##..##.###.####", "###.###.###.###.###.############", ".##..##..#######################",
    ".....#...#...#...##..##..##..##.", "..#...#..##..##..##.###.########", "###.###.###.###.################",
    ".##..###########################", ".#...#...#...##..##..##..##..###", "..#..##..##..##.###.############",
    "###.###.###.####################", ".###############################", ".#...#...##..##..##..##..#######",
};

template <std::size_t N>
Picture drawn(const char* const (&rows)[N]) {
  Picture picture(static_cast<int>(std::string(rows[0]).size()), static_cast<int>(N));
  for (int y = 0; y < picture.height; ++y)
    for (int x = 0; x < picture.width; ++x)
      picture.set(x, y, rows[y][x] == '#' ? 1 : 0);
  return picture;
}

// The first two pages: the text, a frame two pixels thick, and the halftone in it.
Picture example_page() {
  Picture page(64, 56);
  combine(page, drawn(kExampleText), 4, 1, 0);
  Picture frame(54, 44);
  for (int y = 0; y < frame.height; ++y)
    for (int x = 0; x < frame.width; ++x)
      frame.set(x, y, x < 2 || y < 2 || x >= 52 || y >= 42 ? 1 : 0);
  combine(page, frame, 4, 11, 0);
  combine(page, drawn(kExampleHalftone), 16, 15, 0);
  return page;
}

TEST(Jbig2Example, ThreePagesOfTheStandard) {
  const Decoded decoded(example(0, 20, true));
  ASSERT_EQ(decoded.result, 1);
  ASSERT_EQ(decoded.page_last, 2);
  EXPECT_EQ(decoded.page(0), example_page());
  EXPECT_EQ(decoded.page(1), example_page());
  EXPECT_EQ(decoded.page(2), drawn(kExampleText));
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(decoded.pages[i].state, kPageFinished);
}

TEST(Jbig2Example, GlobalSegmentsApart) {
  Decoded globals(example(0, 0, false));
  EXPECT_EQ(globals.result, 0);
  EXPECT_EQ(Decoded(example(8, 13, false), &globals).page(), example_page());
  EXPECT_NE(Decoded(example(8, 13, false)).page(), example_page());
}

// Every piece of the example, cut off or changed, decodes to something and releases all of it.
TEST(Jbig2Example, PrefixesAndChangedBytesDoNoHarm) {
  const std::string whole = example(0, 20, false);
  for (std::size_t size = 0; size < whole.size(); size += 3)
    Decoded(whole.substr(0, size));
  std::mt19937 random(11);
  for (int round = 0; round < 300; ++round) {
    std::string changed = whole;
    for (int i = 0; i < 3; ++i)
      changed[random() % changed.size()] = static_cast<char>(random());
    const Decoded decoded(changed);
    EXPECT_TRUE(decoded.result == 0 || decoded.pages[decoded.page_last].bitmap != nullptr);
  }
}

TEST(Jbig2Example, EveryRefusedRequestIsSurvived) {
  const std::string whole = example(0, 20, false);
  for (long long request = 1;; ++request) {
    FailingHeap heap(request);
    {
      const Decoded decoded(whole);
      EXPECT_TRUE(decoded.result == 0 || decoded.pages[decoded.page_last].bitmap != nullptr) << request;
    }
    ASSERT_EQ(heap.held, 0) << request;
    if (!heap.has_refused())
      break;
  }
}

struct GenericCase {
  int number;
  bool extended;
  Places adaptive;
};

TEST(Jbig2Generic, AllTemplatesSizesAndPlaces) {
  const GenericCase cases[] = {
      {0, false, nominal_adaptive(0)},
      {1, false, nominal_adaptive(1)},
      {2, false, nominal_adaptive(2)},
      {3, false, nominal_adaptive(3)},
      {0, false, {{3, -1}, {-8, 0}, {2, -2}, {-1, -9}}},
      {1, false, {{-1, 0}}},
      {2, false, {{-20, -1}}},
      {3, false, {{127, -128}}},
      {0, true, nominal_adaptive(0, true)},
      {0,
       true,
       {{-2, 0},
        {0, -3},
        {-2, -1},
        {-1, -2},
        {1, -2},
        {9, -1},
        {-30, 0},
        {-4, 0},
        {2, -2},
        {3, -1},
        {-2, -2},
        {5, -5}}},
  };
  for (const GenericCase& c : cases) {
    for (const bool typical : {false, true}) {
      for (const int width : {1, 7, 8, 9, 63, 64, 65, 203}) {
        const Picture picture = Picture::sample(width, 40, static_cast<std::uint32_t>(width));
        const std::string body = generic_body(picture, c.number, typical, c.adaptive, c.extended);
        EXPECT_EQ(Decoded(page_of(picture, segment(1, kGeneric, {}, body))).page(), picture)
            << c.number << c.extended << typical << " " << width;
      }
    }
  }
}

TEST(Jbig2Generic, BlankRowsCostNextToNothing) {
  Picture picture(3000, 300);
  picture.set(2999, 150, 1);
  picture.set(1600, 299, 1);
  EXPECT_EQ(Decoded(page_of(picture, segment(1, kGeneric, {}, generic_body(picture)))).page(), picture);
}

// Encoders may leave out the end mark and all pairs 7F FF in front of it, also when that is all there is.
std::string stripped(std::string body) {
  body.resize(body.size() - 2);
  while (body.ends_with("\x7F\xFF"))
    body.resize(body.size() - 2);
  return body;
}

TEST(Jbig2Generic, EveryRowComesHoweverMuchWasLeftOutAfterTheData) {
  const auto made = [](int width, int height, unsigned (*pixel)(int, int)) {
    Picture picture(width, height);
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x)
        picture.set(x, y, pixel(x, y));
    return picture;
  };
  unsigned (*const kinds[])(int, int) = {
      [](int, int) { return 0u; },
      [](int, int) { return 1u; },
      [](int x, int y) { return static_cast<unsigned>(x ^ y) & 1; },
      [](int x, int y) { return y < 20 ? static_cast<unsigned>(x * y) >> 3 & 1 : 0u; },
  };
  for (const auto& kind : kinds) {
    for (const int number : {0, 3}) {
      const Picture picture = made(399, 400, kind);
      const std::string body = stripped(generic_body(picture, number, false, nominal_adaptive(number)));
      EXPECT_EQ(Decoded(page_of(picture, segment(1, kGeneric, {}, body))).page(), picture) << number;
    }
  }
  const Picture large = made(3000, 3000, kinds[1]);
  const std::string shared = segment(1, kGeneric, {}, stripped(generic_body(large)));
  EXPECT_EQ(Decoded(page_of(large, shared)).page(), large) << shared.size() << " bytes";
}

TEST(Jbig2Generic, UnknownLengthEndsWithItsRowCount) {
  const Picture picture = Picture::sample(90, 30, 5);
  Picture taller(90, 50);
  std::string coded = segment(1, kGeneric, {}, generic_body(picture));
  const std::size_t length_at = 7;
  const std::size_t height_at = 11 + 4;
  coded.replace(length_at, 4, u32(0xFFFFFFFF));
  coded.replace(height_at, 4, u32(50));
  combine(taller, picture, 0, 0, 4);
  const std::string next = segment(2, kGeneric, {}, generic_body(Picture::sample(9, 9, 1), 0, 40));
  combine(taller, Picture::sample(9, 9, 1), 0, 40, 0);
  EXPECT_EQ(Decoded(page_of(taller, coded + u32(30) + next)).page(), taller);
  EXPECT_EQ(Decoded(page_of(taller, coded)).page().height, 50);
}

TEST(Jbig2Refinement, BothTemplatesAtAnyOffset) {
  const Picture reference = Picture::sample(70, 30, 1);
  Picture picture = Picture::sample(61, 33, 1);
  picture.set(10, 2, 1);
  for (const int number : {0, 1}) {
    for (const bool typical : {false, true}) {
      for (const int dx : {0, -3, 9, -70}) {
        for (const Places& adaptive : {Places{{-1, -1}, {-1, -1}}, Places{{-7, -2}, {8, 3}}}) {
          ArithmeticEncoder encoder;
          Contexts contexts;
          encode_refinement(encoder, contexts, picture, reference, dx, -dx / 3, number, typical, adaptive);
          const std::string coded = encoder.finish();
          Decoded home(page_of(reference, segment(1, kGeneric, {}, generic_body(reference))));
          jb2::bitmap_clear_padding(*home.pages[0].bitmap);
          jb2::RefinementParams params = {static_cast<unsigned>(number), typical, {},
                                          home.pages[0].bitmap,          dx,      -dx / 3};
          for (std::size_t i = 0; i < 2; ++i)
            params.adaptive[i] = {static_cast<std::int8_t>(adaptive[i].dx), static_cast<std::int8_t>(adaptive[i].dy)};
          const jb2::BitmapHold out(home.limits, jb2::bitmap_new(home.limits, picture.width, picture.height));
          jb2::ArithmeticDecoder decoder(reinterpret_cast<const std::uint8_t*>(coded.data()), coded.size());
          contexts.assign(1 << 13, 0);
          ASSERT_TRUE(jb2::decode_refinement(decoder, contexts.data(), params, home.limits, *out));
          EXPECT_EQ(picture_of(*out), picture) << number << typical << dx;
        }
      }
    }
  }
}

std::string refinement_body(const Picture& picture, const Picture& reference, int x, int y, unsigned op) {
  ArithmeticEncoder encoder;
  Contexts contexts;
  encode_refinement(encoder, contexts, picture, reference, 0, 0, 1, true);
  return region_info(picture, x, y, op) + u8(3) + encoder.finish();
}

TEST(Jbig2Refinement, EveryRowComesHoweverMuchWasLeftOut) {
  const Picture blank(2000, 2000);
  const std::string refined = stripped(refinement_body(blank, blank, 0, 0, 4));
  EXPECT_EQ(Decoded(page_of(blank, segment(1, kRefinement, {}, refined))).page(), blank);
  const Picture black = Picture::sample(399, 400, 2);
  const std::string page = segment(1, kGeneric, {}, generic_body(black));
  const std::string same = stripped(refinement_body(black, black, 0, 0, 4));
  EXPECT_EQ(Decoded(page_of(black, page + segment(2, kRefinement, {}, same))).page(), black);
}

TEST(Jbig2Refinement, OfThePageAndOfAnIntermediateRegion) {
  const Picture before = Picture::sample(100, 40, 1);
  const Picture target = Picture::sample(50, 20, 9);
  Picture part(50, 20);
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 50; ++x)
      part.set(x, y, before.get(x + 7, y + 5));
  Picture after = before;
  combine(after, target, 7, 5, 4);
  const std::string page = segment(1, kGeneric, {}, generic_body(before));
  EXPECT_EQ(Decoded(page_of(before, page + segment(2, kRefinement, {}, refinement_body(target, part, 7, 5, 4)))).page(),
            after);
  const std::string intermediate = segment(2, kIntermediateGeneric, {}, generic_body(part));
  const std::string refined = segment(3, kRefinement, {2}, refinement_body(target, part, 7, 5, 4));
  EXPECT_EQ(Decoded(page_of(before, page + intermediate + refined)).page(), after);
  EXPECT_EQ(Decoded(page_of(before, page + refined)).page(), before) << "a reference that is not there";
}

std::vector<Picture> sample_symbols() {
  std::vector<Picture> symbols;
  for (const auto& [width, height] : {std::pair{5, 7}, {12, 7}, {1, 9}, {0, 9}, {70, 11}, {9, 14}, {8, 14}})
    symbols.push_back(Picture::sample(width, height, static_cast<std::uint32_t>(width * 31 + height)));
  for (Picture& symbol : symbols)
    for (int x = 0; x < symbol.width; ++x)
      symbol.set(x, x % std::max(symbol.height, 1), 1);
  return symbols;
}

TEST(Jbig2Text, EveryCornerDirectionAndOperator) {
  const std::vector<Picture> symbols = sample_symbols();
  const std::string dictionary = segment(1, 0, {}, dictionary_body(symbols), 0);
  const std::vector<Instance> instances = {{0, 3, 4},   {1, 9, 5},   {4, 2, 6},    {5, 30, 7},  {3, 40, 7},
                                           {6, 44, 20}, {2, 90, 21}, {4, -30, 33}, {1, 97, 50}, {0, 20, -3}};
  for (unsigned corner = 0; corner < 4; ++corner) {
    for (unsigned op = 0; op < 4; ++op) {
      for (const bool transposed : {false, true}) {
        const TextLayout layout = {corner, transposed, op, op, static_cast<int>(corner) * 5 - 7, op == 1};
        Picture expected(100, 60);
        if (layout.black)
          std::fill(expected.pixels.begin(), expected.pixels.end(), std::uint8_t{1});
        for (const Instance& instance : instances)
          combine(expected, symbols[instance.id], instance.x, instance.y, op);
        const std::string body = text_body(symbols, instances, expected, layout);
        EXPECT_EQ(Decoded(page_of(expected, dictionary + segment(2, kImmediateText, {1}, body))).page(), expected)
            << corner << op << transposed;
      }
    }
  }
}

TEST(Jbig2Symbols, StatisticsGoOnInALaterDictionary) {
  const std::vector<Picture> first = sample_symbols();
  std::vector<Picture> second = first;
  for (Picture& symbol : second)
    symbol.set(0, 0, 0);
  Contexts contexts;
  std::string bytes = segment(1, 0, {}, dictionary_body(first, contexts, 0x200));
  bytes += segment(2, 0, {1}, dictionary_body(second, contexts, 0x100, static_cast<int>(first.size())));
  Picture expected(40, 20);
  combine(expected, second[5], 4, 4, 0);
  bytes += segment(3, kImmediateText, {2}, text_body(second, {{5, 4, 4}}, expected, {}));
  EXPECT_EQ(Decoded(page_of(expected, bytes)).page(), expected);
}

// Bits written as text, padded to whole bytes.
std::string packed(const std::string& bits) {
  std::string bytes;
  for (std::size_t i = 0; i < bits.size(); ++i) {
    if (i % 8 == 0)
      bytes += '\0';
    if (bits[i] == '1')
      bytes.back() = static_cast<char>(bytes.back() | 0x80 >> i % 8);
  }
  return bytes;
}

// A number below 16 by Table B.1.
std::string small_number(std::size_t number) {
  std::string bits = "0";
  for (int i = 3; i >= 0; --i)
    bits += (number >> i & 1) != 0 ? '1' : '0';
  return bits;
}

// One symbol that refines another, and one of two others of which the second is refined.
TEST(Jbig2Symbols, HuffmanCodedRefinementsAndAggregates) {
  const std::vector<Picture> first = {Picture::sample(8, 8, 1), Picture::sample(8, 8, 2)};
  Picture refined = first[0];
  refined.set(3, 3, 1);
  refined.set(5, 6, 1);
  Picture other = first[1];
  other.set(1, 6, 1);
  Picture both(16, 8);
  combine(both, first[0], 0, 0, 0);
  combine(both, other, 7, 0, 0);
  Contexts contexts;
  const auto refinement = [&](const Picture& picture, const Picture& reference) {
    ArithmeticEncoder encoder;
    encode_refinement(encoder, contexts, picture, reference, 0, 0, 1, false);
    return encoder.finish();
  };
  const std::string one = refinement(refined, first[0]);
  const std::string two = refinement(other, first[1]);
  // The height and the width 8, one instance: ID 0 at 0, 0.
  std::string body = packed(
                         "1110100"
                         "1110101"
                         "00001"
                         "00"
                         "0"
                         "0" +
                         small_number(one.size())) +
                     one;
  // The width 8 more, two instances from T 0, S 0: ID 0 as it is, ID 1 refined right behind.
  body += packed(
              "1110101"
              "00010"
              "0"
              "0"
              "000000000"
              "00"
              "0"
              "000"
              "01"
              "1"
              "0000" +
              small_number(two.size())) +
          two;
  // The ends of the strip and of the class; two symbols that are not exported and two that are.
  body += packed(
      "01"
      "111111"
      "00010"
      "00010");
  body = u16(1 | 2 | 0x1000) + u32(2) + u32(2) + body;
  Picture expected(60, 20);
  combine(expected, refined, 5, 6, 0);
  combine(expected, both, 30, 7, 0);
  const std::string stream = page_of(
      expected, segment(1, 0, {}, dictionary_body(first)) + segment(2, 0, {1}, body) +
                    segment(3, kImmediateText, {2}, text_body({refined, both}, {{0, 5, 6}, {1, 30, 7}}, expected, {})));
  EXPECT_EQ(Decoded(stream).page(), expected);
}

// A grid that leaves the region on all sides, turned, of which only cells that show are coded.
TEST(Jbig2Halftone, SkippedCellsAreNotCoded) {
  constexpr int kWidth = 5, kHeight = 4, kCount = 6, kColumns = 14, kRows = 12;
  Picture patterns(kWidth * kCount, kHeight);
  for (int i = 0; i < kCount; ++i)
    for (int k = 0; k < i * 4; ++k)
      patterns.set(i * kWidth + k % kWidth, k / kWidth, 1);
  ArithmeticEncoder pattern_encoder;
  Contexts contexts;
  encode_generic(pattern_encoder, contexts, patterns, 0, false, {{-kWidth, 0}, {-3, -1}, {2, -2}, {-2, -2}});
  const std::string dictionary = u8(0) + u8(kWidth) + u8(kHeight) + u32(kCount - 1) + pattern_encoder.finish();

  const int x0 = -700, y0 = 500, step_x = 1200, step_y = 300;
  Picture expected(50, 40), skip(kColumns, kRows), grey(kColumns, kRows);
  for (int row = 0; row < kRows; ++row) {
    for (int column = 0; column < kColumns; ++column) {
      const int x = (x0 + row * step_y + column * step_x) >> 8;
      const int y = (y0 + row * step_x - column * step_y) >> 8;
      const bool shows = x + kWidth > 0 && x < 50 && y + kHeight > 0 && y < 40;
      skip.set(column, row, shows ? 0 : 1);
      const int value = (row * 3 + column) % kCount;
      grey.set(column, row, shows ? static_cast<unsigned>(value) : 0);
      Picture pattern(kWidth, kHeight);
      combine(pattern, patterns, -value * kWidth, 0, 4);
      combine(expected, pattern, x, y, 2);
    }
  }
  ArithmeticEncoder encoder;
  Contexts planes;
  for (int bit = 2; bit >= 0; --bit) {
    Picture plane(kColumns, kRows);
    for (int row = 0; row < kRows; ++row)
      for (int column = 0; column < kColumns; ++column)
        plane.set(column, row, (grey.get(column, row) >> bit ^ grey.get(column, row) >> (bit + 1)) & 1);
    encode_generic(encoder, planes, plane, 2, false, nominal_adaptive(2), false, &skip);
  }
  const std::string body = region_info(expected) + u8(2 << 1 | 8 | 2 << 4) + u32(kColumns) + u32(kRows) +
                           u32(static_cast<std::uint32_t>(x0)) + u32(y0) + u16(step_x) + u16(step_y) + encoder.finish();
  EXPECT_EQ(Decoded(page_of(expected, segment(1, kPatterns, {}, dictionary) + segment(2, kHalftone, {1}, body))).page(),
            expected);
}

TEST(Jbig2Page, OperatorsAndTheDefaultPixel) {
  const Picture part = Picture::sample(33, 20, 4);
  for (const unsigned flags : {0u, 4u}) {
    Picture expected(60, 40);
    std::fill(expected.pixels.begin(), expected.pixels.end(), static_cast<std::uint8_t>(flags != 0));
    std::string segments;
    for (unsigned op = 0; op < 5; ++op) {
      const int x = static_cast<int>(op) * 11 - 8;
      combine(expected, part, x, x, op);
      segments += segment(op + 1, kGeneric, {}, generic_body(part, x, x, op));
    }
    EXPECT_EQ(Decoded(page_of(expected, segments, flags)).page(), expected) << flags;
  }
}

TEST(Jbig2Page, UnknownHeightEndsWithTheLastStripe) {
  const Picture stripe = Picture::sample(45, 16, 2);
  const auto stripes = [&](int last_row, bool black) {
    return segment(0, 48, {}, page_info(45, 0xFFFFFFFF, black ? 4 : 0, 0x8010)) +
           segment(1, kGeneric, {}, generic_body(stripe)) + segment(2, 50, {}, u32(15)) +
           segment(3, kGeneric, {}, generic_body(stripe, 0, 16)) +
           segment(4, 50, {}, u32(static_cast<std::uint32_t>(last_row))) + segment(5, 49, {}, "");
  };
  Picture expected(45, 32);
  combine(expected, stripe, 0, 0, 0);
  combine(expected, stripe, 0, 16, 0);
  EXPECT_EQ(Decoded(stripes(31, false)).page(), expected);
  EXPECT_EQ(Decoded(stripes(19, false)).page().height, 20);
  const Picture longer = Decoded(stripes(39, true)).page();
  EXPECT_EQ(longer.height, 40);
  EXPECT_EQ(longer.get(44, 39), 1u);
}

TEST(Jbig2Segments, LargeNumbersManyReferencesAndLargePages) {
  const std::vector<Picture> symbols = sample_symbols();
  for (const std::uint32_t base : {5u, 300u, 70000u}) {
    std::string segments;
    std::vector<std::uint32_t> referred;
    for (std::uint32_t i = 0; i < symbols.size(); ++i) {
      segments += segment(base + i, 0, {}, dictionary_body({symbols[i]}), 1000);
      referred.push_back(base + i);
    }
    Picture expected(60, 20);
    combine(expected, symbols[5], 7, 3, 0);
    segments += segment(base + 900, 62, {}, "a comment") + segment(base + 901, 51, {}, "");
    segments += segment(base + 1000, kImmediateText, referred, text_body(symbols, {{5, 7, 3}}, expected, {}), 1000);
    const std::string page = segment(1, 48, {}, page_info(60, 20), 1000);
    EXPECT_EQ(Decoded(page + segments).page(), expected) << base;
  }
}

TEST(Jbig2Segments, FilesOfBothOrders) {
  const Picture picture = Picture::sample(30, 20, 8);
  const std::string sound[] = {segment(0, 48, {}, page_info(30, 20)), segment(1, kGeneric, {}, generic_body(picture)),
                               segment(2, 49, {}, ""), segment(3, 51, {}, "", 0)};
  constexpr std::size_t kHead = 11;
  std::string heads, bodies, all;
  for (const std::string& bytes : sound) {
    heads += bytes.substr(0, kHead);
    bodies += bytes.substr(kHead);
    all += bytes;
  }
  const std::string id = from_hex("97 4A 42 32 0D 0A 1A 0A");
  EXPECT_EQ(Decoded(id + u8(1) + u32(1) + all).page(), picture);
  EXPECT_EQ(Decoded(id + u8(3) + all).page(), picture);
  EXPECT_EQ(Decoded(id + u8(0) + u32(1) + heads + bodies).page(), picture);
  EXPECT_EQ(Decoded(id + u8(2) + heads).result, 0) << "the bodies are missing";
}

// Regions of the colour extension are not drawn as if they were black.
TEST(Jbig2Segments, ColouredRegionsAreLeftOut) {
  const std::vector<Picture> symbols = sample_symbols();
  const Picture page(60, 20);
  constexpr std::size_t kFlagsAt = 16;
  std::string generic = generic_body(Picture::sample(30, 20, 8));
  std::string text = text_body(symbols, {{5, 7, 3}}, page, {});
  generic[kFlagsAt] = text[kFlagsAt] = 8;
  EXPECT_EQ(Decoded(page_of(page, segment(1, kGeneric, {}, generic) + segment(2, 0, {}, dictionary_body(symbols)) +
                                      segment(3, kImmediateText, {2}, text)))
                .page(),
            page);
}

// Declarations that the data cannot justify: no memory out of proportion, no endless work.
TEST(Jbig2Limits, GreedyStreamsGiveLittle) {
  EXPECT_EQ(Decoded(segment(0, 48, {}, page_info(0x7FFFFFFF, 0x7FFFFFFF))).result, 0);
  EXPECT_EQ(Decoded(segment(0, 48, {}, page_info(0xFFFFFFFF, 1))).result, 0);
  EXPECT_EQ(Decoded(segment(0, 48, {}, page_info(1 << 16, 1 << 16))).result, 0);
  const Picture page(64, 64);
  const Picture small = Picture::sample(9, 9, 1);
  const std::string shown = segment(9, kGeneric, {}, generic_body(small));
  std::string dictionary = dictionary_body(sample_symbols());
  dictionary.replace(10, 8, u32(1000000) + u32(1000000));
  std::string text = text_body(sample_symbols(), {{0, 3, 4}}, page, {});
  text.replace(19, 4, u32(0xFFFFFFF0));
  const std::string region_of_billions = u32(100000) + u32(100000) + u32(0) + u32(0) + u8(0) + u8(0);
  const std::string greedy[] = {
      segment(1, 0, {}, dictionary),
      segment(1, 0, {}, dictionary_body(sample_symbols())) + segment(2, kImmediateText, {1}, text),
      segment(1, kImmediateText, {7, 8, 1}, text),
      segment(1, kGeneric, {}, region_of_billions + places_bytes(nominal_adaptive(0))),
      segment(1, kRefinement, {}, region_of_billions + std::string(4, '\0')),
      segment(1, kRefinement, {1}, refinement_body(small, small, 0, 0, 4)),
      segment(1, kPatterns, {}, u8(0) + u8(255) + u8(255) + u32(0xFFFFFFFF) + "data"),
      segment(1, 53, {}, u8(0) + u32(0x80000000) + u32(0x7FFFFFFF) + std::string(200, '\0')),
  };
  for (const std::string& segments : greedy) {
    const Picture out = Decoded(page_of(page, segments + shown)).page();
    Picture with_shown = out;
    combine(with_shown, small, 0, 0, 0);
    EXPECT_EQ(out, with_shown) << "what follows is drawn, after " << &segments - greedy;
  }
  // Regions of the page's size without data: each by itself is justified, all of them are not.
  const std::string without_data = region_info(Picture(4000, 4000)) + u8(0) + places_bytes(nominal_adaptive(0));
  std::string regions;
  for (std::uint32_t i = 1; i < 100; ++i)
    regions += segment(i, kGeneric, {}, without_data + "\1\2\3");
  const Decoded overdrawn(page_of(Picture(4000, 4000), regions));
  EXPECT_LT(overdrawn.limits.spent, (64 << 20) + static_cast<std::int64_t>(regions.size()) * 4096);
  // Nor is one whose rows do not come to repeat themselves, at a few bytes.
  const Decoded made_up(page_of(Picture(4000, 4000), segment(1, kGeneric, {}, without_data)));
  EXPECT_LT(made_up.limits.spent, 8 << 20);
  EXPECT_TRUE(made_up.limits.refused);
  std::string pages;
  for (std::uint32_t i = 0; i < 200; ++i)
    pages += segment(i, 48, {}, page_info(20000, 10000), i + 1);
  const Decoded many(pages);
  EXPECT_EQ(many.result, 1);
  EXPECT_LT(many.page_last, 10);
}

}  // namespace
