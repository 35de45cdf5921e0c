// A plain JBIG2 encoder for tests and benchmarks (ITU-T T.88): every pixel of a context is fetched
// by itself, as the figures of the standard show it, so that it shares nothing with the decoder
// but the table of probability estimates.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "sheaf/neighbours/decoders/jbig2/jb2_arithmetic.h"

using namespace sheaf;

namespace jb2_test {

struct Place {
  int dx;
  int dy;
};
using Places = std::vector<Place>;

struct Picture {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> pixels;

  Picture() = default;
  Picture(int w, int h) : width(w), height(h), pixels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h)) {}
  bool operator==(const Picture&) const = default;
  bool has(int x, int y) const { return x >= 0 && y >= 0 && x < width && y < height; }
  std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
  }
  unsigned get(int x, int y) const { return has(x, y) ? pixels[index(x, y)] : 0u; }
  void set(int x, int y, unsigned value) {
    if (has(x, y))
      pixels[index(x, y)] = static_cast<std::uint8_t>(value);
  }
  /// Blocks of black, noise and blank rows, so that every context and every shortcut is met.
  static Picture sample(int w, int h, std::uint32_t seed) {
    Picture picture(w, h);
    for (int y = 0; y < h; ++y) {
      for (int x = 0; x < w; ++x) {
        seed = seed * 1664525 + 1013904223;
        const bool noise = y % 16 < 4 && (seed >> 28) == 0;
        const bool block = y % 16 > 8 && y % 16 < 13 && x % 40 > 30;
        picture.set(x, y, noise || block ? 1 : 0);
      }
    }
    return picture;
  }
};

class ArithmeticEncoder {
public:
  void bit(std::uint8_t& context, unsigned value) {
    const jb2::Estimate& estimate = jb2::kEstimates[context];
    const std::uint32_t qe = estimate.qe;
    a_ -= qe;
    if (value == (context & 1u)) {
      if (a_ >= 0x8000) {
        c_ += qe;
        return;
      }
      if (a_ < qe)
        a_ = qe;
      else
        c_ += qe;
      context = estimate.after_more;
    } else {
      if (a_ < qe)
        c_ += qe;
      else
        a_ = qe;
      context = estimate.after_less;
    }
    do {
      a_ <<= 1;
      c_ <<= 1;
      if (--ct_ == 0)
        byte_out();
    } while (a_ < 0x8000);
  }

  std::string finish() {
    const std::uint32_t limit = c_ + a_;
    c_ |= 0xFFFF;
    if (c_ >= limit)
      c_ -= 0x8000;
    for (int i = 0; i < 2; ++i) {
      c_ <<= ct_;
      byte_out();
    }
    if (last() != 0xFF)
      out_ += '\xFF';
    return out_.substr(1) + '\xAC';
  }

private:
  unsigned last() const { return static_cast<unsigned char>(out_.back()); }
  void put(unsigned shift) {
    out_ += static_cast<char>(c_ >> shift);
    c_ &= (1u << shift) - 1;
    ct_ = shift == 20 ? 7 : 8;
  }
  void byte_out() {
    if (last() != 0xFF && c_ >= 0x8000000) {
      out_.back() = static_cast<char>(last() + 1);
      c_ &= 0x7FFFFFF;
    }
    put(last() == 0xFF ? 20 : 19);
  }

  std::string out_ = std::string(1, '\0');
  std::uint32_t a_ = 0x8000;
  std::uint32_t c_ = 0;
  unsigned ct_ = 12;
};

/// Integers with statistics by the name of the procedure ("IADT"), and symbol IDs.
class IntegerEncoder {
public:
  static constexpr std::int64_t kNone = INT64_MIN;

  void put(ArithmeticEncoder& encoder, const std::string& name, std::int64_t value) {
    auto& contexts = contexts_[name];
    contexts.resize(512);
    unsigned previous = 1;
    const auto bit = [&](unsigned b) {
      encoder.bit(contexts[previous], b);
      previous = previous < 256 ? previous << 1 | b : ((previous << 1 | b) & 511) | 256;
    };
    const bool is_negative = value < 0;
    const auto size = static_cast<std::uint64_t>(value == kNone ? 0 : is_negative ? -value : value);
    static constexpr std::uint64_t kLeast[] = {0, 4, 20, 84, 340, 4436};
    static constexpr int kBits[] = {2, 4, 6, 8, 12, 32};
    int range = 5;
    while (size < kLeast[range])
      --range;
    bit(is_negative ? 1 : 0);
    for (int i = 0; i < range; ++i)
      bit(1);
    if (range < 5)
      bit(0);
    for (int i = kBits[range] - 1; i >= 0; --i)
      bit((size - kLeast[range]) >> i & 1);
  }

