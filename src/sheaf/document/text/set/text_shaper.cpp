// Chooses fonts, has HarfBuzz shape what is of one font, and remembers the words: texts repeat themselves.
#include "sheaf/document/text/set/text_shaper_internal.h"

#include <utf8proc.h>

#include <algorithm>

#include "sheaf/document/text/set/text_clusters_internal.h"
#include "sheaf/neighbours/fonts/programs/font_type0.h"
#include "sheaf/neighbours/fonts/programs/ft_font.h"

namespace sheaf {

namespace {

constexpr std::size_t kMostGlyphs = 1 << 17;  // that are remembered
constexpr std::size_t kFirstSlots = 1 << 10;
constexpr std::uint32_t kMostKnown = 32;  // characters of a piece that is worth remembering
constexpr std::size_t kMostBase = 64;     // characters of one cluster that a font is looked for by
constexpr float kColumnSpace = 500;       // height of a space in a column, which an em would tear words apart by

hb_blob_t* give_table(hb_face_t*, hb_tag_t tag, void* face) {
  std::uint32_t length = 0;
  std::uint8_t* const table = static_cast<CQVFTFont*>(face)->load_table(tag, length);
  if (table == nullptr)
    return nullptr;
  return shaper().blob_create(reinterpret_cast<const char*>(table), length, HB_MEMORY_MODE_WRITABLE, table, QVFree);
}

std::uint32_t hash_of(const std::uint32_t* text, std::uint32_t length, std::uint32_t seed) {
  std::uint64_t hash = 0xCBF29CE484222325ULL ^ seed;
  for (std::uint32_t i = 0; i < length; ++i)
    hash = (hash ^ text[i]) * 0x100000001B3ULL;
  return static_cast<std::uint32_t>(hash ^ hash >> 32);
}

}  // namespace

TextShaper::~TextShaper() {
  for (hb_font_t* font : fonts_)
    shaper().font_destroy(font);
  if (buffer_ != nullptr)
    shaper().buffer_destroy(buffer_);
}

void TextShaper::tidy() {
  if (glyphs_.size() < kMostGlyphs)
    return;
  glyphs_.clear();
  texts_.clear();
  known_.clear();
  std::fill(slots_.begin(), slots_.end(), 0);
}

void TextShaper::set_format(const TextFormat& format) {
  const hb_language_t language =
      format.language != nullptr ? shaper().language_from_string(format.language, -1) : HB_LANGUAGE_INVALID;
  if (language == language_ && kerning_ == format.kerning)
    return;
  language_ = language;
  kerning_ = format.kerning;
  known_.clear();
  std::fill(slots_.begin(), slots_.end(), 0);
}

std::int32_t* TextShaper::find_slot(std::uint32_t hash, const std::uint32_t* text, std::uint32_t length,
                                    const TextPiece& piece) {
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t at = hash & mask;; at = (at + 1) & mask) {
    if (slots_[at] == 0)
      return &slots_[at];
    const Known& known = known_[static_cast<std::size_t>(slots_[at]) - 1];
    if (known.hash == hash && known.length == length && known.script == piece.script &&
        known.right_to_left == (piece.level % 2 != 0) && std::equal(text, text + length, texts_.begin() + known.text))
      return &slots_[at];
  }
}

bool TextShaper::grow_slots() {
  if (known_.size() * 2 < slots_.size())
    return true;
  const std::size_t size = std::max(slots_.size() * 2, kFirstSlots);
  if (!slots_.resize(size))
    return false;
  std::fill(slots_.begin(), slots_.end(), 0);
  for (std::size_t i = 0; i < known_.size(); ++i) {
    std::size_t at = known_[i].hash & (size - 1);
    while (slots_[at] != 0)
      at = (at + 1) & (size - 1);
    slots_[at] = static_cast<std::int32_t>(i) + 1;
  }
  return true;
}

bool TextShaper::shape(const TextParagraph& paragraph, const TextPiece& piece, ShapedPiece& shaped) {
  const std::uint32_t length = piece.to - piece.from;
  if (length > kMostKnown)
    return shape_anew(paragraph, piece, shaped);
  if (!grow_slots())
    return false;
  const std::uint32_t* const text = paragraph.text.begin() + piece.from;
  const std::uint32_t hash = hash_of(text, length, static_cast<std::uint32_t>(piece.script) + piece.level % 2);
  std::int32_t* const slot = find_slot(hash, text, length, piece);
  if (*slot != 0) {
    const Known& known = known_[static_cast<std::size_t>(*slot) - 1];
    shaped = known.shaped;
    missing += known.missing;
    return true;
  }
  const std::size_t missing_before = missing;
  const auto at = static_cast<std::uint32_t>(texts_.size());
  for (std::uint32_t i = 0; i < length; ++i) {
    if (!texts_.push(text[i]))
      return false;
  }
  if (!shape_anew(paragraph, piece, shaped) ||
      !known_.push({hash, at, length, piece.script, piece.level % 2 != 0, shaped,
                    static_cast<std::uint32_t>(missing - missing_before)}))
    return false;
  *slot = known_.count();
  return true;
}

