// The three byte streams: positions at and beyond the ends, growth, and the life after Close.
#include "sheaf/base/stream.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "sheaf/base/heap.h"
#include "support/external_tool.h"

using namespace sheaf;

namespace {

TEST(StreamMem, SeekBeforeTheStartEndsAtTheEnd) {
  CQVStreamMem stream;
  ASSERT_EQ(stream.Write("abcd", 4), 4u);
  EXPECT_EQ(stream.SetPos(CQVStream::STR_SEEK_SET, -1), 1);
  EXPECT_EQ(stream.GetPos(), 4);
  stream.SetPos(CQVStream::STR_SEEK_SET, 3);
  stream.SetPos(static_cast<CQVStream::STR_SEEK>(5), -2);  // any other whence is relative
  EXPECT_EQ(stream.GetPos(), 1);
}

TEST(StreamMem, WritePastTheEndGrowsTheBlock) {
  CQVStreamMem stream;
  stream.Write("x", 1);
  const std::string block(8191, 'y');
  stream.Write(block.data(), 8191);
  stream.Write("z", 1);
  EXPECT_EQ(stream.GetLen(), 8193);
  std::string back(8193, '\0');
  stream.SetPos(CQVStream::STR_SEEK_SET, 0);
  EXPECT_EQ(stream.Read(back.data(), 8193), 8193u);
  EXPECT_EQ(back, "x" + block + "z");
}

TEST(StreamMem, WriteOverOldBytesKeepsWhatLiesBefore) {
  CQVStreamMem stream;
  stream.Write("ab", 2);
  stream.SetPos(CQVStream::STR_SEEK_SET, 1);
  stream.Write("CD", 2);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(stream.data), stream.len), "aCD");
  stream.Close();
  stream.Close();
  EXPECT_EQ(stream.GetLen(), 0);
  EXPECT_EQ(stream.Write("again", 5), 5u);
}

TEST(StreamMem, FailedGrowthEmptiesTheStreamAndLeavesItUsable) {
  CQVStreamMem stream;
  stream.Write("ab", 2);
  QVHeapHooks refusing{[](void*, std::size_t) -> void* { return nullptr; },
                       [](void*, void*, std::size_t) -> void* { return nullptr; },
                       [](void*, void* block) { std::free(block); }, nullptr};
  const std::string block(9000, 'y');
  set_heap_hooks(&refusing);
  EXPECT_EQ(stream.Write(block.data(), 9000), 0u);
  set_heap_hooks(nullptr);
  EXPECT_EQ(stream.GetLen(), 0);
  EXPECT_EQ(stream.Write("c", 1), 1u);
}

TEST(StreamMemFix, ClampsPositionsAndCounts) {
  char bytes[] = "0123456789";
  CQVStreamMemFix view;
  view.Open(bytes, 10);
  view.SetPos(CQVStream::STR_SEEK_SET, -1);
  EXPECT_EQ(view.GetPos(), 0);
  view.SetPos(CQVStream::STR_SEEK_END, 7);
  EXPECT_EQ(view.GetPos(), 10);
  view.SetPos(CQVStream::STR_SEEK_END, -4);
  EXPECT_EQ(view.SetPos(static_cast<CQVStream::STR_SEEK>(5), 1), 1);
  EXPECT_EQ(view.GetPos(), 6);
  EXPECT_EQ(view.Write("ABCDEFGHIJ", 10), 4u);
  EXPECT_EQ(view.Write("K", 1), 0u);
  EXPECT_STREQ(bytes, "012345ABCD");
}

TEST(StreamMemFix, StepsFromItsPositionAndEndsWithClose) {
  char bytes[] = "0123456789";
  CQVStreamMemFix view;
  view.Open(bytes, 10);
  view.SetPos(CQVStream::STR_SEEK_SET, 4);
  view.SetPos(CQVStream::STR_SEEK_CUR, 3);
  EXPECT_EQ(view.GetPos(), 7);
  view.SetPos(CQVStream::STR_SEEK_CUR, -9);
  EXPECT_EQ(view.GetPos(), 0);
  view.SetPos(CQVStream::STR_SEEK_SET, 9);
  view.SetPos(CQVStream::STR_SEEK_CUR, INT64_MAX);
  EXPECT_EQ(view.GetPos(), 10);
  view.SetPos(CQVStream::STR_SEEK_CUR, INT64_MIN);
  EXPECT_EQ(view.GetPos(), 0);
  view.Close();
  EXPECT_EQ(view.GetLen(), 0);
  EXPECT_EQ(view.Read(bytes, 1), 0u);
}

TEST(StreamMemFix, BaseOffsetMovesTheOrigin) {
  char bytes[] = "junk%PDF";
  CQVStreamMemFix view;
  view.Open(bytes, 8);
  view.base_offset = 4;
  view.SetPos(CQVStream::STR_SEEK_SET, 0);
  char first = 0;
  view.Read(&first, 1);
  EXPECT_EQ(first, '%');
  EXPECT_EQ(view.GetPos(), 1);
  EXPECT_EQ(view.GetLen(), 4);
}

TEST(StreamFile, LengthKeepsThePositionAndAMissingFileIsEmpty) {
  const TestFolder folder;
  const std::string path = folder / "ten.bin";
  std::FILE* out = std::fopen(path.c_str(), "wb");
  ASSERT_NE(out, nullptr);
  std::fwrite("0123456789", 1, 10, out);
  std::fclose(out);

  CQVStreamFile file;
  file.Open(path.c_str());
  file.SetPos(CQVStream::STR_SEEK_SET, 3);
  EXPECT_EQ(file.GetLen(), 10);
  EXPECT_EQ(file.GetPos(), 3);
  file.SetPos(CQVStream::STR_SEEK_CUR, 2);
  file.SetPos(CQVStream::STR_SEEK_CUR, -6);  // before the start: stays
  EXPECT_EQ(file.GetPos(), 5);
  file.SetPos(CQVStream::STR_SEEK_END, -1);
  EXPECT_EQ(file.GetPos(), 9);
  file.Close();
  std::filesystem::remove(path);

  file.Open(path.c_str());
  char byte = 0;
  EXPECT_EQ(file.GetLen(), 0);
  EXPECT_EQ(file.Read(&byte, 1), 0u);
  EXPECT_STREQ(file.path, path.c_str());
  file.Close();
  file.Close();
  EXPECT_EQ(file.path, nullptr);
}

}  // namespace
