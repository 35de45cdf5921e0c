// The base of the decoders: the identity, and the growth of the block that takes a whole output.
#include "sheaf/filters/stream_filter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "filters/filter_support.h"

using namespace sheaf;

namespace {

// Gives `rest` bytes and notes how many each call asked for.
class Spring : public CPDFStream {
public:
  explicit Spring(int bytes, int hint = 0) : CPDFStream(nullptr, 0), rest(bytes) { size_hint = hint; }
  int read_block(void* dst, int size) override {
    asked.push_back(size);
    const int count = std::min(rest, size);
    if (count > 0)
      std::memset(dst, 'x', static_cast<std::size_t>(count));
    rest -= count;
    return count;
  }
  int rest;
  std::vector<int> asked;
};

struct Load {
  const char* label;
  int bytes, hint, estimate, max_len;
  int len;
  std::vector<int> asked;
};

TEST(Stream, BufferLoadAsksForDoublingPieces) {
  const Load loads[] = {
      {"nothing to deliver", 0, 0, 0, 1 << 20, 0, {0, 1024}},
      {"fits the estimate", 1000, 5000, 1000, 1 << 20, 1000, {1024}},
      {"exact fit reads on", 1024, 0, 1024, 1 << 20, 1024, {1024, 1024}},
      {"hint without an estimate", 1500, 1500, 0, 1 << 20, 1500, {2048}},
      {"limit stops growth only", 1 << 20, 0, 4096, 100, 5120, {4096, 1024}},
      {"negative estimate counts as 0", 10, 20, -5, 1 << 20, 10, {1024}},
      {"steps double up to 64 KiB, cut at a step",
       1 << 20,
       0,
       0,
       200000,
       195584,
       {0, 1024, 2048, 4096, 8192, 16384, 32768, 65536, 65536}},
  };
  for (const Load& load : loads) {
    SCOPED_TRACE(load.label);
    Spring spring(load.bytes, load.hint);
    int len = load.estimate;
    const HeapBlock<std::uint8_t> block(spring.buffer_load(load.max_len, len));
    ASSERT_TRUE(block);
    EXPECT_EQ(len, load.len);
    EXPECT_EQ(spring.asked, load.asked);
    EXPECT_EQ(block[static_cast<std::size_t>(len)], 0);
  }
}

TEST(Stream, BufferLoadGivesNullWithoutMemoryForAnyOfItsBlocks) {
  static int allowed = 0;
  static const QVHeapHooks counting{
      [](void*, std::size_t size) -> void* { return allowed-- > 0 ? std::malloc(size) : nullptr; },
      [](void*, void* block, std::size_t size) -> void* { return allowed-- > 0 ? std::realloc(block, size) : nullptr; },
      [](void*, void* block) { std::free(block); }, nullptr};
  for (int requests = 0; requests < 4; ++requests) {
    Spring spring(5000);
    allowed = requests;
    int len = 0;
    set_heap_hooks(&counting);
    std::uint8_t* block = spring.buffer_load(1 << 20, len);
    QVFree(block);
    set_heap_hooks(nullptr);
    EXPECT_EQ(block, nullptr) << requests;
    EXPECT_EQ(len, 0);
  }
}

TEST(Stream, IdentityHandsOutItsBlockAndClosesTwice) {
  CPDFStream stream(block_of("abcdef"), 6);
  char out[4]{};
  EXPECT_EQ(stream.read_block(out, 4), 4);
  EXPECT_EQ(stream.read_block(out, -1), 0);
  EXPECT_EQ(stream.left, 2);
  EXPECT_EQ(stream.read_block(out, 4), 2);
  EXPECT_EQ(out[0], 'e');
  stream.close();
  stream.close();
  EXPECT_EQ(stream.read_block(out, 4), 0);
  EXPECT_EQ(stream.size_hint, 6);

  char kept[] = "kept";
  CPDFStream lent(reinterpret_cast<std::uint8_t*>(kept), 4);
  lent.borrowed = 1;
  EXPECT_EQ(read_all(lent), "kept");
}

}  // namespace
