// Copies a face table by table, or hands it to the subsetter; reads metrics from "head", "hhea", "OS/2" and "post".
#include "sheaf/neighbours/fonts/programs/tt_writer.h"

#include <algorithm>
#include <cmath>

#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/fonts/programs/ft_font.h"
#include "sheaf/neighbours/fonts/programs/tt_assembly_internal.h"
#include "sheaf/neighbours/fonts/programs/tt_bytes_internal.h"

using namespace sheaf;

namespace {

constexpr std::uint32_t kOpenType = tt_tag("OTTO");
constexpr std::uint32_t kHead = tt_tag("head");
constexpr std::uint32_t kHhea = tt_tag("hhea");
constexpr std::uint32_t kMaxp = tt_tag("maxp");
constexpr std::uint32_t kOs2 = tt_tag("OS/2");
constexpr std::uint32_t kHeadSize = 54;
constexpr std::uint32_t kHheaSize = 36;
constexpr std::uint32_t kMaxpCountEnd = 6;
constexpr std::uint32_t kLeastCff = 64;  // below it there is not even an empty font
constexpr std::uint32_t kFaceBits = 0xFFFF;
constexpr int kLeastUnits = 16;
constexpr int kMostUnits = 16384;
constexpr int kThousand = 1000;

// Some fonts let two tables share their bytes; many that do would let a small file grow without bound.
constexpr std::uint64_t kMostSharing = 2;

std::int16_t thousandths(double value, int units_per_em) {
  return static_cast<std::int16_t>(std::clamp(std::lround(value * kThousand / units_per_em), -32768L, 32767L));
}

// Without a letter to measure, the stem follows from the weight class: 400 gives 88, 700 gives 166.
std::uint16_t stem_by_weight(int weight) {
  const double step = weight / 65.0;
  return static_cast<std::uint16_t>(std::clamp(std::lround(50 + step * step), 0L, 65535L));
}

}  // namespace

int CQVTTWriter::Load(CQVStream* stream) {
  free();
  // Which face of a collection is meant nobody has said.
  if (parser_.TT_Open(stream) != 0 || parser_.is_collection != 0)
    return 1;
  return load_face(stream, 0);
}

int CQVTTWriter::Load2(CQVStream* stream, unsigned int index) {
  free();
  if (parser_.TT_Open(stream) != 0)
    return 1;
  return load_face(stream, index);
}

void CQVTTWriter::free() {
  parser_.TT_Close();
  parser_.tables.reset();
  loaded_ = false;
  ascent = descent = italic_angle = 0;
  stem_v = 0;
  for (float& side : font_bbox)
    side = 0;
}

int CQVTTWriter::load_face(CQVStream* stream, std::uint32_t index) {
  std::uint8_t head[kHeadSize];
  if (parser_.TT_Select(index & kFaceBits) != 0 || !parser_.read(kHead, 0, head, kHeadSize))
    return 1;
  const PDF_TT_TABLE* const hhea = parser_.find(kHhea);
  const PDF_TT_TABLE* const maxp = parser_.find(kMaxp);
  const int units_per_em = tt_u16(head + 18);
  if (hhea == nullptr || hhea->length < kHheaSize || maxp == nullptr || maxp->length < kMaxpCountEnd ||
      units_per_em < kLeastUnits || units_per_em > kMostUnits)
    return 1;
  loaded_ = true;
  for (unsigned i = 0; i < 4; ++i)
    font_bbox[i] = static_cast<float>(tt_i16(head + 36 + i * 2)) * kThousand / static_cast<float>(units_per_em);
  read_metrics(stream, index, units_per_em);
  return 0;
}

