// Images: the loops that take pixels apart beside memcpy, in bytes of pixels a second; a bitmap of
// 4,000 x 3,000 pixels with alpha made into an image, with the share of zlib; JPEG and JPEG 2000
// decoding of the same picture beside the bare libraries, in megapixels a second.
#include <benchmark/benchmark.h>

#include <cstring>
#include <ctime>
#include <vector>

#include "../tests/filters/filter_support.h"
#include "../tests/support/jp2_maker.h"
#include "../tests/support/jpeg_maker.h"
#include "sheaf/create/unpack_pixels.h"
#include "sheaf/neighbours/page/page.h"

using namespace sheaf;

namespace {

constexpr int kWidth = 4000;
constexpr int kHeight = 3000;
constexpr std::size_t kPixels = std::size_t{kWidth} * kHeight;

// Slopes with a little noise, as photographs have; alpha is a disc with a soft edge.
std::vector<std::uint8_t> make_pixels() {
  std::vector<std::uint8_t> pixels(kPixels * 4);
  std::uint32_t seed = 1;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      seed = seed * 1664525 + 1013904223;
      const int noise = static_cast<int>(seed >> 29);
      std::uint8_t* pixel = pixels.data() + (static_cast<std::size_t>(y) * kWidth + static_cast<std::size_t>(x)) * 4;
      pixel[0] = static_cast<std::uint8_t>(x * 200 / kWidth + noise);
      pixel[1] = static_cast<std::uint8_t>(y * 200 / kHeight + noise);
      pixel[2] = static_cast<std::uint8_t>((x + y) * 100 / kWidth + noise);
      const int edge = 1400 * 1400 - (x - 2000) * (x - 2000) - (y - 1500) * (y - 1500);
      pixel[3] = static_cast<std::uint8_t>(std::min(std::max(edge / 1000, 0), 255));
    }
  }
  return pixels;
}

std::vector<std::uint8_t>& pixels() {
  static std::vector<std::uint8_t> all = make_pixels();
  return all;
}

std::string colours() {
  std::string samples(kPixels * 3, '\0');
  unpack_colour(pixels().data(), reinterpret_cast<std::uint8_t*>(samples.data()), kPixels, false);
  return samples;
}

// Row by row, as for an image; `size` is what one pixel gives.
template <class Move>
void move_rows(benchmark::State& state, std::size_t size, const Move& move) {
  std::vector<std::uint8_t> out(kPixels * size);
  for (auto _ : state) {
    for (std::size_t y = 0; y < kHeight; ++y)
      move(pixels().data() + y * kWidth * 4, out.data() + y * kWidth * size);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(kPixels * 4));
}

void copy_by_memcpy(benchmark::State& state) {
  move_rows(state, 4, [](const std::uint8_t* src, std::uint8_t* dst) { std::memcpy(dst, src, kWidth * 4); });
}
BENCHMARK(copy_by_memcpy);

void take_alpha(benchmark::State& state) {
  move_rows(state, 1, [](const std::uint8_t* src, std::uint8_t* dst) { unpack_alpha(src, dst, kWidth); });
}
BENCHMARK(take_alpha);

void take_colour(benchmark::State& state) {
  move_rows(state, 3, [](const std::uint8_t* src, std::uint8_t* dst) { unpack_colour(src, dst, kWidth, false); });
}
BENCHMARK(take_colour);

void take_colour_reversed(benchmark::State& state) {
  move_rows(state, 3, [](const std::uint8_t* src, std::uint8_t* dst) { unpack_colour(src, dst, kWidth, true); });
}
BENCHMARK(take_colour_reversed);

// One byte at a time, as the loops would be without vectors.
void take_colour_by_bytes(benchmark::State& state) {
  move_rows(state, 3, [](const std::uint8_t* src, std::uint8_t* dst) {
    for (int x = 0; x < kWidth; ++x, src += 4, dst += 3) {
      dst[0] = src[0];
      dst[1] = src[1];
      dst[2] = src[2];
      benchmark::DoNotOptimize(dst);
    }
  });
}
BENCHMARK(take_colour_by_bytes);

