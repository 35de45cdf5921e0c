// What the targets over whole documents share: a failure that the fuzzer sees, and reading all that
// a document has, within limits.
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/filters/stream_filter.h"

using namespace sheaf;

constexpr std::uint32_t kMostObjects = 20000;
constexpr std::int64_t kMostDecoded = 1 << 22;  // of one document
constexpr int kMostPages = 200;

inline void expect(bool condition, int line = __builtin_LINE()) {
  if (condition)
    return;
  std::fprintf(stderr, "the expectation of line %d does not hold\n", line);
  std::abort();
}

/// The first bytes of an input, which choose what is done; zeros when they are used up.
class Choices {
public:
  Choices(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  unsigned next(unsigned count) { return size_ != 0 ? (--size_, *data_++) % count : 0; }
  int next_number() { return static_cast<int>(next(256)); }

private:
  const std::uint8_t* data_;
  std::size_t size_;
};

/// The count of pages that can be reached, whatever the tree's nodes tell.
inline int walked_count(CPDFDoc& doc) {
  doc.page_ref(0);
  return doc.page_count();
}

inline void walk_pages(CPDFDoc& doc) {
  const int count = doc.page_count();
  for (int i = 0; i < std::min(count, kMostPages); ++i) {
    CPDFPage page;
    if (doc.load_page(i, page))
      expect(page.ref.num >= 1 && page.rotate >= 0 && page.rotate <= 359 && page.shown_width() >= 0);
  }
  expect(doc.page_ref(-1).num == 0 && doc.page_ref(INT32_MAX).num == 0);
}

inline void decode(CPDFXRefTable& table, const CPDFStreamRec& rec, std::int64_t& budget) {
  const std::unique_ptr<CPDFStream> decoder(table.make_stream(&rec));
  unsigned char block[8192];
  while (decoder != nullptr && budget > 0) {
    const int got = decoder->read_block(block, sizeof(block));
    expect(got <= static_cast<int>(sizeof(block)));
    if (got <= 0)
      return;
    budget -= got;
  }
}

/// Every object is read, every stream decoded as far as the limits let it.
inline void read_objects(CPDFXRefTable& table) {
  table.drain_pending();
  std::int64_t budget = kMostDecoded;
  Freed<CPDFObj> obj;
  for (std::uint32_t num = 0; num < std::min(table.xref_count, kMostObjects); ++num) {
    table.get_entity(obj, {static_cast<std::int32_t>(num), 0});
    expect(obj.tag != kTagRef);
    if (const CPDFStreamRec* rec = obj.as_stream())
      decode(table, *rec, budget);
  }
}

/// A stream that holds a copy of the bytes and can be written to.
struct CopiedFile : CQVStreamMem {
  CopiedFile(const void* bytes, std::size_t size) {
    Write(bytes, static_cast<unsigned>(size));
    SetPos(STR_SEEK_SET, 0);
  }
};
