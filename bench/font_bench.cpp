// Fonts for new text. encode: characters a second, of text that has been met and of text that is new;
// flush: the time of embed_flush after as many new glyphs; make: a font with its whole program, as
// new_font_type0_h leaves it. FONT_NAME names the font (WenQuanYi Zen Hei otherwise).
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <vector>

#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/neighbours/fonts/programs/font_type0.h"
#include "sheaf/neighbours/fonts/programs/ft_font.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr int kEmbed = 8;
constexpr int kBold = 1;

const char* font_name() {
  const char* const name = std::getenv("FONT_NAME");
  return name != nullptr ? name : "WenQuanYi Zen Hei";
}

struct Document {
  Document() {
    CPDFEnviroment* const env = shared();
    table.stream = &file;
    table.new_xref();
    table.set_envirment(env, "font");
  }
  // The index of the system's fonts is made once a process.
  static CPDFEnviroment* shared() {
    static CPDFEnviroment* const env = new CPDFEnviroment;
    return env;
  }
  CPDFFontType0* font(int style) { return static_cast<CPDFFontType0*>(table.new_font_type0_h(font_name(), style)); }

  CQVStreamMem file;
  CPDFXRefTable table;
};

// Ideographs that the font has, from the start of their block on.
std::vector<wchar_t> ideographs(CPDFFontType0& font, std::size_t count) {
  std::vector<wchar_t> text;
  for (wchar_t c = 0x4E00; c < 0xA000 && text.size() < count; ++c) {
    if (font.has_glyph(c))
      text.push_back(c);
  }
  return text;
}

void encode_known(benchmark::State& state) {
  Document doc;
  CPDFFontType0* const font = doc.font(0);
  if (font == nullptr) {
    state.SkipWithError("the font is not known here");
    return;
  }
  const std::vector<wchar_t> text = ideographs(*font, 4096);
  const int count = static_cast<int>(text.size());
  std::vector<unsigned char> codes(text.size() * 2);
  font->encode(text.data(), count, codes.data());
  for (auto _ : state)
    benchmark::DoNotOptimize(font->encode(text.data(), count, codes.data()));
  state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(encode_known);

void encode_new(benchmark::State& state) {
  std::int64_t items = 0;
  for (auto _ : state) {
    state.PauseTiming();
    Document doc;
    CPDFFontType0* const font = doc.font(0);
    if (font == nullptr) {
      state.SkipWithError("the font is not known here");
      return;
    }
    const std::vector<wchar_t> text = ideographs(*font, 4096);
    std::vector<unsigned char> codes(text.size() * 2);
    state.ResumeTiming();
    benchmark::DoNotOptimize(font->encode(text.data(), static_cast<int>(text.size()), codes.data()));
    items += static_cast<std::int64_t>(text.size());
  }
  state.SetItemsProcessed(items);
}
BENCHMARK(encode_new);

void flush(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    Document doc;
    CPDFFontType0* const font = doc.font(static_cast<int>(state.range(1)));
    if (font == nullptr) {
      state.SkipWithError("the font is not known here");
      return;
    }
    const std::vector<wchar_t> text = ideographs(*font, static_cast<std::size_t>(state.range(0)));
    std::vector<unsigned char> codes(text.size() * 2);
    font->encode(text.data(), static_cast<int>(text.size()), codes.data());
    state.ResumeTiming();
    font->embed_flush();
  }
}
BENCHMARK(flush)
    ->ArgNames({"glyphs", "style"})
    ->Args({250, 0})
    ->Args({250, kEmbed})
    ->Args({4000, kEmbed})
    ->Args({250, kEmbed | kBold})
    ->Unit(benchmark::kMillisecond);

void make(benchmark::State& state) {
  for (auto _ : state) {
    Document doc;
    if (doc.font(static_cast<int>(state.range(0))) == nullptr) {
      state.SkipWithError("the font is not known here");
      return;
    }
  }
}
BENCHMARK(make)->ArgName("style")->Arg(0)->Arg(kEmbed)->Arg(kEmbed | kBold)->Unit(benchmark::kMillisecond);

}  // namespace