  void put_id(ArithmeticEncoder& encoder, unsigned id, unsigned bits) {
    auto& contexts = contexts_["IAID"];
    contexts.resize(std::size_t{1} << bits);
    unsigned previous = 1;
    for (unsigned i = bits; i-- > 0;) {
      const unsigned b = id >> i & 1;
      encoder.bit(contexts[previous], b);
      previous = previous << 1 | b;
    }
  }

private:
  std::map<std::string, std::vector<std::uint8_t>> contexts_;
};

using Contexts = std::vector<std::uint8_t>;

/// The pixels of a template, from the highest context bit to the lowest (Figures 3 to 6).
inline Places generic_places(int number) {
  static const int kSpans[4][3][2] = {// first and last pixel, two rows up, one row up and in the row
                                      {{-2, 2}, {-3, 3}, {-4, -1}},
                                      {{-1, 2}, {-2, 3}, {-3, -1}},
                                      {{-1, 1}, {-2, 2}, {-2, -1}},
                                      {{0, -1}, {-3, 2}, {-4, -1}}};
  Places places;
  for (int row = 0; row < 3; ++row)
    for (int dx = kSpans[number][row][0]; dx <= kSpans[number][row][1]; ++dx)
      places.push_back({dx, row - 2});
  return places;
}

inline Places nominal_adaptive(int number, bool extended = false) {
  if (extended)
    return {{-2, 0}, {0, -2}, {-2, -1}, {-1, -2}, {1, -2},  {2, -1},
            {-3, 0}, {-4, 0}, {2, -2},  {3, -1},  {-2, -2}, {-3, -1}};
  if (number == 0)
    return {{3, -1}, {-3, -1}, {2, -2}, {-2, -2}};
  return {{number == 1 ? 3 : 2, -1}};
}

inline void encode_generic(ArithmeticEncoder& encoder, Contexts& contexts, const Picture& picture, int number,
                           bool typical, const Places& adaptive, bool extended = false, const Picture* skip = nullptr) {
  static constexpr unsigned kTypicalContext[] = {0x9B25, 0x0795, 0x00E5, 0x0195};
  contexts.resize(1 << 16);
  Places places = generic_places(number);
  const Places nominal = nominal_adaptive(number, extended);
  for (std::size_t i = 0; i < nominal.size(); ++i)
    for (std::size_t k = 0, n = places.size(); k < n; ++k)
      if (const Place standard = generic_places(number)[k];
          standard.dx == nominal[i].dx && standard.dy == nominal[i].dy)
        places[k] = adaptive[i];
  bool was_typical = false;
  for (int y = 0; y < picture.height; ++y) {
    bool is_typical = typical;
    for (int x = 0; x < picture.width; ++x)
      is_typical = is_typical && picture.get(x, y) == picture.get(x, y - 1);
    if (typical)
      encoder.bit(contexts[kTypicalContext[number]], is_typical != was_typical ? 1 : 0);
    was_typical = is_typical;
    for (int x = 0; x < picture.width && !is_typical; ++x) {
      if (skip != nullptr && skip->get(x, y) != 0)
        continue;
      unsigned context = 0;
      for (const Place& place : places)
        context = context << 1 | picture.get(x + place.dx, y + place.dy);
      encoder.bit(contexts[context], picture.get(x, y));
    }
  }
}

