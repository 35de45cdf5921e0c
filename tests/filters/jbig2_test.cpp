// JBIG2Decode: which page it takes, how it hands it out, global segments, and what is released.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "filters/filter_support.h"
#include "sheaf/base/heap.h"
#include "sheaf/neighbours/decoders/jbig2_filter.h"
#include "support/external_tool.h"
#include "support/failing_heap.h"
#include "support/jbig2_encoder.h"
#include "support/jbig2_example.h"
#include "support/jbig2_pages.h"
#include "support/test_table.h"

using namespace sheaf;

using namespace jb2_test;

namespace {

// The filter over `bytes`, opened.
struct Filter : CPDFStreamJBIG2 {
  int result = 0;
  explicit Filter(const std::string& bytes, const std::string& global = "")
      : CPDFStreamJBIG2(block_of(bytes), static_cast<int>(bytes.size())) {
    if (init())
      result = CPDFStreamJBIG2::open(global.empty() ? nullptr : reinterpret_cast<const unsigned char*>(global.data()),
                                     static_cast<int>(global.size()));
  }
};

// Rows as the filter delivers them: black is 0, and so is the padding.
std::string rows_of(const Picture& picture) {
  std::string rows;
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; x += 8) {
      unsigned byte = 0;
      for (int bit = 0; bit < 8; ++bit)
        byte = byte << 1 | (picture.has(x + bit, y) && picture.get(x + bit, y) == 0 ? 1 : 0);
      rows += static_cast<char>(byte);
    }
  }
  return rows;
}

std::string blank_page(std::uint32_t width, std::uint32_t height, std::uint32_t number = 1, unsigned flags = 0) {
  return segment(number, 48, {}, page_info(width, height, flags), number);
}

TEST(Jbig2Filter, HandsOutThePageInPieces) {
  Filter filter(blank_page(40, 50));
  EXPECT_NE(filter.result, 0);
  EXPECT_EQ(filter.filter_type, kFilterJBIG2);
  EXPECT_EQ(filter.page_size, 250);
  EXPECT_EQ(filter.decoder.page_flag, 1);
  unsigned char piece[400];
  EXPECT_EQ(filter.read_block(piece, 100), 100);
  EXPECT_EQ(std::count(piece, piece + 100, 0xFF), 100) << "white is 1";
  EXPECT_EQ(filter.read_block(piece, 0), 0);
  EXPECT_EQ(filter.read_block(piece, -10), -10) << "a step back";
  EXPECT_EQ(filter.read_pos, 90u);
  EXPECT_EQ(filter.read_block(piece, 110), 110);
  EXPECT_EQ(filter.read_block(piece, 400), 50) << "what is left";
  EXPECT_EQ(filter.read_block(piece, 100), 0);
}

TEST(Jbig2Filter, RowsAreInvertedAndPaddedWithZeros) {
  const Picture picture = Picture::sample(45, 20, 6);
  Filter filter(page_of(picture, segment(1, 38, {}, generic_body(picture))));
  EXPECT_EQ(read_all(filter, 7), rows_of(picture));
}

TEST(Jbig2Filter, OnlyTheFirstFinishedPageIsDelivered) {
  const std::string end_of_first = segment(9, 49, {}, "", 1);
  Filter both(blank_page(8, 3, 1) + end_of_first + blank_page(8, 5, 2, 4));
  EXPECT_EQ(read_all(both), "\xFF\xFF\xFF");
  EXPECT_EQ(both.decoder.pages[0].state, kPageTaken);
  EXPECT_EQ(both.decoder.pages[1].state, kPageFinished);
  Filter unfinished(blank_page(8, 3, 1) + blank_page(8, 5, 2, 4));
  EXPECT_EQ(read_all(unfinished), std::string(5, '\0')) << "the last page counts as finished, the first does not";
  Filter many(blank_page(8, 1, 1) + blank_page(8, 1, 2) + blank_page(8, 1, 3) + blank_page(8, 1, 4) +
              blank_page(8, 2, 5) + blank_page(8, 1, 6) + segment(10, 49, {}, "", 5));
  EXPECT_EQ(many.decoder.page_last, 5);
  EXPECT_GE(many.decoder.page_cap, 6);
  EXPECT_EQ(read_all(many), "\xFF\xFF");
}

TEST(Jbig2Filter, FailuresGiveAnEmptyStream) {
  for (const std::string& bytes : {std::string(), std::string("no segments at all"), example(0, 0, false)}) {
    Filter filter(bytes);
    EXPECT_EQ(filter.result, 0);
    EXPECT_EQ(filter.page, nullptr);
    EXPECT_EQ(read_all(filter), "");
  }
}

