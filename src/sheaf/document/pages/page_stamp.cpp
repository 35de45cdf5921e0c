// A stamp's form has the space of its page; the matrix that draws it turns that as the page is shown, fits it, and
// turns it back into the space of the page below.
#include "sheaf/document/pages/page_stamp.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <new>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/number_map.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/content/content_text.h"
#include "sheaf/document/content/content_writer.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/forms/flatten/page_resources_internal.h"
#include "sheaf/document/forms/flattener.h"
#include "sheaf/document/pages/inherited_resources.h"
#include "sheaf/document/pages/page_content.h"

using namespace sheaf;

namespace {

// x' = a x + c y + e, y' = b x + d y + f, as operands of cm.
struct Matrix {
  double a = 1, b = 0, c = 0, d = 1, e = 0, f = 0;

  // First this, then `next`.
  Matrix then(const Matrix& next) const {
    return {a * next.a + b * next.c, a * next.b + b * next.d,          c * next.a + d * next.c,
            c * next.b + d * next.d, e * next.a + f * next.c + next.e, e * next.b + f * next.d + next.f};
  }
  Matrix inverse() const {
    const double size = a * d - b * c;
    return {d / size, -b / size, -c / size, a / size, (c * f - d * e) / size, (b * e - a * f) / size};
  }
};

// A page as one sees it: its lower left corner at 0, 0.
struct Shown {
  Matrix matrix;
  double width, height;
};

Shown shown(const _QVRECTF& box, int rotate) {
  const double left = to_double(std::min(box.left, box.right));
  const double bottom = to_double(std::min(box.bottom, box.top));
  const double right = to_double(std::max(box.left, box.right));
  const double top = to_double(std::max(box.bottom, box.top));
  switch (((rotate % 360) + 360) % 360) {
    case 90:
      return {{0, -1, 1, 0, -bottom, right}, top - bottom, right - left};
    case 180:
      return {{-1, 0, 0, -1, right, top}, right - left, top - bottom};
    case 270:
      return {{0, 1, -1, 0, top, -left}, top - bottom, right - left};
    default:
      return {{1, 0, 0, 1, -left, -bottom}, right - left, top - bottom};
  }
}

Matrix place(const Shown& stamp, const Shown& page, const PDF_STAMP& how) {
  const double across = page.width / stamp.width;
  const double up = page.height / stamp.height;
  double scale = how.scale;
  if (how.fit == PDF_STAMP_FIT::kInside)
    scale *= std::min(across, up);
  else if (how.fit == PDF_STAMP_FIT::kCover)
    scale *= std::max(across, up);
  const Matrix fitted{scale,
                      0,
                      0,
                      scale,
                      (page.width - stamp.width * scale) * how.across,
                      (page.height - stamp.height * scale) * how.up};
  return stamp.matrix.then(fitted).then(page.matrix.inverse());
}

}  // namespace

struct CPDFPageStamp::Made {
  explicit Made(CPDFXRefTable& table) : content(table) {}

  PageContent content;
  NumberMap forms;  // by the index of the source's page plus one
};

CPDFPageStamp::CPDFPageStamp(CPDFDoc& target, CPDFDoc& source)
    : target_(target), source_(source), made_(new (std::nothrow) Made(target.table())) {
  CPDFFlattener flattener(source);
  // The objects that this makes are taken too: the import counts the objects of its source when it starts.
  if (flattener.run(PDF_FLATTEN::kAll))
    import_ = target.table().import_start(&source, &source.table());
}

CPDFPageStamp::~CPDFPageStamp() {
  if (import_ != nullptr)
    target_.table().import_end(import_);
  delete made_;
}

PDF_REF CPDFPageStamp::form_of(std::int32_t stamp, const CPDFPage& page) {
  if (made_->forms.get(stamp + 1) != 0)
    return {made_->forms.get(stamp + 1), 0};
  CPDFXRefTable& from = source_.table();
  CPDFXRefTable& table = target_.table();
  ContentText content;
  const HeapWatch watch;
  content.load(from, page.dict.get_item("Contents"));  // of damaged content, what there is
  const std::string_view text = content.text();
  Freed<CPDFObj> resources = page_resources(from, page);
  PDF_REF copied{0, 0};
  if (resources.as_dict() != nullptr)
    copied = table.clone_resources(&from, import_, resources.as_dict());
  const PDF_REF form = table.new_form(page.box, text.data(), static_cast<int>(text.size()), copied);
  Freed<CPDFObj> group = from.value(&page.dict, "Group");
  if (form.num != 0 && group.as_dict() != nullptr && table.clone_dict(&from, import_, group.as_dict()) != 0) {
    Freed<CPDFObj> made = table.object(form);
    if (made.as_stream() == nullptr)
      return {0, 0};
    made.as_stream()->dict.move_item("Group", group);
    if (!table.store_object(form, made))
      return {0, 0};
  }
  made_->forms.set(stamp + 1, form.num);
  return watch.all_granted() ? form : PDF_REF{0, 0};
}

bool CPDFPageStamp::draw(const CPDFPage& page, CPDFDictionary& dict, const PDF_REF& form, const CPDFPage& stamp,
                         const PDF_STAMP& how) {
  const char* const kKind = CPDFDictionary::sm_tag_xobj;
  PageResources resources(target_.table(), page, dict);
  char name[32] = "SheafStamp";
  char* const digits = name + std::strlen(name);
  for (std::int32_t number = form.num;; ++number) {
    *std::to_chars(digits, name + sizeof(name) - 1, number).ptr = 0;
    if (resources.get(kKind, name) == form)
      break;
    if (resources.has(kKind, name))
      continue;
    if (!resources.add(kKind, name, form))
      return false;
    break;
  }
  const Matrix m = place(shown(stamp.box, stamp.rotate + how.rotate), shown(page.box, page.rotate), how);
  ContentWriter content;
  content.op("q");
  content.op({m.a, m.b, m.c, m.d, m.e, m.f}, "cm");
  content.name(name);
  content.op("Do");
  content.op("Q");
  return how.below ? made_->content.put_in_front(dict, content) : made_->content.put_behind(dict, content);
}

bool CPDFPageStamp::put(std::int32_t page, std::int32_t stamp, const PDF_STAMP& how) {
  const HeapWatch watch;
  CPDFXRefTable& table = target_.table();
  CPDFPage below;
  CPDFPage above;
  if (import_ == nullptr || made_ == nullptr || !target_.load_page(page, below) || !source_.load_page(stamp, above))
    return false;
  if (above.shown_width() == 0 || above.shown_height() == 0 || below.shown_width() == 0 || below.shown_height() == 0)
    return false;
  const PDF_REF form = form_of(stamp, above);
  Freed<CPDFObj> own = table.object(below.ref);
  if (form.num == 0 || own.as_dict() == nullptr || !draw(below, *own.as_dict(), form, above, how))
    return false;
  return table.store_object(below.ref, own) && watch.all_granted();
}
