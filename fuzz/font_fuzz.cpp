// Any bytes as a font file. The first byte is the style (bold, italic, vertical) and the face, the
// second one glyph; the rest is the file, seen from a stream and through a folder of fonts, up to a
// document that uses it under the family name "Fuzz". A program that was made must load again, and
// made from itself be the same.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/neighbours/fonts/programs/font_type0.h"
#include "sheaf/neighbours/fonts/programs/ft_font.h"
#include "sheaf/neighbours/fonts/programs/tt_layout.h"
#include "sheaf/neighbours/fonts/programs/tt_writer.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr std::size_t kHead = 2;
constexpr std::size_t kMostBytes = 1 << 16;

void require(bool holds) {
  if (!holds)
    std::abort();
}

struct Input {
  const std::uint8_t* data;
  int size;
  int bold, italic, vertical;
  unsigned index;
  std::uint16_t glyph;
};

void make_again(CQVStreamMem& program) {
  if (program.len == 0)
    return;
  CQVTTWriter writer;
  CQVStreamMem second;
  require(writer.Load(&program) == 0);
  require(writer.SaveFontData(&second, nullptr) == 0);
  require(second.len == program.len && std::memcmp(second.data, program.data, program.len) == 0);
}

void try_programs(const Input& input) {
  CQVStreamMemFix file;
  file.Open(const_cast<std::uint8_t*>(input.data), input.size);
  CQVTTWriter writer;
  if (writer.Load2(&file, input.index) != 0)
    return;
  CQVStreamMem whole;
  if (writer.SaveFontData(&whole, nullptr) == 0)
    make_again(whole);
  const std::uint16_t glyphs[] = {0, input.glyph};
  const CQVTTCodesRec codes{glyphs, input.glyph != 0 ? 2U : 1U, input.vertical};
  CQVStreamMem subset;
  writer.SaveFontData(&subset, &codes);
  CQVFTFont* const face = CQVFTFont::open(&file, static_cast<int>(input.index));
  if (face == nullptr)
    return;
  face->set_style(input.bold, input.italic, input.vertical);
  CQVStreamMem styled;
  if (writer.SaveFontData2(&styled, face, nullptr) == 0)
    make_again(styled);
  CQVStreamMem styled_subset;
  writer.SaveFontData2(&styled_subset, face, &codes);
  CQVTTLayout layout;
  layout.load(*face);
  require(layout.vertical_form(input.glyph) < 0x10000);
  delete face;
}

// A folder of the process's own, which goes with it, for one file.
class FontFolder {
public:
  FontFolder() {
    if (mkdtemp(path_.data()) == nullptr)
      std::abort();
  }
  FontFolder(const FontFolder&) = delete;
  FontFolder& operator=(const FontFolder&) = delete;
  ~FontFolder() {
    unlink(file().c_str());
    rmdir(path_.c_str());
  }
  const std::string& path() const { return path_; }
  std::string file() const { return path_ + "/f.ttf"; }

private:
  std::string path_ = "/tmp/sheaf_font_fuzz_XXXXXX";
};

void try_document(const Input& input) {
  static const FontFolder folder;
  std::FILE* const out = std::fopen(folder.file().c_str(), "wb");
  if (out == nullptr)
    return;
  std::fwrite(input.data, 1, static_cast<std::size_t>(input.size), out);
  std::fclose(out);
  CPDFEnviroment* const env = new CPDFEnviroment;
  env->use_system_fonts(0);
  env->add_font_folder(folder.path().c_str());
  const ScopeGuard release([env] { CPDFEnviroment::destroy(env); });
  CPDFXRefTable table;
  CQVStreamMem file;
  table.stream = &file;
  table.new_xref();
  table.set_envirment(env, "fuzz");
  const int style = 8 | (input.bold != 0 ? 1 : 0) | (input.italic != 0 ? 2 : 0);
  CPDFFont* const font =
      input.vertical != 0 ? table.new_font_type0_v("Fuzz", style) : table.new_font_type0_h("Fuzz", style);
  if (font == nullptr)
    return;
  const wchar_t text[] = {'A', 'B', ' ', 0x4E00, 0x1D11E, 0x10FFFF, static_cast<wchar_t>(input.glyph)};
  constexpr int kCount = static_cast<int>(sizeof(text) / sizeof(text[0]));
  unsigned char codes[kCount * 2];
  static_cast<CPDFFontType0*>(font)->encode(text, kCount, codes);
  require(table.save(nullptr, nullptr) == 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < kHead || size > kMostBytes)
    return 0;
  const Input input{
      data + kHead, static_cast<int>(size - kHead), data[0] & 1, data[0] & 2, data[0] & 4, data[0] >> 3U & 7U, data[1]};
  try_programs(input);
  try_document(input);
  return 0;
}