/// `picture` as a refinement of `reference`, whose corner lies at (`dx`, `dy`) (Figures 12 and 13).
inline void encode_refinement(ArithmeticEncoder& encoder, Contexts& contexts, const Picture& picture,
                              const Picture& reference, int dx, int dy, int number, bool typical,
                              const Places& adaptive = {{-1, -1}, {-1, -1}}) {
  contexts.resize(1 << 13);
  Places own = {{-1, -1}, {0, -1}, {1, -1}, {-1, 0}};
  Places others = {{-1, -1}, {0, -1}, {1, -1}, {-1, 0}, {0, 0}, {1, 0}, {-1, 1}, {0, 1}, {1, 1}};
  if (number == 0) {
    own[0] = adaptive[0];
    others[0] = adaptive[1];
  } else {
    others = {{0, -1}, {-1, 0}, {0, 0}, {1, 0}, {0, 1}, {1, 1}};
  }
  const auto is_even = [&](int x, int y) {
    unsigned black = 0;
    for (int k = 0; k < 9; ++k)
      black += reference.get(x - dx + k % 3 - 1, y - dy + k / 3 - 1);
    return black == 0 || black == 9;
  };
  bool was_typical = false;
  for (int y = 0; y < picture.height; ++y) {
    bool is_typical = typical;
    for (int x = 0; x < picture.width; ++x)
      is_typical = is_typical && (!is_even(x, y) || picture.get(x, y) == reference.get(x - dx, y - dy));
    if (typical)
      encoder.bit(contexts[number == 0 ? 0x10 : 0x08], is_typical != was_typical ? 1 : 0);
    was_typical = is_typical;
    for (int x = 0; x < picture.width; ++x) {
      if (is_typical && is_even(x, y))
        continue;
      unsigned context = 0;
      for (const Place& place : own)
        context = context << 1 | picture.get(x + place.dx, y + place.dy);
      for (const Place& place : others)
        context = context << 1 | reference.get(x - dx + place.dx, y - dy + place.dy);
      encoder.bit(contexts[context], picture.get(x, y));
    }
  }
}

inline std::string u8(unsigned value) {
  return std::string(1, static_cast<char>(value));
}
inline std::string u16(unsigned value) {
  return u8(value >> 8) + u8(value & 255);
}
inline std::string u32(std::uint32_t value) {
  return u16(value >> 16) + u16(value & 0xFFFF);
}
inline std::string places_bytes(const Places& places) {
  std::string bytes;
  for (const Place& place : places)
    bytes += u8(static_cast<unsigned>(place.dx) & 255) + u8(static_cast<unsigned>(place.dy) & 255);
  return bytes;
}

/// A segment with its header. Numbers of up to four segments referred to take the short form.
inline std::string segment(std::uint32_t number, unsigned type, const std::vector<std::uint32_t>& referred,
                           const std::string& body, std::uint32_t page = 1) {
  std::string head = u32(number) + u8(type | (page > 255 ? 0x40u : 0u));
  const auto count = static_cast<std::uint32_t>(referred.size());
  if (count <= 4)
    head += u8(count << 5);
  else
    head += u32(7u << 29 | count) + std::string((count + 8) / 8, '\0');
  for (const std::uint32_t other : referred)
    head += number <= 256 ? u8(other) : number <= 65536 ? u16(other) : u32(other);
  return head + (page > 255 ? u32(page) : u8(page)) + u32(static_cast<std::uint32_t>(body.size())) + body;
}

inline std::string page_info(std::uint32_t width, std::uint32_t height, unsigned flags = 0, unsigned striping = 0) {
  return u32(width) + u32(height) + u32(0) + u32(0) + u8(flags) + u16(striping);
}

inline std::string region_info(const Picture& picture, int x = 0, int y = 0, unsigned op = 0) {
  return u32(static_cast<std::uint32_t>(picture.width)) + u32(static_cast<std::uint32_t>(picture.height)) +
         u32(static_cast<std::uint32_t>(x)) + u32(static_cast<std::uint32_t>(y)) + u8(op);
}

/// The body of a generic region segment.
inline std::string generic_body(const Picture& picture, int number, bool typical, const Places& adaptive,
                                bool extended = false, int x = 0, int y = 0, unsigned op = 0) {
  ArithmeticEncoder encoder;
  Contexts contexts;
  encode_generic(encoder, contexts, picture, number, typical, adaptive, extended);
  const unsigned flags = static_cast<unsigned>(number) << 1 | (typical ? 8u : 0u) | (extended ? 16u : 0u);
  return region_info(picture, x, y, op) + u8(flags) + places_bytes(adaptive) + encoder.finish();
}
inline std::string generic_body(const Picture& picture, int x = 0, int y = 0, unsigned op = 0) {
  return generic_body(picture, 0, false, nominal_adaptive(0), false, x, y, op);
}

