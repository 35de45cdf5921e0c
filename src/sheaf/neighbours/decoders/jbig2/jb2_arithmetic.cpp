// The table of probability estimates, and integers.
#include "sheaf/neighbours/decoders/jbig2/jb2_arithmetic.h"

namespace sheaf::jb2 {
namespace {

struct PrintedEstimate {
  std::uint16_t qe;
  std::uint8_t next_more;
  std::uint8_t next_less;
  bool switches;
};

// T.88, Table E.1.
constexpr PrintedEstimate kPrinted[] = {
    {0x5601, 1, 1, true},    {0x3401, 2, 6, false},   {0x1801, 3, 9, false},   {0x0AC1, 4, 12, false},
    {0x0521, 5, 29, false},  {0x0221, 38, 33, false}, {0x5601, 7, 6, true},    {0x5401, 8, 14, false},
    {0x4801, 9, 14, false},  {0x3801, 10, 14, false}, {0x3001, 11, 17, false}, {0x2401, 12, 18, false},
    {0x1C01, 13, 20, false}, {0x1601, 29, 21, false}, {0x5601, 15, 14, true},  {0x5401, 16, 14, false},
    {0x5101, 17, 15, false}, {0x4801, 18, 16, false}, {0x3801, 19, 17, false}, {0x3401, 20, 18, false},
    {0x3001, 21, 19, false}, {0x2801, 22, 19, false}, {0x2401, 23, 20, false}, {0x2201, 24, 21, false},
    {0x1C01, 25, 22, false}, {0x1801, 26, 23, false}, {0x1601, 27, 24, false}, {0x1401, 28, 25, false},
    {0x1201, 29, 26, false}, {0x1101, 30, 27, false}, {0x0AC1, 31, 28, false}, {0x09C1, 32, 29, false},
    {0x08A1, 33, 30, false}, {0x0521, 34, 31, false}, {0x0441, 35, 32, false}, {0x02A1, 36, 33, false},
    {0x0221, 37, 34, false}, {0x0141, 38, 35, false}, {0x0111, 39, 36, false}, {0x0085, 40, 37, false},
    {0x0049, 41, 38, false}, {0x0025, 42, 39, false}, {0x0015, 43, 40, false}, {0x0009, 44, 41, false},
    {0x0005, 45, 42, false}, {0x0001, 45, 43, false}, {0x5601, 46, 46, false},
};

constexpr std::array<Estimate, 94> build_estimates() {
  std::array<Estimate, 94> estimates = {};
  for (std::size_t i = 0; i < std::size(kPrinted); ++i) {
    for (unsigned value = 0; value < 2; ++value) {
      const PrintedEstimate& printed = kPrinted[i];
      const unsigned after_less = printed.switches ? value ^ 1 : value;
      estimates[2 * i + value] = {printed.qe, static_cast<std::uint8_t>(2u * printed.next_more + value),
                                  static_cast<std::uint8_t>(2u * printed.next_less + after_less)};
    }
  }
  return estimates;
}

static_assert(2 * std::size(kPrinted) == 94);
static_assert(std::ranges::all_of(kPrinted, [](const PrintedEstimate& e) {
  return e.next_more < std::size(kPrinted) && e.next_less < std::size(kPrinted) && e.qe <= 0x5601;
}));

// The ranges of integers (T.88, Table A.1): after as many ones, the bits that follow and the least value.
struct Range {
  unsigned bits;
  std::int64_t least;
};
constexpr Range kRanges[] = {{2, 0}, {4, 4}, {6, 20}, {8, 84}, {12, 340}, {32, 4436}};

}  // namespace

constexpr std::array<Estimate, 94> kBuiltEstimates = build_estimates();
const std::array<Estimate, 94> kEstimates = kBuiltEstimates;

ArithmeticDecoder::ArithmeticDecoder(const std::uint8_t* data, std::size_t size) : next_(data), end_(data + size) {
  constexpr unsigned kBitsAhead = 7;
  const std::uint32_t first = size > 0 ? *next_++ : 0xFF;
  after_ff_ = first == 0xFF;
  c_ = (first ^ 0xFF) << 16;
  byte_in();
  c_ <<= kBitsAhead;
  ct_ -= kBitsAhead;
}

std::int64_t IntegerDecoder::decode(ArithmeticDecoder& decoder) {
  unsigned previous = 1;
  const auto next_bit = [&] {
    const unsigned bit = decoder.bit(contexts_[previous]);
    previous = previous < 256 ? previous << 1 | bit : ((previous << 1 | bit) & 511) | 256;
    return bit;
  };
  const bool is_negative = next_bit() != 0;
  std::size_t range = 0;
  while (range + 1 < std::size(kRanges) && next_bit() != 0)
    ++range;
  std::int64_t value = 0;
  for (unsigned i = 0; i < kRanges[range].bits; ++i)
    value = value << 1 | next_bit();
  value += kRanges[range].least;
  if (!is_negative)
    return value;
  return value != 0 ? -value : kOutOfBand;
}

std::uint32_t decode_id(ArithmeticDecoder& decoder, std::uint8_t* contexts, unsigned id_bits) {
  std::uint32_t previous = 1;
  for (unsigned i = 0; i < id_bits; ++i)
    previous = previous << 1 | decoder.bit(contexts[previous]);
  return previous - (std::uint32_t{1} << id_bits);
}

}  // namespace sheaf::jb2
