// The operators of a line (ISO 32000-1, 9.4.3): glyphs in hexadecimal, with adjustments where they are not side by
// side.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "sheaf/document/fonts/system_fonts.h"
#include "sheaf/document/text/set/text_marks_internal.h"
#include "sheaf/document/text/text_setter.h"

namespace sheaf {

namespace {

constexpr double kThousand = 1000;
constexpr double kLeastRise = 0.005;  // points

class LineWriter {
public:
  LineWriter(GrowArray<char>& out, double size, bool vertical) : out_(out), size_(size), vertical_(vertical) {}

  bool is_complete() const { return is_complete_; }

  void move_to(double x, double y) {
    text("1 0 0 1 ");
    number(x);
    text(" ");
    number(y);
    text(" Tm\n");
  }
  void select(const char* name) {
    text("/");
    text(name);
    text(" ");
    number(size_);
    text(" Tf\n");
  }
  void rise(double height) {
    number(height);
    text(" Ts\n");
  }
  void code(std::uint16_t code) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    if (!in_string_)
      text(in_array_ ? "<" : "[<");
    in_string_ = in_array_ = true;
    for (int shift = 12; shift >= 0; shift -= 4)
      put(kDigits[code >> shift & 0xF]);
  }
  // By thousandths of the size, forward.
  void advance(long by) {
    if (!in_array_)
      text("[");
    if (in_string_)
      text(">");
    in_array_ = true;
    in_string_ = false;
    char digits[24];
    std::snprintf(digits, sizeof(digits), "%ld", vertical_ ? by : -by);
    text(digits);
  }
  void end_span() {
    end_string();
    text("EMC\n");
  }
  void end_string() {
    if (in_string_)
      text(">");
    if (in_array_)
      text("] TJ\n");
    in_string_ = in_array_ = false;
  }

private:
  void put(char byte) { is_complete_ = out_.push(byte) && is_complete_; }
  void text(const char* bytes) {
    for (; *bytes != 0; ++bytes)
      put(*bytes);
  }
  void number(double value) {
    char digits[32];
    std::snprintf(digits, sizeof(digits), "%.2f", value);
    if (char* const point = std::strchr(digits, '.'); point != nullptr && std::strcmp(point, ".00") == 0)
      *point = 0;
    text(digits);
  }

  GrowArray<char>& out_;
  double size_;
  bool vertical_;
  bool in_string_ = false;
  bool in_array_ = false;
  bool is_complete_ = true;
};

}  // namespace

bool TextSetter::show(const TextLine& line, double x, double y, GrowArray<char>& out) {
  LineWriter writer(out, size_, options_.vertical);
  writer.move_to(x, y);
  int font = -1;
  double pen = 0;
  double side = 0;
  for (std::size_t i = line.first; i < line.first + line.count; ++i) {
    const TextGlyph& glyph = glyphs_[i];
    if (glyph.font != font) {
      writer.end_string();
      font = glyph.font;
      char name[TextSetter::kFontNameSize];
      font_name(font, name);
      writer.select(name);
    }
    if (std::fabs(glyph.y - side) > kLeastRise) {
      writer.end_string();
      side = glyph.y;
      if (options_.vertical) {
        writer.move_to(x + side, y - glyph.x);
        pen = glyph.x;
      } else {
        writer.rise(side);
      }
    }
    const long by = std::lround((glyph.x - pen) * kThousand / size_);
    if (by != 0) {
      writer.advance(by);
      pen += static_cast<double>(by) * size_ / kThousand;
    }
    bool is_open = false;
    if (glyph.mark != TextMark::kNone) {
      writer.end_string();
      if (!open_marked(*system_, glyph, out, is_open))
        return false;
    }
    writer.code(glyph.code);
    if (is_open)
      writer.end_span();
    pen += glyph.advance;
  }
  writer.end_string();
  if (side != 0 && !options_.vertical)
    writer.rise(0);
  return writer.is_complete();
}

void TextSetter::font_name(int font, char (&name)[kFontNameSize]) {
  std::snprintf(name, sizeof(name), "F%zu", SystemFonts::index_of(font) + 1);
}

}  // namespace sheaf
