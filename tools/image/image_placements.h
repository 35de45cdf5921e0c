// Where the pages show their images, and so how many dots an inch these have.
#pragma once

#include <unordered_map>

#include "sheaf/document/doc.h"

namespace sheaf::tool {

/// Dots an inch; 0 when nothing says.
struct Dots {
  double x = 0;
  double y = 0;
};

/// The first place of each image, page by page, also within forms. Contents beyond a bound, which no
/// real document reaches, are not looked at.
class ImagePlacements {
public:
  explicit ImagePlacements(CPDFDoc& doc);
  /// For the image in object `num`, of `width` and `height` pixels; 0 when no page shows it.
  Dots dots_of(std::int32_t num, std::int32_t width, std::int32_t height) const;

private:
  /// Sides of the place, in points.
  struct Place {
    double width;
    double height;
  };
  class Walk;

  std::unordered_map<std::int32_t, Place> places_;
};

}  // namespace sheaf::tool
