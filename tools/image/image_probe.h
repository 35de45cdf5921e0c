// What an image file is and how it is to be shown, from its bytes.
#pragma once

#include <string>

namespace sheaf::tool {

enum class ImageKind { kUnknown, kJpeg, kJpx, kPng, kPnm };

struct ImageFacts {
  ImageKind kind = ImageKind::kUnknown;
  double dots_x = 0;  ///< Dots an inch; 0 when the file states none.
  double dots_y = 0;
  int components = 0;             ///< Of JPEG and bare JPEG 2000 data.
  int orientation = 1;            ///< 1 to 8, as in Exif.
  bool has_adobe_marker = false;  ///< Of a JPEG.
  bool is_bare = false;           ///< JPEG 2000 without the boxes that give its colour space.
};

/// Looks at the bytes of a file; whether it can be decoded shows later.
ImageFacts probe_image(const std::string& bytes);

}  // namespace sheaf::tool
