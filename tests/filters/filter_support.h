// What the tests of the filters share: blocks for decoders, values written as PDF text, and
// decoders read to their end in pieces of any size.
#pragma once

#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/object/parse_buf.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

using namespace std::string_view_literals;

using StreamPtr = std::unique_ptr<CPDFStream>;

/// A copy of `bytes`, exactly as long, in a block that a decoder can take over.
inline unsigned char* block_of(std::string_view bytes) {
  auto* block = static_cast<unsigned char*>(QVAlloc(bytes.size()));
  if (!bytes.empty())
    std::memcpy(block, bytes.data(), bytes.size());
  return block;
}

/// A value from its PDF text.
struct Value : Freed<CPDFObj> {
  explicit Value(std::string_view text) {
    CPDFBufMem buf;
    buf.buf_init_mem(text.data(), static_cast<std::uint32_t>(text.size()));
    read(&buf, nullptr);
  }
};

/// A decoder by its filter name, with parameters as PDF text ("" for none).
inline StreamPtr decoder_of(const char* name, std::string_view bytes, std::string_view parms = "",
                            CPDFXRefTable* table = nullptr) {
  const Value dict(parms);
  return StreamPtr(
      CPDFXRefTable::make_stream2(table, block_of(bytes), static_cast<int>(bytes.size()), name, dict.as_dict()));
}

/// What is left in a decoder, read in pieces of `step` bytes.
inline std::string read_all(CPDFStream& decoder, int step = 4096) {
  std::string all;
  std::string piece(static_cast<std::size_t>(step), '\0');
  for (int got = decoder.read_block(piece.data(), step); got > 0; got = decoder.read_block(piece.data(), step))
    all.append(piece, 0, static_cast<std::size_t>(got));
  return all;
}

inline std::string decoded(const char* name, std::string_view bytes, std::string_view parms = "", int step = 4096) {
  const StreamPtr decoder = decoder_of(name, bytes, parms);
  return decoder == nullptr ? "no decoder" : read_all(*decoder, step);
}

/// Bytes that compress a little and repeat nowhere exactly.
inline std::string sample_bytes(std::size_t size, std::uint32_t seed = 1) {
  std::string bytes(size, '\0');
  for (char& byte : bytes) {
    seed = seed * 1664525 + 1013904223;
    byte = static_cast<char>((seed >> 28) + (seed >> 20) % 3);
  }
  return bytes;
}
