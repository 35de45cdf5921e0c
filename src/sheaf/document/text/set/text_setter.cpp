// Fills lines with pieces, and puts the pieces of each line into the order in which they are seen (UAX 9, L1 and L2).
#include "sheaf/document/text/text_setter.h"
#include "sheaf/base/heap.h"

#include <algorithm>
#include <new>

#include "sheaf/base/utf.h"
#include "sheaf/base/wide_text.h"
#include "sheaf/document/fonts/system_fonts.h"
#include "sheaf/document/text/set/text_marks_internal.h"
#include "sheaf/document/text/set/text_paragraph_internal.h"
#include "sheaf/document/text/set/text_shaper_internal.h"
#include "sheaf/neighbours/fonts/programs/font_type0.h"
#include "sheaf/object/dictionary.h"

namespace sheaf {

namespace {

constexpr std::size_t kMostInParagraph = 1 << 16;
constexpr int kDigitsOfTab = 8;
constexpr double kThousand = 1000;

bool is_line_end(std::uint32_t character) {
  return character == '\n' || character == '\r' || character == 0x85 || character == 0x2028 || character == 0x2029;
}

// The next character of UTF-8, moving `at`.
std::uint32_t next_character(std::string_view text, std::size_t& at) {
  // The last bytes are looked at after a NUL of their own: a view need not have one.
  unsigned char bytes[kMostUtf8Bytes + 1]{};
  text.substr(at, kMostUtf8Bytes).copy(reinterpret_cast<char*>(bytes), kMostUtf8Bytes);
  if (bytes[0] < 0x80) {
    ++at;
    return bytes[0];
  }
  wchar_t character = 0;
  at += static_cast<std::size_t>(std::max(cvt_char_UTF8_To_UCS4(bytes, character), 1));
  return character != 0 ? static_cast<std::uint32_t>(character) : kReplacementCharacter;
}

}  // namespace

/// What a setter works with.
class TextSetterParts : public QVHeapObject<TextSetterParts> {
public:
  TextSetterParts(TextSetter& setter, SystemFonts& system) : shaper(system, setter.options_), setter_(setter) {}

  bool set_paragraph(const TextFormat& format, bool ends);

  TextParagraph paragraph;
  TextShaper shaper;

private:
  /// A piece in the line that is being filled.
  struct Item {
    TextPiece piece;
    ShapedPiece shaped;
    double advance;
    double x;
    double inset = 0;  // of the glyphs from the beginning of the piece
  };

  bool add(const TextPiece& piece);
  bool add_characters(const TextPiece& piece);
  bool add_cells(const TextPiece& piece);
  bool append(const Item& item);
  double tab_advance(const ShapedPiece& space);
  bool finish_line(std::size_t count, bool ends);
  void place_items(std::size_t count, std::size_t seen);
  bool put_glyphs(const Item& item);
  void mark_run(std::size_t at, std::size_t seen, std::size_t first_glyph);

