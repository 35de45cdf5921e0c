// Reads "MK", "BS" and "Border", and draws background, border and the marks of buttons.
#include <algorithm>
#include <cmath>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/content/content_writer.h"
#include "sheaf/document/forms/draw/widget_look_internal.h"
#include "sheaf/object/array.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

namespace {

constexpr double kMostBorder = 100;  // points
constexpr double kCircle = 0.5522847498;

DeviceColour read_colour(CPDFXRefTable& table, const CPDFObj* item) {
  DeviceColour colour;
  Freed<CPDFObj> value = table.value(item);
  const CPDFArray* const array = value.as_array();
  if (array == nullptr || (array->count != 1 && array->count != 3 && array->count != 4))
    return colour;
  for (std::int32_t i = 0; i < array->count; ++i) {
    const Freed<CPDFObj> number = table.value(array, i);
    colour.values[i] = std::clamp(to_double(number.to_real()), 0.0, 1.0);
  }
  colour.count = array->count;
  return colour;
}

double number_at(CPDFXRefTable& table, const CPDFArray& array, std::int32_t index, double otherwise) {
  const Freed<CPDFObj> number = table.value(&array, index);
  return number.is_number() ? to_double(number.to_real()) : otherwise;
}

void read_dash(CPDFXRefTable& table, const CPDFObj* item, double (&dash)[2]) {
  Freed<CPDFObj> value = table.value(item);
  if (value.as_array() == nullptr || value.as_array()->count == 0)
    return;
  dash[0] = std::max(0.0, number_at(table, *value.as_array(), 0, dash[0]));
  dash[1] = std::max(0.0, number_at(table, *value.as_array(), 1, dash[0]));
}

// A path along the left and upper edge, or along the right and lower one, `thick` wide.
void put_corner(ContentWriter& out, double left, double bottom, double right, double top, double thick, bool upper) {
  const double x = upper ? left : right;
  const double y = upper ? top : bottom;
  const double in = upper ? thick : -thick;
  out.op({left, bottom}, "m");
  out.op({x, y}, "l");
  out.op({right, top}, "l");
  out.op({right - thick, top - thick}, "l");
  out.op({x + in, y - in}, "l");
  out.op({left + thick, bottom + thick}, "l");
  out.op("f");
}

}  // namespace

void put_circle(ContentWriter& out, double x, double y, double r) {
  const double k = r * kCircle;
  out.op({x + r, y}, "m");
  out.op({x + r, y + k, x + k, y + r, x, y + r}, "c");
  out.op({x - k, y + r, x - r, y + k, x - r, y}, "c");
  out.op({x - r, y - k, x - k, y - r, x, y - r}, "c");
  out.op({x + k, y - r, x + r, y - k, x + r, y}, "c");
}

bool WidgetLook::read(CPDFXRefTable& table, const CPDFDictionary& widget) {
  _QVRECTF rect{};
  table.read_obj_rect(rect, widget.get_item("Rect"));
  width = std::fabs(to_double(rect.right - rect.left));
  height = std::fabs(to_double(rect.top - rect.bottom));
  const Freed<CPDFObj> look = table.value(&widget, "MK");
  if (const CPDFDictionary* const dict = look.as_dict()) {
    const Freed<CPDFObj> turn = table.value(dict, "R");
    rotation = ((turn.to_int() % 360) + 360) % 360 / 90 * 90;
    border_colour = read_colour(table, dict->get_item("BC"));
    background = read_colour(table, dict->get_item("BG"));
    const Freed<CPDFObj> caption = table.value(dict, "CA");
    if (caption.as_string().len == 1)
      mark = caption.as_string().data[0];
  }
  if (rotation % 180 != 0)
    std::swap(width, height);
  read_border(table, widget);
  return width > 0 && height > 0;
}

