// Prints a ToUnicode map (ISO 32000-1, 9.10.3), with ranges wherever glyphs and characters run in parallel.
#include "sheaf/neighbours/fonts/programs/to_unicode_internal.h"

#include <cstdio>
#include <cstring>

#include "sheaf/base/utf.h"

namespace sheaf {

namespace {

constexpr std::size_t kMostInBlock = 100;  // lines that one block may have

constexpr char kHead[] =
    "/CIDInit /ProcSet findresource begin\n12 dict begin\nbegincmap\n"
    "/CIDSystemInfo <</Registry (Adobe) /Ordering (UCS) /Supplement 0>> def\n"
    "/CMapName /Adobe-Identity-UCS def\n/CMapType 2 def\n"
    "1 begincodespacerange\n<0000> <FFFF>\nendcodespacerange\n";
constexpr char kTail[] = "endcmap\nCMapName currentdict /CMap defineresource pop\nend\nend\n";

struct Run {
  std::uint32_t first;
  std::uint32_t last;
  std::uint32_t text;
};

void put_text(TTBytes& out, const char* text) {
  out.bytes(text, static_cast<std::uint32_t>(std::strlen(text)));
}

void put_code(TTBytes& out, std::uint32_t code) {
  char hex[12];
  std::snprintf(hex, sizeof(hex), "<%04X> ", code);
  put_text(out, hex);
}

// UTF-16, big-endian; characters outside the basic plane take two units.
void put_character(TTBytes& out, std::uint32_t character) {
  char hex[16];
  if (character < 0x10000) {
    std::snprintf(hex, sizeof(hex), "%04X", character);
  } else {
    std::snprintf(hex, sizeof(hex), "%04X%04X", high_surrogate(character), low_surrogate(character));
  }
  put_text(out, hex);
}

void put_target(TTBytes& out, std::uint32_t text, const GrowArray<std::uint32_t>& longer) {
  put_text(out, "<");
  if ((text & GlyphTexts::kLonger) == 0) {
    put_character(out, text);
  } else {
    const std::size_t at = text & ~GlyphTexts::kLonger;
    for (std::uint32_t i = 1; i <= longer[at]; ++i)
      put_character(out, longer[at + i]);
  }
  put_text(out, ">\n");
}

// Whether `next` continues `run`. In a range only the last byte of code and text may change.
bool continues(const Run& run, const PDF_USED_GLYPH& next) {
  const std::uint32_t text = run.text + (next.code - run.first);
  return next.code == run.last + 1 && next.text == text && (text & GlyphTexts::kLonger) == 0 &&
         next.code >> 8 == run.first >> 8 && text >> 8 == run.text >> 8;
}

void put_blocks(TTBytes& out, const GrowArray<Run>& runs, const GrowArray<std::uint32_t>& longer, bool ranges) {
  std::size_t left = 0;
  for (const Run& run : runs)
    left += (run.first != run.last) == ranges;
  std::size_t in_block = 0;
  const char* const kind = ranges ? "bfrange\n" : "bfchar\n";
  for (const Run& run : runs) {
    if ((run.first != run.last) != ranges)
      continue;
    if (in_block == 0) {
      in_block = left < kMostInBlock ? left : kMostInBlock;
      char head[24];
      std::snprintf(head, sizeof(head), "%zu begin%s", in_block, kind);
      put_text(out, head);
    }
    put_code(out, run.first);
    if (ranges)
      put_code(out, run.last);
    put_target(out, run.text, longer);
    --left;
    if (--in_block == 0) {
      put_text(out, "end");
      put_text(out, kind);
    }
  }
}

}  // namespace

void write_to_unicode(TTBytes& out, const GrowArray<PDF_USED_GLYPH>& used, const GrowArray<std::uint32_t>& longer) {
  GrowArray<Run> runs;
  for (const PDF_USED_GLYPH& glyph : used) {
    if (glyph.text == 0)
      continue;
    if (!runs.empty() && continues(runs.back(), glyph))
      runs.back().last = glyph.code;
    else if (!runs.push({glyph.code, glyph.code, glyph.text}))
      return;
  }
  put_text(out, kHead);
  put_blocks(out, runs, longer, false);
  put_blocks(out, runs, longer, true);
  put_text(out, kTail);
}

}  // namespace sheaf