TEST(Jbig2Filter, GlobalSegmentsAreCopiedAndUsed) {
  const std::string alone = example(8, 13, false);
  const std::string whole = example(0, 0, false) + alone;
  std::string global = example(0, 0, false);
  Filter filter(alone, global);
  global.assign(global.size(), 'x');
  EXPECT_EQ(filter.globals_len, static_cast<int>(global.size()));
  EXPECT_EQ(filter.decoder.parent, &filter.globals);
  Filter complete(whole);
  EXPECT_EQ(complete.decoder.parent, nullptr);
  const std::string rows = read_all(complete);
  EXPECT_EQ(read_all(filter), rows);
  Filter damaged(whole, "no segments");
  EXPECT_EQ(read_all(damaged), rows) << "global segments that fail change nothing";
}

TEST(Jbig2Filter, ClosingReleasesThePageOnce) {
  Filter filter(blank_page(40, 50));
  QVJB2_Bitmap* bitmap = filter.page;
  EXPECT_EQ(bitmap->refs, 2);
  EXPECT_EQ(bitmap->stride * bitmap->height, filter.page_size);
  filter.close();
  EXPECT_EQ(bitmap->refs, 1) << "the record's own";
  filter.close();
  unsigned char byte;
  EXPECT_EQ(filter.read_block(&byte, 1), 0);
}

TEST(Jbig2Segment, ReleaseGoesByType) {
  const FailingHeap heap(0);
  const auto block = [](std::size_t size) { return QVCalloc(1, size); };
  auto* shared = static_cast<QVJB2_Bitmap*>(block(sizeof(QVJB2_Bitmap)));
  shared->refs = 2;
  auto* own = static_cast<QVJB2_Bitmap*>(block(sizeof(QVJB2_Bitmap)));
  own->refs = 1;
  QVJB2_Bitmap* bitmaps[] = {shared, nullptr, own};
  QVJB2_Seg dictionary = {};
  dictionary.flags = 0xC0;
  dictionary.referred = static_cast<std::uint32_t*>(block(8));
  auto* symbols = static_cast<QVJB2_Symbols*>(block(sizeof(QVJB2_Symbols)));
  *symbols = {3, bitmaps};
  dictionary.result = symbols;
  dictionary.release();
  dictionary.release();
  EXPECT_EQ(dictionary.referred, nullptr);
  EXPECT_EQ(shared->refs, 1);
  EXPECT_EQ(heap.held, 1);
  QVFree(shared);
  struct {
    std::int64_t count;
    void* lines;
  } table = {1, block(16)};
  QVJB2_Seg tables = {};
  tables.flags = 53;
  tables.result = &table;
  tables.release();
  EXPECT_EQ(table.lines, nullptr);
  EXPECT_EQ(tables.result, nullptr);
  for (const unsigned type : {4u, 40u}) {
    QVJB2_Seg region = {};
    region.flags = type;
    region.result = block(10);
    region.release();
    EXPECT_EQ(region.result, nullptr);
  }
  int elsewhere = 0;
  QVJB2_Seg other = {};
  other.flags = 16;
  other.result = &elsewhere;
  other.release();
  EXPECT_EQ(other.result, nullptr);
  EXPECT_EQ(heap.held, 0);
}

TEST(Jbig2Chain, GlobalsComeFromTheirStream) {
  const std::string global = example(0, 0, false);
  const std::string page = example(8, 13, false);
  const auto object = [](int num, const std::string& dict, const std::string& bytes) {
    return std::to_string(num) + " 0 obj<<" + dict + "/Length " + std::to_string(bytes.size()) + ">>stream\n" + bytes +
           "\nendstream endobj\n";
  };
  std::string text = "%PDF-1.7\n1 0 obj<</Type/Catalog>>endobj\n" + object(2, "", global) +
                     object(3, "/Filter/JBIG2Decode/DecodeParms<</JBIG2Globals 2 0 R>>", page) +
                     object(4, "/Filter/JBIG2Decode/DecodeParms<</JBIG2Globals 9 0 R>>", page) +
                     object(5, "/Filter[/JBIG2Decode]", global + page) +
                     object(6, "/Filter/JBIG2Decode/DecodeParms<</JBIG2Globals 6 0 R>>", global + page) +
                     "trailer<</Root 1 0 R>>\n";
  TestTable file(text);
  ASSERT_EQ(file.table.XRefCreate(), 1);
  const auto rows = [&](int num) {
    Freed<CPDFObj> obj;
    file.table.get_entity(obj, {num, 0});
    const StreamPtr stream(file.table.make_stream(obj.as_stream()));
    return stream == nullptr ? "null" : read_all(*stream);
  };
  const std::string whole = rows(5);
  ASSERT_EQ(whole.size(), 8u * 56);
  EXPECT_EQ(rows(3), whole);
  EXPECT_NE(rows(4), whole) << "without the symbols";
  EXPECT_EQ(rows(4).size(), whole.size());
  EXPECT_EQ(rows(6), whole) << "global segments that name themselves";
  EXPECT_EQ(decoded("JBIG2Decode", global + page, "<</JBIG2Globals 2 0 R>>"), whole) << "no table, no globals";
}

