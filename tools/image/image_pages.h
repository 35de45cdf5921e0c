// Pages made of image files.
#pragma once

#include <string>
#include <vector>

#include "sheaf/document/doc.h"

namespace sheaf::tool {

struct ImagePageOptions {
  std::vector<std::string> files;  ///< A page each; "-" is standard input.
  double dots = 0;                 ///< Dots an inch; 0: as the image says, else 72.
  std::string page_size;           ///< As read_page_size takes it; empty: as large as the image.
  bool fit = false;                ///< Makes an image as large as its page has room for.
  double margin = 0;               ///< Points around the image.
};

/// The size in points that "A4", "letter" and the like or "WIDTHxHEIGHT" with mm, cm, in or pt (pt when nothing is
/// said) names. False when it is not one of them; they are
/// then as they were.
bool read_page_size(const std::string& text, double& width, double& height);

/// Appends a page for each file and an outline with an entry for each. An image has the size that its
/// resolution gives; on a page of given size it is in the middle and is made smaller where it must.
/// False, with a message, when a file is no image or the document cannot take it.
bool append_image_pages(CPDFDoc& doc, const ImagePageOptions& options);

}  // namespace sheaf::tool
