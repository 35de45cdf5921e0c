// The marks of check boxes and radio buttons, drawn as paths: they look the same with every reader's fonts.
#include <algorithm>

#include "sheaf/document/content/content_writer.h"
#include "sheaf/document/forms/draw/value_drawing_internal.h"

namespace sheaf {

namespace {

struct Point {
  double x;
  double y;
};

// In units of the mark's radius, around its centre.
constexpr Point kCheck[] = {{-0.65, -0.05}, {-0.2, -0.55}, {0.65, 0.6}};
constexpr Point kFalling[] = {{-0.6, 0.6}, {0.6, -0.6}};
constexpr Point kRising[] = {{-0.6, -0.6}, {0.6, 0.6}};
constexpr Point kDiamond[] = {{0, 0.8}, {0.8, 0}, {0, -0.8}, {-0.8, 0}};
constexpr Point kSquare[] = {{-0.6, -0.6}, {0.6, -0.6}, {0.6, 0.6}, {-0.6, 0.6}};
constexpr Point kStar[] = {{0, 0.85},   {0.191, 0.263}, {0.808, 0.263}, {0.309, -0.1},   {0.5, -0.688},
                           {0, -0.325}, {-0.5, -0.688}, {-0.309, -0.1}, {-0.808, 0.263}, {-0.191, 0.263}};
constexpr double kPen = 0.24;
constexpr double kDisc = 0.5;

struct Place {
  double x;
  double y;
  double radius;
};

template <std::size_t kCount>
void put_path(ContentWriter& out, const Place& place, const Point (&points)[kCount], std::string_view paint) {
  std::string_view step = "m";
  for (const Point& point : points) {
    out.op({place.x + point.x * place.radius, place.y + point.y * place.radius}, step);
    step = "l";
  }
  out.op(paint);
}

}  // namespace

void draw_mark(ContentWriter& out, const WidgetLook& look, char mark, const DeviceColour& colour) {
  const double radius = std::min(look.width, look.height) / 2 - look.inset();
  const Place place{look.width / 2, look.height / 2, radius};
  if (radius <= 0)
    return;
  out.op("q");
  colour.put(out, false);
  colour.put(out, true);
  out.op({kPen * radius}, "w");
  out.op("1 J 1 j");
  switch (mark) {
    case 'l':
      put_circle(out, place.x, place.y, kDisc * radius);
      out.op("f");
      break;
    case '8':
      put_path(out, place, kFalling, "S");
      put_path(out, place, kRising, "S");
      break;
    case 'u':
      put_path(out, place, kDiamond, "f");
      break;
    case 'n':
      put_path(out, place, kSquare, "f");
      break;
    case 'H':
      put_path(out, place, kStar, "f");
      break;
    default:
      put_path(out, place, kCheck, "S");
      break;
  }
  out.op("Q");
}

}  // namespace sheaf