TEST(Jbig2Chain, EveryRefusedRequestIsSurvived) {
  const std::string bytes = example(0, 7, false);
  for (long long request = 2;; ++request) {  // the first one is for the input
    FailingHeap heap(request);
    {
      const StreamPtr stream = decoder_of("JBIG2Decode", bytes);
      if (stream != nullptr) {
        EXPECT_LE(read_all(*stream).size(), 8u * 56);
      }
    }
    ASSERT_EQ(heap.held, 0) << request;
    if (!heap.has_refused())
      break;
  }
}

// The streams that the encoder of these tests makes are JBIG2 for others too.
TEST(Jbig2Peer, AnotherDecoderAgrees) {
  if (!has_program("jbig2dec"))
    GTEST_SKIP() << "jbig2dec is not installed";
  const TestFolder folder;
  const Picture picture = Picture::sample(203, 60, 3);
  std::vector<std::string> streams = {example(0, 7, false)};
  for (int number = 0; number < 4; ++number) {
    const std::string body = generic_body(picture, number, number % 2 == 0, nominal_adaptive(number));
    streams.push_back(page_of(picture, segment(1, 38, {}, body)));
  }
  const std::vector<Picture> symbols = {Picture::sample(5, 7, 1), Picture::sample(70, 11, 2),
                                        Picture::sample(9, 14, 3)};
  for (const TextLayout& layout : {TextLayout{}, TextLayout{3, true, 2, 2, 5, true}}) {
    const std::string text = text_body(symbols, {{0, 3, 4}, {2, 30, 7}, {1, 96, 21}, {0, -2, 33}}, picture, layout);
    streams.push_back(page_of(picture, segment(1, 0, {}, dictionary_body(symbols), 0) + segment(2, 6, {1}, text)));
  }
  for (const std::string& bytes : streams) {
    write_file(folder / "page.jb2", bytes);
    const std::string command =
        "jbig2dec -q -e -t pbm -o '" + (folder / "page.pbm") + "' '" + (folder / "page.jb2") + "'";
    ASSERT_EQ(run_command(command).code, 0);
    Filter filter(bytes);
    const std::string rows = read_all(filter);
    std::string pbm = read_file(folder / "page.pbm");
    ASSERT_GT(pbm.size(), rows.size());
    pbm.erase(0, pbm.size() - rows.size());
    const auto stride = static_cast<std::size_t>(filter.page->stride);
    const int padding = static_cast<int>(stride) * 8 - filter.page->width;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      const int used = (i + 1) % stride == 0 ? 0xFF << padding & 0xFF : 0xFF;
      ASSERT_EQ((rows[i] ^ pbm[i]) & used, used) << i;
    }
  }
}

// The folder jbig2/ of the corpus: files, the same in PDFs, and the page that all of them show.
TEST(Jbig2Corpus, EveryFileGivesThePage) {
  const char* corpus = std::getenv("SHEAF_CORPUS");
  const std::filesystem::path folder = std::filesystem::path(corpus != nullptr ? corpus : "") / "jbig2";
  if (corpus == nullptr || !exists(folder / "bitmap.pbm"))
    GTEST_SKIP() << "SHEAF_CORPUS names no folder with jbig2/bitmap.pbm in it";
  const std::string pbm = read_file(folder / "bitmap.pbm");
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() != ".jbig2")
      continue;
    Filter filter(read_file(entry.path()));
    std::string rows = read_all(filter);
    ASSERT_EQ(rows.size(), 20000u) << entry.path();
    for (std::size_t i = 0; i < rows.size(); ++i)
      rows[i] = static_cast<char>((i % 50 == 49 ? 0xFE : 0xFF) & ~rows[i]);
    EXPECT_TRUE(pbm.ends_with(rows)) << entry.path();
    ++count;
  }
  EXPECT_GT(count, 0);
}

}  // namespace