  TextSetter& setter_;
  GrowArray<Item> items_;
  GrowArray<std::size_t> order_;
  double room_ = 0;             // thousandths of the size; 0: without end
  double cell_ = 0;             // the same; 0: none
  double filled_ = 0;           // by all items
  std::size_t last_break_ = 0;  // how many items may make a line
};

bool TextSetterParts::set_paragraph(const TextFormat& format, bool ends) {
  shaper.tidy();
  shaper.set_format(format);
  room_ = format.width > 0 ? format.width * kThousand / format.size : 0;
  cell_ = format.cell * kThousand / format.size;
  items_.clear();
  filled_ = 0;
  last_break_ = 0;
  if (!paragraph.analyse(format, setter_.options_.vertical))
    return false;
  for (const TextPiece& piece : paragraph.pieces()) {
    if (!(cell_ > 0 ? add_cells(piece) : add(piece)))
      return false;
  }
  return finish_line(items_.size(), ends);
}

double TextSetterParts::tab_advance(const ShapedPiece& space) {
  ShapedPiece digit;
  TextParagraph zero;
  double column = space.advance * kDigitsOfTab;
  if (zero.text.push('0') && zero.analyse({}, setter_.options_.vertical) && shaper.shape(zero, zero.pieces()[0], digit))
    column = std::max<double>(digit.advance, 1) * kDigitsOfTab;
  const double used = filled_ - static_cast<double>(static_cast<long long>(filled_ / column)) * column;
  return column - used >= space.advance ? column - used : 2 * column - used;
}

bool TextSetterParts::add(const TextPiece& piece) {
  Item item{piece, {}, 0, 0};
  if (!shaper.shape(paragraph, piece, item.shaped))
    return false;
  item.advance = paragraph.text[piece.from] == '\t' ? tab_advance(item.shaped) : item.shaped.advance;
  const bool overflows = room_ > 0 && !piece.is_space && filled_ + item.advance > room_;
  if (!overflows)
    return append(item);
  if (last_break_ != 0 && !finish_line(last_break_, false))
    return false;
  if (filled_ + item.advance <= room_)
    return append(item);
  if (item.advance > room_ && piece.to - piece.from > 1)
    return add_characters(piece);
  return (items_.empty() || finish_line(items_.size(), false)) && append(item);
}

// What is wider than a line is broken between characters.
bool TextSetterParts::add_characters(const TextPiece& piece) {
  for (std::uint32_t at = piece.from; at < piece.to;) {
    const std::uint32_t end = std::min(paragraph.character_end(at), piece.to);
    Item item{piece, {}, 0, 0};
    item.piece.from = at;
    item.piece.to = end;
    item.piece.may_break = end < piece.to || piece.may_break;
    if (!shaper.shape(paragraph, item.piece, item.shaped))
      return false;
    item.advance = item.shaped.advance;
    if (filled_ + item.advance > room_ && !items_.empty() && !finish_line(items_.size(), false))
      return false;
    if (!append(item))
      return false;
    at = end;
  }
  return true;
}

// What is in cells neither joins nor hangs over.
bool TextSetterParts::add_cells(const TextPiece& piece) {
  for (std::uint32_t at = piece.from; at < piece.to;) {
    Item item{piece, {}, cell_, 0};
    item.piece.from = at;
    item.piece.to = at = std::min(paragraph.character_end(at), piece.to);
    item.piece.is_space = false;
    if (!shaper.shape(paragraph, item.piece, item.shaped))
      return false;
    item.inset = (cell_ - item.shaped.advance) / 2;
    if (!append(item))
      return false;
  }
  return true;
}

bool TextSetterParts::append(const Item& item) {
  if (!items_.push(item))
    return false;
  filled_ += item.advance;
  if (item.piece.may_break)
    last_break_ = items_.size();
  return true;
}

// Makes a line of the first `count` items; the others begin the next one.
bool TextSetterParts::finish_line(std::size_t count, bool ends) {
  std::size_t seen = count;
  while (seen > 0 && items_[seen - 1].piece.is_space)
    --seen;
  place_items(count, seen);
  TextLine line{};
  line.first = setter_.glyphs_.size();
  line.right_to_left = paragraph.level() != 0;
  line.ends_paragraph = ends;
  for (std::size_t i = 0; i < count; ++i) {
    line.width += i < seen ? items_[i].advance * setter_.size_ / kThousand : 0;
    const std::size_t first_glyph = setter_.glyphs_.size();
    if (!put_glyphs(items_[i]))
      return false;
    if (i < seen)
      mark_run(i, seen, first_glyph);
  }
  line.count = setter_.glyphs_.size() - line.first;
  std::copy(items_.begin() + count, items_.end(), items_.begin());
  while (items_.size() + count > 0 && count != 0) {
    items_.pop();
    --count;
  }
  filled_ = 0;
  for (const Item& item : items_)
    filled_ += item.advance;
  last_break_ = 0;
  return setter_.lines_.push(line);
}

// Spaces at the end of a line take the paragraph's direction and lie outside of its width.
void TextSetterParts::place_items(std::size_t count, std::size_t seen) {
  const std::uint8_t base = paragraph.level();
  for (std::size_t i = seen; i < count; ++i)
    items_[i].piece.level = base;
  order_.resize(count);
  std::uint8_t highest = 0;
  for (std::size_t i = 0; i < count; ++i) {
    order_[i] = i;
    highest = std::max(highest, items_[i].piece.level);
  }
  for (std::uint8_t level = highest; level > 0; --level) {
    for (std::size_t i = 0; i < count; ++i) {
      std::size_t end = i;
      while (end < count && items_[order_[end]].piece.level >= level)
        ++end;
      std::reverse(order_.begin() + i, order_.begin() + end);
      i = std::max(end, i);
    }
  }
  double x = 0;
  if (base != 0) {
    for (std::size_t i = seen; i < count; ++i)
      x -= items_[i].advance;
  }
  for (const std::size_t i : order_) {
    items_[i].x = x;
    x += items_[i].advance;
  }
}

bool TextSetterParts::put_glyphs(const Item& item) {
  const float scale = static_cast<float>(setter_.size_ / kThousand);
  const ShapedGlyph* const glyphs = shaper.glyphs(item.shaped);
  for (std::uint32_t i = 0; i < item.shaped.count; ++i) {
    const ShapedGlyph& glyph = glyphs[i];
    const auto x = static_cast<float>(item.x + item.inset);
    if (!setter_.glyphs_.push({glyph.font, glyph.code, (x + glyph.x) * scale, glyph.y * scale, glyph.advance * scale}))
      return false;
  }
  return true;
}

// Readers that sort by place take neutral characters and separators of numbers beside a run against the direction of
// the line for a part of it. A mark of direction at its end keeps them out.
void TextSetterParts::mark_run(std::size_t at, std::size_t seen, std::size_t first_glyph) {
  const bool line_is_left = paragraph.level() % 2 != 0;
  const bool is_left = items_[at].piece.level % 2 != 0;
  TextGlyph* const glyphs = setter_.glyphs_.begin() + first_glyph;
  const std::size_t count = setter_.glyphs_.size() - first_glyph;
  if (count == 0 || (!line_is_left && !is_left))
    return;
  if (line_is_left && is_left) {
    for (std::size_t i = 0; i < count; ++i) {
      const bool is_last = i + 1 == count;
      if (has_text_kind(*setter_.system_, glyphs[i], TextKind::kNumber) &&
          (is_last ? at + 1 < seen : !has_text_kind(*setter_.system_, glyphs[i + 1], TextKind::kRightToLeft)))
        glyphs[i].mark = TextMark::kRightToLeftAround;
    }
    return;
  }
  const bool begins = at == 0 || items_[at - 1].piece.level % 2 != items_[at].piece.level % 2;
  std::size_t end = at;
  while (end < seen && items_[end].piece.level % 2 == items_[at].piece.level % 2)
    ++end;
  if (begins && end < seen)
    glyphs[0].mark = line_is_left ? TextMark::kRightToLeftBefore : TextMark::kLeftToRightBehind;
}

TextSetter::TextSetter(CPDFXRefTable& table, const TextFontOptions& fonts)
    : table_(table),
      options_(fonts),
      system_(new (std::nothrow) SystemFonts(table, {fonts.italic, fonts.vertical, fonts.embeds, fonts.insists})),
      owns_system_(true) {
  if (system_ != nullptr)
    parts_ = new (std::nothrow) TextSetterParts(*this, *system_);
}

TextSetter::TextSetter(CPDFXRefTable& table, SystemFonts& system, const TextFontOptions& fonts)
    : table_(table), options_(fonts), system_(&system) {
  parts_ = new (std::nothrow) TextSetterParts(*this, system);
}

TextSetter::~TextSetter() {
  delete parts_;
  if (owns_system_)
    delete system_;
}

bool TextSetter::add_font(const char* name) {
  return system_ != nullptr && system_->add_only(name);
}

bool TextSetter::set(std::string_view text, const TextFormat& format) {
  lines_.clear();
  glyphs_.clear();
  size_ = format.size;
  if (!shaper().complete || parts_ == nullptr || format.size <= 0 || system_->count() == 0)
    return false;
  GrowArray<std::uint32_t>& characters = parts_->paragraph.text;
  characters.clear();
  for (std::size_t at = 0; at < text.size();) {
    const std::uint32_t character = next_character(text, at);
    const bool ends = is_line_end(character);
    if (character == '\r' && at < text.size() && text[at] == '\n')
      ++at;
    if (!ends && (character >= ' ' || character == '\t') && character != 0x7F && !characters.push(character))
      return false;
    if (!ends && at < text.size() && characters.size() < kMostInParagraph)
      continue;
    if (!parts_->set_paragraph(format, ends || at == text.size()))
      return false;
    characters.clear();
  }
  missing_ = parts_->shaper.missing;
  first_missing_ = parts_->shaper.first_missing;
  return true;
}

PDF_REF TextSetter::font_ref(int font) const {
  return system_->ref(font);
}

void TextSetter::put_resources(CPDFDictionary& fonts) const {
  for (std::size_t i = 0; i < system_->count(); ++i) {
    const int font = static_cast<int>(i * 2 + (options_.bold ? 1 : 0));
    if (system_->made(i, options_.bold) == nullptr)
      continue;
    char name[TextSetter::kFontNameSize];
    font_name(font, name);
    fonts.set_item_ref(name, system_->ref(font));
  }
}

}  // namespace sheaf
