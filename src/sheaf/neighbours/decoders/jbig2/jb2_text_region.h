// Text regions (T.88, 6.4): instances of symbols placed in strips. The same procedure draws the
// aggregates of symbol dictionaries, whose statistics go on from one aggregate to the next.
#pragma once

#include <array>
#include <cstdint>

#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/decoders/jbig2/jb2_huffman.h"
#include "sheaf/neighbours/decoders/jbig2/jb2_refinement.h"

namespace sheaf::jb2 {

enum class Corner : std::uint8_t { kBottomLeft = 0, kTopLeft = 1, kBottomRight = 2, kTopRight = 3 };

struct TextHuffman {
  const HuffmanTable* first_s;
  const HuffmanTable* delta_s;
  const HuffmanTable* delta_t;
  const HuffmanTable* width;  ///< Refinement: differences of width, height, x and y.
  const HuffmanTable* height;
  const HuffmanTable* x;
  const HuffmanTable* y;
  const HuffmanTable* size;  ///< Refinement: bytes of its data.
  const HuffmanTable* id;    ///< Null: IDs are plain numbers of `id_bits` bits.
};

struct TextParams {
  bool huffman;
  bool refines;
  bool transposed;
  unsigned strip_bits;  ///< Logarithm of the strip's size.
  Corner corner;
  Combine op;
  std::int32_t s_offset;
  std::uint32_t instances;
  unsigned id_bits;
  QVJB2_Bitmap* const* symbols;  ///< Borrowed; entries may be null.
  std::uint32_t symbol_count;
  unsigned refinement_template;
  std::array<AdaptivePixel, 2> refinement_adaptive;
  TextHuffman tables;  ///< With `huffman` only.
};

/// The arithmetic statistics of text regions. All zero is the start.
struct TextStatistics {
  IntegerDecoder delta_t;
  IntegerDecoder first_s;
  IntegerDecoder delta_s;
  IntegerDecoder in_strip_t;
  IntegerDecoder refines;
  IntegerDecoder width;
  IntegerDecoder height;
  IntegerDecoder x;
  IntegerDecoder y;
};

/// Where a text region's values come from: one of the two coders, and the statistics.
struct TextCoder {
  ArithmeticDecoder* arithmetic;  ///< Null when Huffman coded.
  BitReader* bits;                ///< Null when arithmetically coded.
  TextStatistics* statistics;
  std::uint8_t* id_contexts;          ///< 2^id_bits; null when Huffman coded.
  std::uint8_t* refinement_contexts;  ///< Null when nothing is refined.
};

/// Draws the instances into `out`. False when the data end or make no sense before the last one;
/// what was drawn stays.
bool decode_text(const TextCoder& coder, const TextParams& params, Limits& limits, QVJB2_Bitmap& out);

/// The refined symbol of `width` x `height` pixels with the reference at (`dx`, `dy`), or null.
/// With Huffman coding, `size` bytes of `coder.bits` hold the data and are passed.
QVJB2_Bitmap* refine_symbol(const TextCoder& coder, const TextParams& params, const QVJB2_Bitmap& reference,
                            std::int64_t width, std::int64_t height, std::int64_t dx, std::int64_t dy,
                            std::int64_t size, Limits& limits);

/// The bits that IDs of so many symbols take (T.88, 6.5.8.2.3).
unsigned id_bits_for(std::uint64_t symbol_count);

}  // namespace sheaf::jb2
