// The arithmetic decoder (T.88, Annex E, in the form of its software conventions) and the decoding
// of integers and symbol IDs on top of it (Annex A). A context is one byte: the index of its
// probability estimate, shifted up by one, and the more probable value in the low bit.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace sheaf::jb2 {

/// What stands for a value where there is none. Both are beyond all that can be coded.
constexpr std::int64_t kOutOfBand = INT64_MIN;
constexpr std::int64_t kDamaged = INT64_MIN + 1;

struct Estimate {
  std::uint16_t qe;         // the less probable value's share of the interval
  std::uint8_t after_more;  // the context after a more probable value that made the interval small
  std::uint8_t after_less;
};

/// Indexed by a context.
extern const std::array<Estimate, 94> kEstimates;

/// Inside the loops over pixels a copy of the decoder is in registers, for which all that such
/// a loop calls must be inline.
class ArithmeticDecoder {
public:
  ArithmeticDecoder(const std::uint8_t* data, std::size_t size);

  /// Decodes one decision in `context`.
  [[gnu::always_inline]] inline unsigned bit(std::uint8_t& context) {
    const unsigned state = context;
    return expected(state) ? state & 1 : unexpected(context);
  }

  /// The two halves of `bit`, for loops that know the context's `state` ahead of its address: true
  /// when the more probable value came and nothing else changes; else `unexpected` gives the value.
  [[gnu::always_inline]] inline bool expected(unsigned state) {
    a_ -= kEstimates[state].qe;
    return c_ >> 16 < a_ && a_ >= kHalf;
  }
  [[gnu::always_inline]] inline unsigned unexpected(std::uint8_t& context);

  /// Decodes up to `most` decisions in `context`, whose more probable value is 0, and stops behind
  /// the first 1. Gives the count of zeros; `has_one` says whether a 1 followed them.
  [[gnu::always_inline]] inline unsigned zeros(std::uint8_t& context, unsigned most, bool& has_one);

  /// Whether all data are used up: from here on decisions follow from the contexts alone.
  bool is_over() const { return c_ == 0 && is_at_end(); }
  /// Whether a context in `state` will then give its more probable value for ever: its share of the
  /// interval is never the larger one, and shrinks.
  static bool is_settled(unsigned state) { return kEstimates[state].qe <= kHalf / 2; }

private:
  static constexpr std::uint32_t kHalf = 0x8000;

  bool is_at_end() const {
    constexpr std::uint8_t kLastStuffed = 0x8F;
    return next_ == end_ || (after_ff_ && *next_ > kLastStuffed);
  }
  [[gnu::always_inline]] inline void byte_in();
  [[gnu::always_inline]] inline void renormalise();

  const std::uint8_t* next_;
  const std::uint8_t* end_;
  std::uint32_t c_ = 0;
  std::uint32_t a_ = kHalf;
  unsigned ct_ = 0;
  bool after_ff_ = false;  // the last byte taken was 0xFF
};

// A byte above 0x8F behind 0xFF is a marker: it is never passed, and ones are fed from there on, as
// behind the end of the data. Encoders leave out as many bytes as that makes up for (Annex E, FLUSH),
// so that data that are complete look like data that are cut.
inline void ArithmeticDecoder::byte_in() {
  if (is_at_end()) {
    ct_ = 8;
    return;
  }
  const std::uint32_t byte = *next_++;
  if (after_ff_) {
    c_ += 0xFE00 - (byte << 9);  // a carry bit may wrap this; the sum is right again modulo 2^32
    ct_ = 7;
  } else {
    c_ += 0xFF00 - (byte << 8);
    ct_ = 8;
  }
  after_ff_ = byte == 0xFF;
}

inline void ArithmeticDecoder::renormalise() {
  auto shift = static_cast<unsigned>(std::countl_zero(static_cast<std::uint16_t>(a_)));
  while (shift > ct_) {
    a_ <<= ct_;
    c_ <<= ct_;
    shift -= ct_;
    byte_in();
  }
  a_ <<= shift;
  c_ <<= shift;
  ct_ -= shift;
}

inline unsigned ArithmeticDecoder::unexpected(std::uint8_t& context) {
  const unsigned state = context;
  const Estimate& estimate = kEstimates[state];
  bool takes_more;
  if (c_ >> 16 < a_) {
    takes_more = a_ >= estimate.qe;
  } else {
    c_ -= a_ << 16;
    takes_more = a_ < estimate.qe;
    a_ = estimate.qe;
  }
  context = takes_more ? estimate.after_more : estimate.after_less;
  renormalise();
  return takes_more ? state & 1 : (state & 1) ^ 1;
}

inline unsigned ArithmeticDecoder::zeros(std::uint8_t& context, unsigned most, bool& has_one) {
  has_one = false;
  unsigned count = 0;
  while (count < most) {
    if ((context & 1) == 0) {
      // As many more probable values as leave the interval large enough and the code inside it.
      const std::uint32_t least = std::max(kHalf, (c_ >> 16) + 1);
      const std::uint32_t qe = kEstimates[context].qe;
      const unsigned at_once = a_ > least ? std::min((a_ - least) / qe, most - count) : 0;
      a_ -= at_once * qe;
      count += at_once;
      if (count == most)
        break;
    }
    if (bit(context) != 0) {
      has_one = true;
      break;
    }
    ++count;
  }
  return count;
}

/// The contexts of one integer decoding procedure (T.88, A.2).
class IntegerDecoder {
public:
  /// The value, or kOutOfBand.
  std::int64_t decode(ArithmeticDecoder& decoder);

private:
  std::array<std::uint8_t, 512> contexts_ = {};
};

/// A symbol ID of `id_bits` bits (T.88, A.3). `contexts` has 2^`id_bits` entries.
std::uint32_t decode_id(ArithmeticDecoder& decoder, std::uint8_t* contexts, unsigned id_bits);

}  // namespace sheaf::jb2