// Of this thread: what others do on the machine must not count into a share.
double cpu_seconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double seconds_of(const std::string& samples) {
  const double start = cpu_seconds();
  int size = 0;
  QVFree(CPDFXRefTable::compress_data(samples.data(), static_cast<int>(samples.size()), size));
  return cpu_seconds() - start;
}

void new_image_flate(benchmark::State& state) {
  CQVBmp32 bitmap;
  bitmap.pixels = pixels().data();
  bitmap.width = kWidth;
  bitmap.height = kHeight;
  bitmap.stride = kWidth * 4;
  std::string alpha(kPixels, '\0');
  unpack_alpha(pixels().data(), reinterpret_cast<std::uint8_t*>(alpha.data()), kPixels);
  const std::string colour = colours();
  double all = 0;
  double zlib = 0;
  for (auto _ : state) {
    CPDFXRefTable table;
    table.next_obj_num = 1;
    const double start = cpu_seconds();
    table.new_image_flate(&bitmap, 0, 1);
    const double seconds = cpu_seconds() - start;
    state.SetIterationTime(seconds);
    all += seconds;
    zlib += seconds_of(alpha) + seconds_of(colour);
    table.XRefFree();
  }
  state.counters["zlib_share"] = zlib / all;
}
BENCHMARK(new_image_flate)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);

void count_pixels(benchmark::State& state, std::size_t each) {
  state.counters["Mpixel/s"] =
      benchmark::Counter(static_cast<double>(each) * 1e-6, benchmark::Counter::kIsIterationInvariantRate);
}

const std::string& picture_jpeg(bool progressive) {
  static const std::string files[] = {
      make_jpeg(colours(), kWidth, kHeight, {.subsampled = true, .quality = 85}),
      make_jpeg(colours(), kWidth, kHeight, {.progressive = true, .subsampled = true, .quality = 85}),
  };
  return files[progressive ? 1 : 0];
}

void decode_stream(benchmark::State& state, const char* name, const std::string& file, std::size_t each) {
  std::vector<char> block(64 * 1024);
  for (auto _ : state) {
    const StreamPtr decoder = decoder_of(name, file);
    while (decoder->read_block(block.data(), static_cast<int>(block.size())) > 0)
      benchmark::ClobberMemory();
  }
  count_pixels(state, each);
}

void decode_by_libjpeg(benchmark::State& state, const std::string& file) {
  std::vector<std::uint8_t> row(kWidth * 3);
  for (auto _ : state) {
    jpeg_decompress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&jpeg);
    jpeg_mem_src(&jpeg, reinterpret_cast<const unsigned char*>(file.data()), file.size());
    jpeg_read_header(&jpeg, TRUE);
    jpeg_start_decompress(&jpeg);
    std::uint8_t* rows[] = {row.data()};
    while (jpeg.output_scanline < jpeg.output_height)
      jpeg_read_scanlines(&jpeg, rows, 1);
    jpeg_finish_decompress(&jpeg);
    jpeg_destroy_decompress(&jpeg);
  }
  count_pixels(state, kPixels);
}

const std::string& picture_jp2() {
  static const std::string file = make_jp2(kWidth / 4, kHeight / 4, {}, [](int c, int x, int y) {
    return pixels()[(static_cast<std::size_t>(y) * 4 * kWidth + static_cast<std::size_t>(x) * 4) * 4 +
                    static_cast<std::size_t>(c)];
  });
  return file;
}

void dct(benchmark::State& state, bool progressive) {
  decode_stream(state, "DCTDecode", picture_jpeg(progressive), kPixels);
}
BENCHMARK_CAPTURE(dct, baseline, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(dct, progressive, true)->Unit(benchmark::kMillisecond);

void libjpeg(benchmark::State& state, bool progressive) {
  decode_by_libjpeg(state, picture_jpeg(progressive));
}
BENCHMARK_CAPTURE(libjpeg, baseline, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(libjpeg, progressive, true)->Unit(benchmark::kMillisecond);

void jpx(benchmark::State& state) {
  decode_stream(state, "JPXDecode", picture_jp2(), kPixels / 16);
}
BENCHMARK(jpx)->Unit(benchmark::kMillisecond);

}  // namespace
