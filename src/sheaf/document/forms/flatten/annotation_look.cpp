// Flags, rectangle and matrix of an annotation give the matrix that places its appearance (ISO 32000-1, 12.5.5).
#include "sheaf/document/forms/flatten/annotation_look_internal.h"

#include <algorithm>

#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/page/page.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

namespace {

constexpr int kHidden = 1 << 1;
constexpr int kPrint = 1 << 2;
constexpr int kNoRotate = 1 << 4;
constexpr int kNoView = 1 << 5;

int flags_of(CPDFXRefTable& table, const CPDFDictionary& annotation) {
  const Freed<CPDFObj> flags = table.value(&annotation, "F");
  return flags.to_int();
}

struct Box {
  double left, bottom, right, top;
  double width() const { return right - left; }
  double height() const { return top - bottom; }
};

Box sorted(const _QVRECTF& rect) {
  const double x1 = to_double(rect.left);
  const double x2 = to_double(rect.right);
  const double y1 = to_double(rect.bottom);
  const double y2 = to_double(rect.top);
  return {std::min(x1, x2), std::min(y1, y2), std::max(x1, x2), std::max(y1, y2)};
}

// The smallest upright box around the form's own box as its matrix turns it.
Box transformed(const CPDFForm& form) {
  const Box box = sorted(form.box);
  double m[6];
  for (int i = 0; i < 6; ++i)
    m[i] = to_double(form.matrix[i]);
  Box out{};
  bool first = true;
  for (const double x : {box.left, box.right}) {
    for (const double y : {box.bottom, box.top}) {
      const double px = m[0] * x + m[2] * y + m[4];
      const double py = m[1] * x + m[3] * y + m[5];
      out.left = first ? px : std::min(out.left, px);
      out.right = first ? px : std::max(out.right, px);
      out.bottom = first ? py : std::min(out.bottom, py);
      out.top = first ? py : std::max(out.top, py);
      first = false;
    }
  }
  return out;
}

// Turned about the upper left corner of `rect`, so that it stands upright on the rotated page.
Transform turned(const Transform& m, const Box& rect, int degrees) {
  const double cosine = degrees == 90 || degrees == 270 ? 0 : degrees == 180 ? -1 : 1;
  const double sine = degrees == 90 ? 1 : degrees == 270 ? -1 : 0;
  const double e = m.e - rect.left;
  const double f = m.f - rect.top;
  return {m.a * cosine - m.b * sine, m.a * sine + m.b * cosine,         m.c * cosine - m.d * sine,
          m.c * sine + m.d * cosine, e * cosine - f * sine + rect.left, e * sine + f * cosine + rect.top};
}

}  // namespace

bool is_shown(CPDFXRefTable& table, const CPDFDictionary& annotation, bool on_paper) {
  const int flags = flags_of(table, annotation);
  if ((flags & kHidden) != 0)
    return false;
  return on_paper ? (flags & kPrint) != 0 : (flags & kNoView) == 0;
}

PDF_REF normal_appearance(CPDFXRefTable& table, const CPDFDictionary& annotation) {
  const Freed<CPDFObj> looks = table.value(&annotation, "AP");
  const CPDFObj* item = looks.item("N");
  const Freed<CPDFObj> normal = table.value(item);
  Freed<CPDFObj> state = table.value(&annotation, "AS");
  if (normal.as_dict() != nullptr) {
    if (state.as_name() == nullptr)
      state = table.value(&annotation, "V");
    item = state.as_name() != nullptr ? normal.as_dict()->get_item(state.as_name()) : nullptr;
  }
  const Freed<CPDFObj> stream = table.value(item);
  return stream.as_stream() != nullptr ? ref_of(item) : PDF_REF{0, 0};
}

bool place_appearance(CPDFXRefTable& table, const CPDFDictionary& annotation, const PDF_REF& form, int page_rotation,
                      Transform& out) {
  CPDFForm loaded;
  Freed<CPDFObj> ref;
  ref.set_ref(form);
  _QVRECTF rect{};
  table.read_obj_rect(rect, annotation.get_item("Rect"));
  const Box place = sorted(rect);
  if (!loaded.pre_load(&table, &ref))
    return false;
  const Box box = transformed(loaded);
  if (!(box.width() > 0) || !(box.height() > 0) || !(place.width() > 0) || !(place.height() > 0))
    return false;
  const double scale_x = place.width() / box.width();
  const double scale_y = place.height() / box.height();
  out = {scale_x, 0, 0, scale_y, place.left - box.left * scale_x, place.bottom - box.bottom * scale_y};
  if ((flags_of(table, annotation) & kNoRotate) != 0 && page_rotation != 0)
    out = turned(out, place, page_rotation);
  return true;
}

}  // namespace sheaf