void CQVTTWriter::read_metrics(CQVStream* stream, std::uint32_t index, int units_per_em) {
  std::uint8_t pair[4];
  if (parser_.read(kHhea, 4, pair, sizeof(pair)) && tt_u32(pair) == 0)
    parser_.read(kOs2, 68, pair, sizeof(pair));  // the typographic pair, where the other is empty
  ascent = thousandths(tt_i16(pair), units_per_em);
  descent = thousandths(tt_i16(pair + 2), units_per_em);
  if (parser_.read(tt_tag("post"), 4, pair, sizeof(pair)))
    italic_angle = static_cast<std::int16_t>(std::lround(static_cast<std::int32_t>(tt_u32(pair)) / 65536.0));
  int stem = 0;
  if (CQVFTFont* face = CQVFTFont::open(stream, static_cast<int>(index))) {
    stem = face->stem_width();
    delete face;
  }
  if (stem > 0)
    stem_v = static_cast<std::uint16_t>(thousandths(stem, units_per_em));
  else if (parser_.read(kOs2, 4, pair, 2))
    stem_v = stem_by_weight(tt_u16(pair));
}

bool CQVTTWriter::has_outlines() const {
  if (!loaded_)
    return false;
  const PDF_TT_TABLE* const glyf = parser_.find(tt_tag("glyf"));
  std::uint8_t format[2];
  std::uint8_t glyphs[2];
  std::uint8_t metrics[2];
  if (parser_.outline_tag == kOpenType || glyf == nullptr || !parser_.read(kHead, 50, format, 2) ||
      !parser_.read(kMaxp, 4, glyphs, 2) || !parser_.read(kHhea, 34, metrics, 2))
    return false;
  const PDF_TT_TABLE* const hmtx = parser_.find(tt_tag("hmtx"));
  if (hmtx == nullptr || tt_u16(metrics) == 0 || hmtx->length / 4 < tt_u16(metrics))
    return false;
  std::uint32_t length = 0;
  const HeapBlock<std::uint8_t> loca(parser_.load(tt_tag("loca"), length));
  const bool is_long = tt_u16(format) != 0;
  const std::uint32_t count = std::uint32_t{tt_u16(glyphs)} + 1;
  if (!loca || count < 2 || length / (is_long ? 4 : 2) < count)
    return false;
  std::uint32_t before = 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint32_t at = is_long ? tt_u32(loca.get() + i * 4) : std::uint32_t{tt_u16(loca.get() + i * 2)} * 2;
    if (at < before || at > glyf->length)
      return false;
    before = at;
  }
  return true;
}

bool CQVTTWriter::has_cff_outlines() const {
  const PDF_TT_TABLE* const cff = loaded_ ? parser_.find(tt_tag("CFF ")) : nullptr;
  return cff != nullptr && parser_.outline_tag == kOpenType && cff->length > kLeastCff;
}

bool CQVTTWriter::has_cubic_outlines() const {
  return has_cff_outlines() || (loaded_ && parser_.find(tt_tag("CFF2")) != nullptr);
}

int CQVTTWriter::SaveCffData(CQVStream* out, const CQVTTCodesRec* codes) {
  if (!has_cff_outlines())
    return 1;
  if (codes != nullptr)
    return save_subset(out, *codes);
  std::uint32_t length = 0;
  const HeapBlock<std::uint8_t> table(parser_.load(tt_tag("CFF "), length));
  return table && out->Write(table.get(), length) == length ? 0 : 1;
}

int CQVTTWriter::SaveFontData(CQVStream* out, const CQVTTCodesRec* codes) {
  if (!has_outlines())
    return 1;
  if (codes != nullptr)
    return save_subset(out, *codes);
  TTAssembly assembly;
  std::uint64_t total = 0;
  std::uint64_t end = 0;
  for (const PDF_TT_TABLE& table : parser_.tables) {
    if (table.tag == tt_tag("DSIG"))
      continue;  // signs the file that this is taken from
    total += table.length;
    end = std::max(end, std::uint64_t{table.offset} + table.length);
    assembly.copy(parser_, table);
  }
  return total <= end * kMostSharing && assembly.write(out) ? 0 : 1;
}
