// Group 4 pages of 2,480 x 3,508 pixels: text-like and dithered, decoded row by row. The pages are
// coded by libtiff's tiffcp ahead of the run; PAGE names the coded strip (raw T.6 data).
//   ccitt_bench --benchmark_filter=...  with CCITT_G4=FILE CCITT_COLUMNS=N CCITT_ROWS=N
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "sheaf/base/heap.h"
#include "sheaf/filters/ccitt.h"

using namespace sheaf;

namespace {

void decode_page(benchmark::State& state) {
  const char* path = std::getenv("CCITT_G4");
  if (path == nullptr) {
    state.SkipWithError("CCITT_G4 names no file");
    return;
  }
  std::ifstream in(path, std::ios::binary);
  const std::string data{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  const int columns = std::atoi(std::getenv("CCITT_COLUMNS"));
  const int rows = std::atoi(std::getenv("CCITT_ROWS"));
  std::vector<unsigned char> row(static_cast<std::size_t>(columns + 7) / 8);
  for (auto _ : state) {
    auto* block = static_cast<std::uint8_t*>(QVAlloc(data.size()));
    std::memcpy(block, data.data(), data.size());
    CPDFStreamFAX fax(block, static_cast<int>(data.size()));
    fax.open(-1, columns, rows, 0, 0);
    for (int i = 0; i < rows; ++i)
      benchmark::DoNotOptimize(fax.read_block(row.data(), static_cast<int>(row.size())));
  }
  state.counters["megapixels/s"] = benchmark::Counter(
      static_cast<double>(columns) * rows / 1e6 * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(decode_page)->Unit(benchmark::kMillisecond);

}  // namespace
