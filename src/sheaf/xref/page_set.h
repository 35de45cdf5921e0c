// The page list of a linearized file, as known from its start alone.
#pragma once

#include <cstdint>

struct PDF_PAGE_ITEM {
  std::uint32_t obj;    ///< Object number of the page.
  std::int32_t width;   ///< Hundredths of a point; 0 until the hints are read.
  std::int32_t height;  ///< The same.
  std::int32_t rotate;  ///< Degrees, as the page's own dictionary has them.
};

/// Value-initialise it; the caller owns `pages` and releases it with QVFree.
struct PDF_PAGE_SET {
  std::int32_t count;    ///< Pages, from "N".
  PDF_PAGE_ITEM* pages;  ///< `count` + 2 items, or null.
};
