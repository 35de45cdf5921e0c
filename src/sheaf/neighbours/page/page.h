// One page of a document, with the values that it inherits resolved (ISO 32000-1, 7.7.3.4).
#pragma once

#include <cstdint>

#include "sheaf/base/fixed.h"
#include "sheaf/object/dictionary.h"

/// What a page tree node hands down to its pages.
struct PDF_INHERITED {
  PDF_REF resources{0, 0};  ///< "Resources" when it is a reference; number 0: none.
  _QVRECTF media_box{};
  _QVRECTF crop_box{};
  std::int32_t rotate = 0;
  bool has_media_box = false;
  bool has_crop_box = false;
  bool has_rotate = false;
  bool has_direct_resources = false;  ///< "Resources" is directly in the node or in one above it.
  std::int32_t holder = 0;  ///< The node with the direct resources; -1: the tree's top, directly in the catalogue.
};

/// Filled by CPDFDoc::load_page; the page owns its dictionary.
class CPDFPage {
public:
  CPDFPage() = default;
  CPDFPage(const CPDFPage&) = delete;
  CPDFPage& operator=(const CPDFPage&) = delete;
  ~CPDFPage() { dict.clear(); }

  PDF_REF ref{0, 0};
  CPDFDictionary dict;                       ///< Copy of the page's own dictionary, and direct resources from above.
  _QVRECTF box{};                            ///< The crop box, or the media box without one.
  std::int32_t rotate = 0;                   ///< Degrees: 0, 90, 180 or 270.
  const PDF_INHERITED* inherited = nullptr;  ///< Null without a parent, else `from_above`.
  PDF_INHERITED from_above;                  ///< What the nodes above hand down.

  /// Width and height in points as shown, the rotation applied; never negative.
  QVFIX shown_width() const { return rotate % 180 == 0 ? side(box.left, box.right) : side(box.bottom, box.top); }
  QVFIX shown_height() const { return rotate % 180 == 0 ? side(box.bottom, box.top) : side(box.left, box.right); }

private:
  static QVFIX side(QVFIX from, QVFIX to) { return to > from ? to - from : from - to; }
};