/// The body of a symbol dictionary of directly coded symbols, which come sorted by height. Behind
/// `inherited` symbols of others, none of which it exports; `contexts` go on from where they are.
inline std::string dictionary_body(const std::vector<Picture>& symbols, Contexts& contexts, unsigned flags = 0,
                                   int inherited = 0) {
  ArithmeticEncoder encoder;
  IntegerEncoder integers;
  int height = 0;
  for (std::size_t i = 0; i < symbols.size();) {
    integers.put(encoder, "IADH", symbols[i].height - height);
    height = symbols[i].height;
    int width = 0;
    for (; i < symbols.size() && symbols[i].height == height; ++i) {
      integers.put(encoder, "IADW", symbols[i].width - width);
      width = symbols[i].width;
      encode_generic(encoder, contexts, symbols[i], 0, false, nominal_adaptive(0));
    }
    integers.put(encoder, "IADW", IntegerEncoder::kNone);
  }
  integers.put(encoder, "IAEX", inherited);
  integers.put(encoder, "IAEX", static_cast<std::int64_t>(symbols.size()));
  const auto count = static_cast<std::uint32_t>(symbols.size());
  return u16(flags) + places_bytes(nominal_adaptive(0)) + u32(count) + u32(count) + encoder.finish();
}
inline std::string dictionary_body(const std::vector<Picture>& symbols) {
  Contexts contexts;
  return dictionary_body(symbols, contexts);
}

inline unsigned id_bits(std::size_t symbols) {
  unsigned bits = 0;
  while (std::size_t{1} << bits < symbols)
    ++bits;
  return bits;
}

struct Instance {
  unsigned id;
  int x;  ///< Top left corner.
  int y;
};

struct TextLayout {
  unsigned corner = 1;  ///< 0 bottom left, 1 top left, 2 bottom right, 3 top right.
  bool transposed = false;
  unsigned op = 0;
  unsigned strip_bits = 0;
  int offset = 0;
  bool black = false;
};

/// The body of an arithmetically coded text region; instances of a strip stand one after the other.
inline std::string text_body(const std::vector<Picture>& symbols, const std::vector<Instance>& instances,
                             const Picture& region, const TextLayout& layout, unsigned region_op = 0) {
  ArithmeticEncoder encoder;
  IntegerEncoder integers;
  const bool is_right = layout.corner >= 2;
  const bool is_bottom = layout.corner == 0 || layout.corner == 2;
  const int size = 1 << layout.strip_bits;
  integers.put(encoder, "IADT", 0);
  int strip = 0;
  int first_s = 0;
  int s = 0;
  bool in_strip = false;
  for (const Instance& instance : instances) {
    const Picture& symbol = symbols[instance.id];
    const int t = layout.transposed ? instance.x + (is_right ? symbol.width - 1 : 0)
                                    : instance.y + (is_bottom ? symbol.height - 1 : 0);
    const int own_s = layout.transposed ? instance.y : instance.x;
    const int own_strip = t >= 0 ? t / size : -((-t + size - 1) / size);
    if (!in_strip || own_strip != strip) {
      if (in_strip)
        integers.put(encoder, "IADS", IntegerEncoder::kNone);
      integers.put(encoder, "IADT", own_strip - strip);
      integers.put(encoder, "IAFS", own_s - first_s);
      first_s = own_s;
      strip = own_strip;
      in_strip = true;
    } else {
      integers.put(encoder, "IADS", own_s - s - layout.offset);
    }
    if (layout.strip_bits > 0)
      integers.put(encoder, "IAIT", t - strip * size);
    integers.put_id(encoder, instance.id, id_bits(symbols.size()));
    s = own_s + (layout.transposed ? symbol.height : symbol.width) - 1;
  }
  if (in_strip)
    integers.put(encoder, "IADS", IntegerEncoder::kNone);
  const unsigned flags = layout.strip_bits << 2 | layout.corner << 4 | (layout.transposed ? 0x40u : 0u) |
                         layout.op << 7 | (layout.black ? 0x200u : 0u) |
                         (static_cast<unsigned>(layout.offset) & 31) << 10;
  return region_info(region, 0, 0, region_op) + u16(flags) + u32(static_cast<std::uint32_t>(instances.size())) +
         encoder.finish();
}

}  // namespace jb2_test
