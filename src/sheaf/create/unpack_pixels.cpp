// No compiler makes vector code of a loop from four bytes to three by itself everywhere, so the
// shuffle is spelt out: one table look-up a vector on aarch64, one byte shuffle on x86-64, whose
// oldest processors lack it and take the plain loop.
#include "sheaf/create/unpack_pixels.h"

#include <cstring>

#if defined(__x86_64__)
#define SHEAF_WITH_BYTE_SHUFFLE [[gnu::target("ssse3")]]
#else
#define SHEAF_WITH_BYTE_SHUFFLE
#endif

namespace sheaf {

namespace {

constexpr std::size_t kPixelBytes = 4;
constexpr std::size_t kSampleBytes = 3;
constexpr std::size_t kVectorPixels = 4;

using ByteVector [[gnu::vector_size(kVectorPixels * kPixelBytes)]] = std::uint8_t;

bool has_byte_shuffle() {
#if defined(__x86_64__)
  return __builtin_cpu_supports("ssse3") != 0;
#else
  return true;
#endif
}

// Four pixels at a time; the count of pixels done. A store is a whole vector, of which the next one
// overwrites the last quarter, so that the last pixels are left to the plain loop.
template <int First, int Second, int Third>
SHEAF_WITH_BYTE_SHUFFLE std::size_t shuffle_pixels(const std::uint8_t* src, std::uint8_t* dst, std::size_t count) {
  constexpr std::size_t kRoomPixels = (sizeof(ByteVector) + kSampleBytes - 1) / kSampleBytes;
  std::size_t done = 0;
  for (; done + kRoomPixels <= count; done += kVectorPixels) {
    ByteVector pixels;
    std::memcpy(&pixels, src + done * kPixelBytes, sizeof(pixels));
    const ByteVector samples =
        __builtin_shufflevector(pixels, pixels, First, Second, Third, 4 + First, 4 + Second, 4 + Third, 8 + First,
                                8 + Second, 8 + Third, 12 + First, 12 + Second, 12 + Third, -1, -1, -1, -1);
    std::memcpy(dst + done * kSampleBytes, &samples, sizeof(samples));
  }
  return done;
}

template <int First, int Second, int Third>
void unpack(const std::uint8_t* src, std::uint8_t* dst, std::size_t count) {
  std::size_t i = has_byte_shuffle() ? shuffle_pixels<First, Second, Third>(src, dst, count) : 0;
  for (; i < count; ++i) {
    dst[i * kSampleBytes] = src[i * kPixelBytes + First];
    dst[i * kSampleBytes + 1] = src[i * kPixelBytes + Second];
    dst[i * kSampleBytes + 2] = src[i * kPixelBytes + Third];
  }
}

}  // namespace

void unpack_alpha(const std::uint8_t* __restrict src, std::uint8_t* __restrict dst, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    dst[i] = src[i * kPixelBytes + 3];
}

void unpack_colour(const std::uint8_t* src, std::uint8_t* dst, std::size_t count, bool reversed) {
  if (reversed)
    unpack<2, 1, 0>(src, dst, count);
  else
    unpack<0, 1, 2>(src, dst, count);
}

}  // namespace sheaf
