// Decoding of 12 MB of image-like RGB rows, in decoded bytes a second: Flate with and without
// predictors beside bare zlib into one block, LZW, and the text filters.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <string>
#include <vector>

#include "../tests/filters/lzw_encoder.h"
#include "../tests/filters/predictor_encoder.h"

namespace {

constexpr int kColumns = 2000;
constexpr std::size_t kRows = 2000;
constexpr PredictorShape kShape{15, kColumns, 3, 8};

// Smooth slopes with a little noise, as scanned pages and photographs have.
std::string picture() {
  const std::string noise = sample_bytes(kRows * kShape.row_bytes());
  std::string rows = noise;
  for (std::size_t i = 0; i < rows.size(); ++i)
    rows[i] = static_cast<char>((i / 24 + i / kShape.row_bytes()) / 2 + static_cast<unsigned char>(noise[i]) / 8);
  return rows;
}

const std::string& rows() {
  static const std::string bytes = picture();
  return bytes;
}

std::string deflated(const std::string& bytes) {
  uLongf size = compressBound(bytes.size());
  std::string out(size, '\0');
  compress(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size());
  out.resize(size);
  return out;
}

// All rows with one PNG tag, or the differences of TIFF for tag 5.
std::string predicted(int tag) {
  const std::size_t size = kShape.row_bytes();
  std::string above(size, '\0');
  std::string out;
  for (std::size_t at = 0; at < rows().size(); at += size) {
    const std::string row = rows().substr(at, size);
    out += tag == 5 ? tiff_row(kShape, row) : png_row(kShape, row, above, tag);
    above = row;
  }
  return out;
}

void decode(benchmark::State& state, const char* name, const std::string& coded, const std::string& parms) {
  std::vector<char> block(64 * 1024);
  std::size_t total = 0;
  for (auto _ : state) {
    const StreamPtr decoder = decoder_of(name, coded, parms);
    for (int got = 1; got > 0; total += static_cast<std::size_t>(got))
      got = decoder->read_block(block.data(), static_cast<int>(block.size()));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(total));
}

void BM_ZlibWhole(benchmark::State& state, const std::string& coded, std::size_t size) {
  std::vector<Bytef> out(size);
  for (auto _ : state) {
    uLongf len = size;
    uncompress(out.data(), &len, reinterpret_cast<const Bytef*>(coded.data()), coded.size());
    benchmark::DoNotOptimize(len);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(size) * state.iterations());
}

std::string shape_parms(int kind) {
  PredictorShape shape = kShape;
  shape.kind = kind;
  return shape.parms();
}

void BM_Flate(benchmark::State& state) {
  decode(state, "FlateDecode", deflated(rows()), "");
}
void BM_Zlib(benchmark::State& state) {
  BM_ZlibWhole(state, deflated(rows()), rows().size());
}
void BM_FlatePng(benchmark::State& state) {
  decode(state, "FlateDecode", deflated(predicted(static_cast<int>(state.range(0)))), shape_parms(15));
}
void BM_ZlibOfPng(benchmark::State& state) {
  const std::string bytes = predicted(static_cast<int>(state.range(0)));
  BM_ZlibWhole(state, deflated(bytes), bytes.size());
}
void BM_FlateTiff(benchmark::State& state) {
  decode(state, "FlateDecode", deflated(predicted(5)), shape_parms(2));
}
void BM_Lzw(benchmark::State& state) {
  decode(state, "LZWDecode", lzw_encoded(rows(), 1, true), "");
}
void BM_AsciiHex(benchmark::State& state) {
  decode(state, "ASCIIHexDecode", std::string(12000000, 'a'), "");
}
void BM_Ascii85(benchmark::State& state) {
  decode(state, "ASCII85Decode", std::string(12000000, '5'), "");
}

BENCHMARK(BM_Flate)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Zlib)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FlatePng)->DenseRange(0, 4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ZlibOfPng)->DenseRange(0, 4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FlateTiff)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Lzw)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AsciiHex)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Ascii85)->Unit(benchmark::kMillisecond);

}  // namespace