void WidgetLook::read_border(CPDFXRefTable& table, const CPDFDictionary& widget) {
  Freed<CPDFObj> value = table.value(&widget, "BS");
  if (const CPDFDictionary* const dict = value.as_dict()) {
    Freed<CPDFObj> item = table.value(dict, "W");
    if (item.is_number())
      border = to_double(item.to_real());
    item = table.value(dict, "S");
    if (item.as_name() != nullptr && *item.as_name() != 0)
      style = *item.as_name();
    read_dash(table, dict->get_item("D"), dash);
  } else {
    value = table.value(&widget, "Border");
    const CPDFArray* const array = value.as_array();
    if (array != nullptr && array->count >= 3) {
      border = number_at(table, *array, 2, border);
      if (array->count > 3) {
        style = 'D';
        read_dash(table, array->get(3), dash);
      }
    }
  }
  if (border_colour.count == 0 && style != 'B' && style != 'I')
    border = 0;
  border = std::clamp(border, 0.0, std::min({kMostBorder, width / 4, height / 4}));
}

void WidgetLook::draw(ContentWriter& out, bool round) const {
  if (background.count == 0 && border <= 0)
    return;
  out.op("q");
  draw_background(out, round);
  if (border > 0)
    draw_border(out, round);
  out.op("Q");
}

void WidgetLook::draw_background(ContentWriter& out, bool round) const {
  if (background.count == 0)
    return;
  background.put(out, false);
  if (round)
    put_circle(out, width / 2, height / 2, std::min(width, height) / 2);
  else
    out.op({0, 0, width, height}, "re");
  out.op("f");
}

void WidgetLook::draw_border(ContentWriter& out, bool round) const {
  const double centre_x = width / 2;
  const double centre_y = height / 2;
  const double radius = std::min(centre_x, centre_y);
  if ((style == 'B' || style == 'I') && !round)
    draw_edges(out);
  if (border_colour.count == 0)
    return;
  border_colour.put(out, true);
  out.op({border}, "w");
  if (style == 'D') {
    out.text("[");
    out.number(dash[0]);
    out.number(dash[1]);
    out.text("]");
    out.op("0 d");
  }
  const double half = border / 2;
  if (style == 'U') {
    out.op({0, half}, "m");
    out.op({width, half}, "l");
  } else if (round) {
    put_circle(out, centre_x, centre_y, radius - half);
  } else {
    out.op({half, half, width - border, height - border}, "re");
  }
  out.op("S");
}

// The inner edges that make a field look raised or sunken.
void WidgetLook::draw_edges(ContentWriter& out) const {
  DeviceColour upper{1, {style == 'B' ? 1.0 : 0.5}};
  DeviceColour lower{1, {0.75}};
  if (style == 'B' && background.count != 0) {
    lower = background;
    for (int i = 0; i < 4; ++i)
      lower.values[i] = background.count == 4 ? background.values[i] : background.values[i] * 0.75;
    if (lower.count == 4)
      lower.values[3] = std::min(1.0, lower.values[3] + 0.25);
  }
  upper.put(out, false);
  put_corner(out, border, border, width - border, height - border, border, true);
  lower.put(out, false);
  put_corner(out, border, border, width - border, height - border, border, false);
}

void WidgetLook::put_geometry(CPDFDictionary& dict) const {
  const auto fix = [](double value) { return static_cast<QVFIX>(std::llround(value * static_cast<double>(kFixOne))); };
  const _QVRECTF box{0, 0, fix(width), fix(height)};
  dict.set_item_rect(CPDFDictionary::sm_tag_bbok, &box);
  if (rotation == 0)
    return;
  // Turns the content, then brings its lower left corner back to the origin.
  const double cosine = rotation == 180 ? -1 : 0;
  const double sine = rotation == 90 ? 1 : rotation == 270 ? -1 : 0;
  const double shift_x = rotation == 90 ? height : rotation == 180 ? width : 0;
  const double shift_y = rotation == 180 ? height : rotation == 270 ? width : 0;
  Cleared<CPDFArray> matrix;
  for (const double value : {cosine, sine, -sine, cosine, shift_x, shift_y})
    matrix.append_real(fix(value));
  dict.set_item_arr("Matrix", &matrix);
}

}  // namespace sheaf
