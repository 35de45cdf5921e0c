// Outlines of the third degree, as CFF has them, in curves of the second degree, as TrueType has them.
#pragma once

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

#include <type_traits>

#include "sheaf/base/grow_array.h"

namespace sheaf {

class QuadraticOutline {
public:
  /// Makes the same shape of curves of the second degree, nowhere further from it than half a thousandth of
  /// `units_per_em` and the rounding to whole units. False when there is no memory, or there are more points than a
  /// glyph can have.
  bool take(const FT_Outline& outline, int units_per_em);
  /// Borrowed; valid until the next `take`.
  const FT_Outline& outline() const { return outline_; }

private:
  using Tag = std::remove_pointer_t<decltype(FT_Outline::tags)>;
  using End = std::remove_pointer_t<decltype(FT_Outline::contours)>;

  bool put(double x, double y, int tag);
  bool take_contour(const FT_Outline& outline, int first, int last);
  bool put_cubic(const FT_Vector (&corner)[4]);

  double tolerance_ = 1;
  GrowArray<FT_Vector> points_;
  GrowArray<Tag> tags_;
  GrowArray<End> ends_;
  FT_Outline outline_{};
};

}  // namespace sheaf
