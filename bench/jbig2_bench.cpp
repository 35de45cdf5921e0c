// One JBIG2 page, decoded whole at each run. JBIG2_PAGE names an embedded stream (or file) as
// tools-dev/pbm_to_jbig2 makes it of a scan: `generic` pixel by pixel, `symbols` shape by shape.
//   JBIG2_PAGE=FILE jbig2_bench
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <vector>

#include "sheaf/neighbours/decoders/jbig2.h"

using namespace sheaf;

namespace {

void decode_page(benchmark::State& state) {
  const char* path = std::getenv("JBIG2_PAGE");
  if (path == nullptr) {
    state.SkipWithError("JBIG2_PAGE names no file");
    return;
  }
  std::ifstream in(path, std::ios::binary);
  std::vector<unsigned char> data{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  double pixels = 0;
  for (auto _ : state) {
    CQVJBIG2 decoder;
    if (!decoder.init() || decoder.dec_data(data.data(), static_cast<int>(data.size())) == 0) {
      state.SkipWithError("no page in it");
      return;
    }
    pixels += static_cast<double>(decoder.pages[0].bitmap->width) * decoder.pages[0].bitmap->height;
  }
  state.counters["megapixels/s"] = benchmark::Counter(pixels / 1e6, benchmark::Counter::kIsRate);
}
BENCHMARK(decode_page)->Unit(benchmark::kMillisecond);

}  // namespace
