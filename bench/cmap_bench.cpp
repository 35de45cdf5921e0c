// Character maps of the system (poppler-data): lookups a second of codes in random order and of
// text, time to load a map from its file, and of a hit in the table's cache.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "../tests/support/test_table.h"
#include "sheaf/neighbours/fonts/cmap.h"
#include "sheaf/neighbours/fonts/environment.h"

using namespace sheaf;

namespace {

constexpr std::size_t kCodes = 1 << 16;
constexpr std::uint32_t kMostTwoByteCode = 0xFFFF;

CPDFEnviroment& environment() {
  static CPDFEnviroment* const env = new CPDFEnviroment;
  return *env;
}

// Mapped codes of two bytes, evenly spread and shuffled; empty when the map is not there.
std::vector<std::uint32_t> mapped_codes(const CPDFCMap* map) {
  std::vector<std::uint32_t> all;
  for (std::uint32_t code = 0; map != nullptr && code <= kMostTwoByteCode; ++code) {
    if (map->has_code(code, 2))
      all.push_back(code);
  }
  std::vector<std::uint32_t> codes;
  std::mt19937 random(1);
  while (!all.empty() && codes.size() < kCodes)
    codes.push_back(all[random() % all.size()]);
  return codes;
}

void BM_CidOf(benchmark::State& state, const char* name) {
  CPDFCMap* const map = environment().load_cmap(name);
  const std::vector<std::uint32_t> codes = mapped_codes(map);
  if (codes.empty())
    state.SkipWithError("install poppler-data");
  for (auto _ : state) {
    std::uint32_t sum = 0;
    for (const std::uint32_t code : codes)
      sum += map->cid_of(code, 2);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(codes.size()));
  CPDFSharedCMap::release(map);
}

// Strings as pages hold them: codes are taken off by the codespace, then looked up.
void BM_Decode(benchmark::State& state, const char* name) {
  CPDFCMap* const map = environment().load_cmap(name);
  std::vector<std::uint8_t> text;
  for (const std::uint32_t code : mapped_codes(map)) {
    text.push_back(static_cast<std::uint8_t>(code >> 8));
    text.push_back(static_cast<std::uint8_t>(code));
  }
  if (text.empty())
    state.SkipWithError("install poppler-data");
  std::int64_t count = 0;
  for (auto _ : state) {
    std::uint32_t sum = 0;
    for (const std::uint8_t *at = text.data(), *end = at + text.size(); at < end; ++count) {
      std::uint32_t code = 0;
      std::uint32_t cid = 0;
      at += map->next_cid(at, static_cast<int>(end - at), code, cid);
      sum += cid;
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(count);
  CPDFSharedCMap::release(map);
}

void BM_TextOf(benchmark::State& state, const char* name) {
  CPDFCMapToUnicode* const map = environment().load_cmap_tounicode(name);
  if (map == nullptr)
    state.SkipWithError("install poppler-data");
  constexpr std::uint32_t kCids = 23000;
  std::vector<std::uint32_t> cids;
  std::mt19937 random(1);
  while (cids.size() < kCodes)
    cids.push_back(static_cast<std::uint32_t>(random() % kCids));
  for (auto _ : state) {
    int sum = 0;
    for (const std::uint32_t cid : cids) {
      char16_t units[CPDFCMapToUnicode::kMostUnits];
      sum += map->text_of(cid, 2, units, CPDFCMapToUnicode::kMostUnits);
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(cids.size()));
  CPDFSharedCMap::release(map);
}

template <class Load>
void time_loads(benchmark::State& state, Load load) {
  for (auto _ : state) {
    CPDFSharedCMap* const map = load();
    if (map == nullptr) {
      state.SkipWithError("install poppler-data");
      break;
    }
    CPDFSharedCMap::release(map);
  }
}

void BM_LoadCMap(benchmark::State& state, const char* name) {
  time_loads(state, [name] { return environment().load_cmap(name); });
}
void BM_LoadToUnicode(benchmark::State& state, const char* name) {
  time_loads(state, [name] { return environment().load_cmap_tounicode(name); });
}
void BM_CacheHit(benchmark::State& state) {
  TestTable t("");
  t.table.set_envirment(&environment(), "bench");
  time_loads(state, [&t] { return t.table.get_cmap("Identity-H"); });
}

BENCHMARK_CAPTURE(BM_CidOf, UniJIS_UTF16_H, "UniJIS-UTF16-H");
BENCHMARK_CAPTURE(BM_CidOf, UniGB_UCS2_H, "UniGB-UCS2-H");
BENCHMARK_CAPTURE(BM_CidOf, UniCNS_UCS2_H, "UniCNS-UCS2-H");
BENCHMARK_CAPTURE(BM_CidOf, Identity_H, "Identity-H");
BENCHMARK_CAPTURE(BM_Decode, UniJIS_UTF16_H, "UniJIS-UTF16-H");
BENCHMARK_CAPTURE(BM_Decode, UniJIS_UTF16_V, "UniJIS-UTF16-V");
BENCHMARK_CAPTURE(BM_Decode, UniGB_UCS2_H, "UniGB-UCS2-H");
BENCHMARK_CAPTURE(BM_TextOf, Adobe_Japan1_UCS2, "Adobe-Japan1-UCS2");
BENCHMARK_CAPTURE(BM_LoadCMap, UniJIS_UTF16_H, "UniJIS-UTF16-H")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_LoadCMap, UniGB_UCS2_H, "UniGB-UCS2-H")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_LoadToUnicode, Adobe_Japan1_UCS2, "Adobe-Japan1-UCS2")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_CacheHit);

}  // namespace
