// What the rooms below know of a page layer: one page of a document, with the values that it inherits resolved
// (ISO 32000-1, 7.7.3.4); a form XObject, which is content of its own with a box, a matrix and resources (8.10); and
// the pixels of a bitmap.
#pragma once

#include <cstdint>

#include "sheaf/base/fixed.h"
#include "sheaf/base/heap.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/object.h"

class CPDFXRefTable;

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

/// What a CPDFForm's first member says: who owns the content.
enum CPDFContentKind : std::int32_t { kContentPage = 1, kContentForm = 2 };

/// One form: `pre_load` reads what its dictionary says, `load` decodes its content. Independent of
/// the table's storage: the stream object is copied; the data are read from the table's streams.
class CPDFForm : public QVHeapObject<CPDFForm> {
public:
  CPDFForm() = default;
  CPDFForm(const CPDFForm&) = delete;
  CPDFForm& operator=(const CPDFForm&) = delete;
  ~CPDFForm();

  std::int32_t kind = kContentForm;
  QVFIX matrix[6] = {sheaf::kFixOne, 0, 0, sheaf::kFixOne, 0, 0};  ///< "Matrix": form space to user space.
  _QVRECTF box{sheaf::fix_from_int(INT32_MAX), sheaf::fix_from_int(INT32_MAX), sheaf::fix_from_int(INT32_MIN),
               sheaf::fix_from_int(INT32_MIN)};  ///< "BBox"; inside out in a form without.
  std::int32_t is_bare = 1;                      ///< Not 0 until `load` has content.
  CPDFXRefTable* table = nullptr;                ///< Borrowed from `pre_load`.
  CPDFObj stream{};                              ///< Copy of the stream object.
  PDF_REF resources_ref{0, 0};                   ///< "Resources" when it is a reference; number 0: it is not.
  CPDFDictionary resources;                      ///< Copy of the resource dictionary, the reference followed.
  std::uint8_t* content = nullptr;               ///< Decoded content, a NUL after it, or null.
  std::int32_t content_len = 0;                  ///< Its bytes without the NUL.

  /// Takes a form's stream object, or a reference to one, and reads box, matrix and resources. What
  /// an earlier form left is released. False when `obj` is no stream.
  bool pre_load(CPDFXRefTable* from, const CPDFObj* obj);
  /// Decodes the content. False when it cannot be decoded or `pre_load` gave false.
  bool load();
  /// Releases everything and returns to the state of a new form.
  void clear();

private:
  void read_matrix(const CPDFObj* item);
};

/// A view of pixels of four bytes each: three of colour, in the order red, green, blue or its
/// reverse, then alpha. The pixels stay their maker's.
class CQVBmp32 {
public:
  std::uint8_t* pixels = nullptr;  ///< First byte of the first row.
  std::int32_t width = 0;          ///< Pixels of a row.
  std::int32_t height = 0;         ///< Rows.
  std::int32_t stride = 0;         ///< Bytes from one row to the next; negative when rows go upwards in memory.
};
