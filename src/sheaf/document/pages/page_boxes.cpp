// A box that is not given is the one that the standard puts in its place.
#include "sheaf/document/pages/page_boxes.h"

#include <algorithm>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/forms/flatten/page_resources_internal.h"

namespace sheaf {

namespace {

constexpr int kFullTurn = 360;
constexpr _QVRECTF kLetter{0, 0, fix_from_int(612), fix_from_int(792)};

_QVRECTF in_order(const _QVRECTF& box) {
  return {std::min(box.left, box.right), std::min(box.bottom, box.top), std::max(box.left, box.right),
          std::max(box.bottom, box.top)};
}

// The box as the page or a node above it says. False when none does.
bool find_box(CPDFDoc& doc, const CPDFPage& page, int which, _QVRECTF& box) {
  const CPDFObj* const own = page.dict.get_item(kPageBoxes[which]);
  const PDF_INHERITED& above = page.from_above;
  if (!doc.is_absent(own)) {
    doc.table().read_obj_rect(box, own);
  } else if (which == kMediaBox && above.has_media_box) {
    box = above.media_box;
  } else if (which == kCropBox && above.has_crop_box) {
    box = above.crop_box;
  } else {
    return false;
  }
  box = in_order(box);
  return box.right > box.left && box.top > box.bottom;
}

}  // namespace

bool read_page_box(CPDFDoc& doc, const CPDFPage& page, int which, _QVRECTF& box) {
  if (find_box(doc, page, which, box))
    return true;
  if (which > kCropBox)
    read_page_box(doc, page, kCropBox, box);
  else if (which == kMediaBox || !find_box(doc, page, kMediaBox, box))
    box = kLetter;
  return false;
}

bool set_page_box(CPDFDoc& doc, std::int32_t page, int which, const _QVRECTF& box) {
  const HeapWatch watch;
  CPDFDictionary* const dict = edit_object(doc.table(), doc.page_ref(page));
  if (dict == nullptr)
    return false;
  dict->set_item_rect(kPageBoxes[which], &box);
  return watch.all_granted();
}

bool set_page_rotation(CPDFDoc& doc, std::int32_t page, int degrees) {
  const HeapWatch watch;
  CPDFDictionary* const dict = edit_object(doc.table(), doc.page_ref(page));
  if (dict == nullptr || degrees % 90 != 0)
    return false;
  dict->set_item_int(CPDFDictionary::sm_tag_rotate, (degrees % kFullTurn + kFullTurn) % kFullTurn);
  return watch.all_granted();
}

}  // namespace sheaf
