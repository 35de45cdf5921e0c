// Chooses the size where the field leaves it open, then sets the lines between marked-content operators.
#include "sheaf/document/forms/draw/value_drawing_internal.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "sheaf/base/utf.h"
#include "sheaf/document/content/content_writer.h"
#include "sheaf/document/forms/draw/text_lines_internal.h"
#include "sheaf/document/text/text_setter.h"

namespace sheaf {

namespace {

constexpr double kLeading = 1.15;  // from line to line, in ems
constexpr double kLeastPadding = 2;
constexpr double kLeastSize = 4;  // points; what is chosen here is never smaller
constexpr double kUsualSize = 12;
constexpr double kSizeStep = 0.5;
constexpr double kEm = 1000;         // units of widths
constexpr double kCellSlack = 1e-6;  // of rounding where cells are counted
constexpr DeviceColour kSelection{3, {0.6, 0.75686, 0.8549}};

double padding(const WidgetLook& look) {
  return std::max(kLeastPadding, look.inset() + 1);
}

double room_for_text(const WidgetLook& look) {
  return std::max(1.0, look.width - 2 * padding(look));
}

// Opens the part of the content that viewers replace, clipped to what is inside the border.
void begin(ContentWriter& out, const WidgetLook& look) {
  const double inset = look.inset();
  out.op("/Tx BMC");
  out.op("q");
  out.op({inset, inset, look.width - 2 * inset, look.height - 2 * inset}, "re");
  out.op("W n");
}

void end(ContentWriter& out) {
  out.op("Q");
  out.op("EMC");
}

double start_of(const WidgetLook& look, double width, int quadding) {
  const double space = look.width - width;
  return quadding == 1 ? std::max(space / 2, padding(look)) : quadding == 2 ? space - padding(look) : padding(look);
}

// The largest size up to the usual one at which all lines are seen.
double size_of_lines(const WidgetLook& look, const GrowArray<FieldGlyph>& glyphs) {
  const double height = look.height - 2 * padding(look);
  for (int step = 0; kUsualSize - kSizeStep * step > kLeastSize; ++step) {
    const double size = kUsualSize - kSizeStep * step;
    GrowArray<FieldLine> lines;
    break_lines(glyphs, static_cast<std::int64_t>(room_for_text(look) * kEm / size), lines);
    if (static_cast<double>(lines.size()) * kLeading * size <= height)
      return size;
  }
  return kLeastSize;
}

double size_of_one_line(const WidgetLook& look, std::int64_t width) {
  const double by_height = (look.height - 2 * look.inset()) / kLeading;
  const double by_width = width > 0 ? room_for_text(look) * kEm / static_cast<double>(width) : by_height;
  return std::max(kLeastSize, std::min(by_height, by_width));
}

double centred_base_line(const WidgetLook& look, const FieldType& type, const GrowArray<FieldGlyph>& glyphs,
                         double size) {
  return look.height / 2 - (type.ascent(glyphs) + type.descent(glyphs)) / 2 * size;
}

void draw_lines(ContentWriter& out, const WidgetLook& look, FieldType& type, const GrowArray<FieldGlyph>& glyphs,
                const ValueTraits& traits) {
  const double size = traits.size > 0 ? traits.size : size_of_lines(look, glyphs);
  GrowArray<FieldLine> lines;
  break_lines(glyphs, std::max<std::int64_t>(1, static_cast<std::int64_t>(room_for_text(look) * kEm / size)), lines);
  double y = look.height - padding(look) - type.ascent(glyphs) * size;
  for (const FieldLine& line : lines) {
    if (y < -size)
      break;  // nothing of it can be seen
    const double width = static_cast<double>(line.width) * size / kEm;
    type.show(out, glyphs.begin() + line.first, line.count, size, start_of(look, width, traits.quadding), y);
    y -= kLeading * size;
  }
}

void draw_comb(ContentWriter& out, const WidgetLook& look, FieldType& type, const GrowArray<FieldGlyph>& glyphs,
               const ValueTraits& traits) {
  const double cell = look.width / traits.comb_cells;
  const int count = std::min(glyphs.count(), traits.comb_cells);
  std::int32_t widest = 1;
  for (const FieldGlyph& glyph : glyphs)
    widest = std::max(widest, glyph.width);
  const double by_height = (look.height - 2 * look.inset()) / kLeading;
  const double size = traits.size > 0 ? traits.size : std::max(kLeastSize, std::min(by_height, cell * kEm / widest));
  const int spare = traits.comb_cells - count;
  const int skipped = traits.quadding == 1 ? spare / 2 : traits.quadding == 2 ? spare : 0;
  const double y = centred_base_line(look, type, glyphs, size);
  for (int i = 0; i < count; ++i) {
    const FieldGlyph& glyph = glyphs[i];
    const double x = (skipped + i) * cell + (cell - glyph.width * size / kEm) / 2;
    type.show(out, &glyph, 1, size, x, y);
  }
}

// Sets a value in the size of the field, or in the largest one in which it is seen.
bool set_to_fit(const WidgetLook& look, TextSetter& setter, std::string_view text, const ValueTraits& traits,
                TextFormat& format) {
  format.width = traits.multi_line ? room_for_text(look) : 0;
  format.size = traits.size > 0 ? traits.size : kUsualSize;
  if (!setter.set(text, format))
    return false;
  if (traits.size > 0)
    return true;
  if (!traits.multi_line) {
    double width = 0;
    for (const TextLine& line : setter.lines())
      width = std::max(width, line.width);
    format.size = size_of_one_line(look, static_cast<std::int64_t>(width / kUsualSize * kEm));
    return setter.set(text, format);
  }
  const double height = look.height - 2 * padding(look);
  while (static_cast<double>(setter.lines().size()) * kLeading * format.size > height && format.size > kLeastSize) {
    format.size -= kSizeStep;
    if (!setter.set(text, format))
      return false;
  }
  return true;
}

// The same for a comb: no character is wider than its cell.
bool set_in_cells(const WidgetLook& look, TextSetter& setter, std::string_view text, const ValueTraits& traits,
                  TextFormat& format) {
  format.cell = look.width / traits.comb_cells;
  format.size = traits.size > 0 ? traits.size : kUsualSize;
  if (!setter.set(text, format) || traits.size > 0)
    return !setter.lines().empty();
  double widest = 1;
  for (const TextGlyph& glyph : setter.glyphs())
    widest = std::max(widest, static_cast<double>(glyph.advance));
  const double by_height = (look.height - 2 * look.inset()) / kLeading;
  format.size = std::max(kLeastSize, std::min(by_height, format.cell * kUsualSize / widest));
  return setter.set(text, format);
}

// Where text in a comb begins: at a cell, and where there are not enough, with the cell that is read first.
double start_of_comb(const WidgetLook& look, const TextLine& line, double cell, int quadding) {
  const double spare = look.width - line.width;
  if (spare < 0)
    return line.right_to_left ? spare : 0;
  return quadding == 1 ? static_cast<int>(spare / cell / 2 + kCellSlack) * cell : quadding == 2 ? spare : 0;
}

// The lines between the cells of a comb belong to the border.
void draw_comb_lines(ContentWriter& out, const WidgetLook& look, int cells) {
  if (look.border <= 0 || look.border_colour.count == 0 || (look.style != 'S' && look.style != 'D'))
    return;
  constexpr int kMostLines = 1000;  // closer ones are not seen apart
  if (cells > kMostLines)
    return;
  out.op("q");
  look.border_colour.put(out, true);
  out.op({look.border}, "w");
  for (int i = 1; i < cells; ++i) {
    const double x = look.width * i / cells;
    out.op({x, look.border / 2}, "m");
    out.op({x, look.height - look.border / 2}, "l");
  }
  out.op("S");
  out.op("Q");
}

// The middle of a line of a list is that of its font.
double list_base_line(double bottom, double step, double ascent, double descent, double size) {
  return bottom + step / 2 - (ascent + descent) / 2 * size;
}

}  // namespace

void draw_text(ContentWriter& out, const WidgetLook& look, FieldType& type, const GrowArray<FieldGlyph>& glyphs,
               const ValueTraits& traits) {
  if (traits.comb_cells > 0)
    draw_comb_lines(out, look, traits.comb_cells);
  begin(out, look);
  out.op("BT");
  traits.colour.put(out, false);
  if (traits.comb_cells > 0) {
    draw_comb(out, look, type, glyphs, traits);
  } else if (traits.multi_line) {
    draw_lines(out, look, type, glyphs, traits);
  } else {
    const std::int64_t width = width_of(glyphs.begin(), glyphs.size());
    const double size = traits.size > 0 ? traits.size : size_of_one_line(look, width);
    type.show(out, glyphs.begin(), glyphs.size(), size,
              start_of(look, static_cast<double>(width) * size / kEm, traits.quadding),
              centred_base_line(look, type, glyphs, size));
  }
  out.op("ET");
  end(out);
}

// Blocks of scripts whose letters join, change places or run from right to left.
bool needs_shaping(const GrowArray<std::uint32_t>& characters) {
  constexpr struct {
    std::uint32_t first;
    std::uint32_t last;
  } kBlocks[] = {{0x0590, 0x109F}, {0x1780, 0x18AF}, {0x1900, 0x1CFF},   {0xA800, 0xABFF},
                 {0xFB1D, 0xFDFF}, {0xFE70, 0xFEFC}, {0x10800, 0x11FFF}, {0x1E800, 0x1EFFF}};
  return std::any_of(characters.begin(), characters.end(), [&](std::uint32_t character) {
    return std::any_of(std::begin(kBlocks), std::end(kBlocks),
                       [=](const auto& block) { return character >= block.first && character <= block.last; });
  });
}

void append_utf8(const GrowArray<std::uint32_t>& characters, GrowArray<char>& text) {
  for (const std::uint32_t character : characters) {
    char bytes[kMostUtf8Bytes];
    const char* const end = put_utf8(bytes, character);
    for (const char* at = bytes; at < end; ++at)
      text.push(*at);
  }
}

bool draw_shaped_text(ContentWriter& out, const WidgetLook& look, TextSetter& setter,
                      const GrowArray<std::uint32_t>& characters, const ValueTraits& traits) {
  GrowArray<char> text;
  append_utf8(characters, text);
  TextFormat format;
  const bool in_cells = traits.comb_cells > 0;
  if (!(in_cells ? set_in_cells : set_to_fit)(look, setter, {text.begin(), text.size()}, traits, format))
    return false;
  const double size = format.size;
  double y = traits.multi_line ? look.height - padding(look) - SystemFonts::kAscent * size
                               : look.height / 2 - (SystemFonts::kAscent + SystemFonts::kDescent) / 2 * size;
  GrowArray<char> shown;
  for (const TextLine& line : setter.lines()) {
    if (y < -size)
      break;
    const double x = in_cells ? start_of_comb(look, line, format.cell, traits.quadding)
                              : start_of(look, line.width, traits.quadding);
    if (!setter.show(line, x, y, shown))
      return false;
    y -= kLeading * size;
  }
  if (in_cells)
    draw_comb_lines(out, look, traits.comb_cells);
  begin(out, look);
  out.op("BT");
  traits.colour.put(out, false);
  out.text({shown.begin(), shown.size()});
  out.op("ET");
  end(out);
  return true;
}

int list_lines_shown(const WidgetLook& look, const ValueTraits& traits) {
  const double size = traits.size > 0 ? traits.size : kUsualSize;
  return std::max(1, static_cast<int>((look.height - 2 * look.inset()) / (kLeading * size)));
}

void draw_list(ContentWriter& out, const WidgetLook& look, FieldType& type, TextSetter& setter, const ListLines& list,
               const ValueTraits& traits) {
  const double size = traits.size > 0 ? traits.size : kUsualSize;
  const double step = kLeading * size;
  const double top = look.height - look.inset();
  begin(out, look);
  double y = top;
  for (const ListLine& line : list.lines) {
    y -= step;
    if (y < -step)
      break;
    if (line.selected) {
      kSelection.put(out, false);
      out.op({look.inset(), y, look.width - 2 * look.inset(), step}, "re");
      out.op("f");
    }
  }
  out.op("BT");
  traits.colour.put(out, false);
  TextFormat format;
  format.size = size;
  y = top - step;
  for (const ListLine& line : list.lines) {
    if (y < -step)
      break;
    const FieldGlyph* const first = list.glyphs.begin() + line.first;
    if (line.text_length == 0) {
      const double width = static_cast<double>(width_of(first, line.count)) * size / kEm;
      type.show(out, first, line.count, size, start_of(look, width, traits.quadding),
                list_base_line(y, step, type.ascent(list.glyphs), type.descent(list.glyphs), size));
    } else if (setter.set({list.texts.begin() + line.text, line.text_length}, format) && !setter.lines().empty()) {
      GrowArray<char> shown;
      const TextLine& whole = setter.lines()[0];
      setter.show(whole, start_of(look, whole.width, traits.quadding),
                  list_base_line(y, step, SystemFonts::kAscent, SystemFonts::kDescent, size), shown);
      out.text({shown.begin(), shown.size()});
    }
    y -= step;
  }
  out.op("ET");
  end(out);
}

}  // namespace sheaf
