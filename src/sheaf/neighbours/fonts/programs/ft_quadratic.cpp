// A cubic is cut into equal steps of its parameter; each step becomes the curve of the second degree with the same ends
// whose control point lies where the tangents' middle asks for it. The distance falls with the third power of the
// number of steps.
#include "sheaf/neighbours/fonts/programs/ft_quadratic_internal.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace sheaf {

namespace {

constexpr double kLeastEm = 2000;    // of which one part is the distance that is allowed
constexpr double kDistance = 0.048;  // sqrt(3) / 36: the greatest distance, in third differences
constexpr int kMostSteps = 16;
constexpr std::size_t kMostPoints = INT16_MAX;

struct Point {
  double x;
  double y;
};

Point at(const FT_Vector (&corner)[4], double t) {
  const double s = 1 - t;
  const double weight[4]{s * s * s, 3 * s * s * t, 3 * s * t * t, t * t * t};
  Point point{0, 0};
  for (int i = 0; i < 4; ++i) {
    point.x += weight[i] * static_cast<double>(corner[i].x);
    point.y += weight[i] * static_cast<double>(corner[i].y);
  }
  return point;
}

Point slope(const FT_Vector (&corner)[4], double t) {
  const double s = 1 - t;
  const double weight[3]{3 * s * s, 6 * s * t, 3 * t * t};
  Point point{0, 0};
  for (int i = 0; i < 3; ++i) {
    point.x += weight[i] * static_cast<double>(corner[i + 1].x - corner[i].x);
    point.y += weight[i] * static_cast<double>(corner[i + 1].y - corner[i].y);
  }
  return point;
}

}  // namespace

bool QuadraticOutline::put(double x, double y, int tag) {
  return points_.size() < kMostPoints && points_.push({std::lround(x), std::lround(y)}) &&
         tags_.push(static_cast<Tag>(tag));
}

bool QuadraticOutline::put_cubic(const FT_Vector (&corner)[4]) {
  const auto third = [&corner](FT_Pos FT_Vector::*axis) {
    return static_cast<double>(corner[3].*axis - 3 * (corner[2].*axis - corner[1].*axis) - corner[0].*axis);
  };
  const double off = std::hypot(third(&FT_Vector::x), third(&FT_Vector::y)) * kDistance;
  const int steps = std::clamp(static_cast<int>(std::ceil(std::cbrt(off / tolerance_))), 1, kMostSteps);
  const double part = 1.0 / steps;
  for (int i = 0; i < steps; ++i) {
    const Point from = at(corner, i * part);
    const Point to = at(corner, (i + 1) * part);
    const Point leaving = slope(corner, i * part);
    const Point coming = slope(corner, (i + 1) * part);
    const double x = (from.x + to.x) / 2 + (leaving.x - coming.x) * part / 4;
    const double y = (from.y + to.y) / 2 + (leaving.y - coming.y) * part / 4;
    if (!put(x, y, FT_CURVE_TAG_CONIC) || !put(to.x, to.y, FT_CURVE_TAG_ON))
      return false;
  }
  return true;
}

bool QuadraticOutline::take_contour(const FT_Outline& outline, int first, int last) {
  const std::size_t begin = points_.size();
  if (!put(static_cast<double>(outline.points[first].x), static_cast<double>(outline.points[first].y), FT_CURVE_TAG_ON))
    return false;
  const auto point = [&](int i) { return outline.points[i > last ? first : i]; };
  for (int i = first + 1; i <= last;) {
    const FT_Vector here = outline.points[i];
    if (FT_CURVE_TAG(outline.tags[i]) == FT_CURVE_TAG_CUBIC) {
      if (!put_cubic({outline.points[i - 1], here, point(i + 1), point(i + 2)}))
        return false;
      i += 3;
      continue;
    }
    if (!put(static_cast<double>(here.x), static_cast<double>(here.y), FT_CURVE_TAG(outline.tags[i])))
      return false;
    ++i;
  }
  // A curve back to the beginning has put that point a second time.
  if (points_.size() > begin + 1 && points_.back().x == points_[begin].x && points_.back().y == points_[begin].y) {
    points_.pop();
    tags_.pop();
  }
  return ends_.push(static_cast<End>(points_.size() - 1));
}

bool QuadraticOutline::take(const FT_Outline& outline, int units_per_em) {
  points_.clear();
  tags_.clear();
  ends_.clear();
  tolerance_ = units_per_em / kLeastEm;
  int first = 0;
  for (int i = 0; i < outline.n_contours; ++i) {
    const int last = outline.contours[i];
    if (last >= first && !take_contour(outline, first, last))
      return false;
    first = last + 1;
  }
  outline_ = outline;
  outline_.points = points_.begin();
  outline_.tags = tags_.begin();
  outline_.contours = ends_.begin();
  outline_.n_points = static_cast<decltype(outline_.n_points)>(points_.size());
  outline_.n_contours = static_cast<decltype(outline_.n_contours)>(ends_.size());
  return true;
}

}  // namespace sheaf