bool TextShaper::shape_anew(const TextParagraph& paragraph, const TextPiece& piece, ShapedPiece& shaped) {
  const std::uint32_t* const text = paragraph.text.begin() + piece.from;
  const std::uint32_t length = piece.to - piece.from;
  shaped.first = static_cast<std::uint32_t>(glyphs_.size());
  // Runs of one font, in the order of reading.
  struct Run {
    std::uint32_t from;
    std::uint32_t to;
    int font;
  };
  GrowArray<Run> runs;
  for (std::uint32_t at = 0; at < length;) {
    const std::uint32_t end = std::min(paragraph.character_end(piece.from + at) - piece.from, length);
    const int font = font_of(text + at, end - at);
    if (font < 0)
      return false;
    if (!runs.empty() && runs.back().font == font)
      runs.back().to = end;
    else if (!runs.push({at, end, font}))
      return false;
    at = end;
  }
  double pen = 0;
  for (const Run& run : runs) {
    double width = 0;
    const std::size_t first = glyphs_.size();
    if (!shape_run(text, length, run.from, run.to, run.font, piece, width))
      return false;
    // In text from right to left each run is to the left of the runs before it.
    const bool is_left = piece.level % 2 != 0;
    for (std::size_t i = is_left ? shaped.first : first; i < (is_left ? first : glyphs_.size()); ++i)
      glyphs_[i].x += static_cast<float>(is_left ? width : pen);
    pen += width;
  }
  shaped.count = static_cast<std::uint32_t>(glyphs_.size()) - shaped.first;
  shaped.advance = static_cast<float>(pen);
  if (options_.vertical && piece.is_space && length == 1)
    shaped.advance = std::min(shaped.advance, kColumnSpace);
  return true;
}

void TextShaper::note_missing(std::uint32_t character) {
  if (is_ignorable(character))
    return;
  if (missing++ == 0)
    first_missing = character;
}

// The font that has all of one character as it is read, whole or in its parts; else the one that has its base.
int TextShaper::font_of(const std::uint32_t* text, std::uint32_t count) {
  const FontTraits traits{FontFamily::kSans, options_.bold};
  std::uint32_t wanted[kMostBase]{};
  std::size_t size = 0;
  for (std::uint32_t i = 0; i < count && size < kMostBase; ++i) {
    const std::uint32_t character = text[i] == '\t' ? ' ' : text[i];
    if (!is_ignorable(character))
      wanted[size++] = character;
  }
  int font = system_.find(wanted, size, traits);
  if (font >= 0)
    return font;
  utf8proc_int32_t parts[kMostBase];
  std::size_t part_count = 0;
  for (std::size_t i = 0; i < size && part_count + 4 <= kMostBase; ++i) {
    int boundary = 0;
    const utf8proc_ssize_t used =
        utf8proc_decompose_char(static_cast<utf8proc_int32_t>(wanted[i]), parts + part_count,
                                static_cast<utf8proc_ssize_t>(kMostBase - part_count), UTF8PROC_DECOMPOSE, &boundary);
    part_count +=
        used > 0 && part_count + static_cast<std::size_t>(used) <= kMostBase ? static_cast<std::size_t>(used) : 0;
  }
  font = system_.find(reinterpret_cast<const std::uint32_t*>(parts), part_count, traits);
  if (font >= 0)
    return font;
  font = system_.find(wanted, 1, traits);
  if (font < 0)
    font = system_.find(nullptr, 0, traits);
  for (std::size_t i = 0; i < size && font >= 0; ++i) {
    if (!system_.has(font, wanted[i]))
      note_missing(wanted[i]);
  }
  return font;
}

hb_font_t* TextShaper::shaper_font(int font) {
  const std::size_t index = SystemFonts::index_of(font);
  if (fonts_.size() <= index && !fonts_.resize(index + 1))
    return nullptr;
  if (fonts_[index] == nullptr) {
    CQVFTFont& face = system_.face(font);
    hb_face_t* const tables = shaper().face_create_for_tables(give_table, &face, nullptr);
    shaper().face_set_upem(tables, static_cast<unsigned>(face.units_per_em()));
    fonts_[index] = shaper().font_create(tables);
    shaper().face_destroy(tables);
    shaper().ot_font_set_funcs(fonts_[index]);
    if (face.instance() != 0)
      shaper().font_set_var_named_instance(fonts_[index], static_cast<unsigned>(face.instance() - 1));
  }
  return fonts_[index];
}

bool TextShaper::shape_run(const std::uint32_t* text, std::uint32_t length, std::uint32_t from, std::uint32_t to,
                           int font, const TextPiece& piece, double& pen) {
  hb_font_t* const face = shaper_font(font);
  if (face == nullptr)
    return false;
  if (buffer_ == nullptr)
    buffer_ = shaper().buffer_create();
  const bool is_left = piece.level % 2 != 0;
  shaper().buffer_clear_contents(buffer_);
  const std::uint32_t space = ' ';
  if (text[from] == '\t')
    shaper().buffer_add_utf32(buffer_, &space, 1, 0, 1);
  else
    shaper().buffer_add_utf32(buffer_, text, static_cast<int>(length), from, static_cast<int>(to - from));
  shaper().buffer_set_direction(buffer_, options_.vertical ? HB_DIRECTION_TTB
                                         : is_left         ? HB_DIRECTION_RTL
                                                           : HB_DIRECTION_LTR);
  shaper().buffer_set_script(buffer_, piece.script);
  shaper().buffer_set_language(buffer_, language_);
  const hb_feature_t no_kerning{HB_TAG('k', 'e', 'r', 'n'), 0, HB_FEATURE_GLOBAL_START, HB_FEATURE_GLOBAL_END};
  shaper().shape(face, buffer_, &no_kerning, kerning_ ? 0 : 1);
  if (!shaper().buffer_allocation_successful(buffer_))
    return false;
  TextClusters clusters(*system_.font(font), face, system_.face(font).units_per_em(), is_left, options_.vertical);
  return clusters.take(buffer_, text, from, to, static_cast<std::int16_t>(font), glyphs_, pen);
}

}  // namespace sheaf
