// Widgets are met page by page, and each is followed upwards to the top of its field.
#include "sheaf/document/forms/fill/loose_fields_internal.h"

#include <algorithm>
#include <new>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/document/doc.h"
#include "sheaf/neighbours/page/acro_form.h"
#include "sheaf/object/array.h"

namespace sheaf {

namespace {

class LooseFields {
public:
  LooseFields(CPDFDoc& doc, CPDFAcroForm& form) : doc_(doc), table_(doc.table()), form_(form) {
    for (std::int32_t i = 0; i < form.field_count(); ++i)
      known_.visit(form.field_at(i)->ref().num);
  }

  int adopt() {
    for (int i = 0; i < doc_.page_count(); ++i) {
      const Freed<CPDFObj> page = table_.object(doc_.page_ref(i));
      const Freed<CPDFObj> list = table_.value(page.as_dict(), "Annots");
      const CPDFArray* const annots = list.as_array();
      for (std::int32_t k = 0; annots != nullptr && k < annots->count; ++k) {
        const PDF_REF ref = annots->items[k].as_ref();
        if (ref.num > 0 && !known_.has(ref.num) && seen_.visit(ref.num))
          look_at(ref);
      }
    }
    add_widgets();
    return added_;
  }

private:
  struct Below {
    PDF_REF field;
    PDF_REF widget;
  };

  // The way up ends at a field that the form knows, or at one that has nothing above it.
  void look_at(const PDF_REF& widget) {
    constexpr int kMostLevels = 64;
    Freed<CPDFObj> obj = table_.object(widget);
    const CPDFDictionary* dict = obj.as_dict();
    const CPDFObj* const kind = dict != nullptr ? dict->get_item(CPDFDictionary::sm_tag_subtype) : nullptr;
    if (kind == nullptr || !kind->is_name("Widget"))
      return;
    PDF_REF at = widget;
    for (int level = 0; level < kMostLevels; ++level) {
      const CPDFObj* const item = dict->get_item(CPDFDictionary::sm_tag_parent);
      const PDF_REF above = ref_of(item);
      if (above.num > 0 && known_.has(above.num)) {
        if (level == 0 && dict->get_item("T") == nullptr)
          widgets_.push({above, widget});
        return;
      }
      Freed<CPDFObj> next = table_.object(above);
      if (above.num < 1 || next.as_dict() == nullptr)
        break;
      at = above;
      obj.move_from(next);
      dict = obj.as_dict();
    }
    if (dict->get_item("T") == nullptr || dict->get_item("FT") == nullptr || !known_.visit(at.num))
      return;
    const std::int32_t before = form_.field_count();
    form_.append_field(at);
    for (std::int32_t i = before; i < form_.field_count(); ++i)
      known_.visit(form_.field_at(i)->ref().num);
    added_ += form_.field_count() > before ? 1 : 0;
  }

  // Each field is read once, however many widgets lead to it.
  void add_widgets() {
    std::sort(widgets_.begin(), widgets_.end(),
              [](const Below& a, const Below& b) { return a.field.num < b.field.num; });
    for (std::size_t at = 0; at < widgets_.size();) {
      std::size_t end = at;
      while (end < widgets_.size() && widgets_[end].field == widgets_[at].field)
        ++end;
      add_widgets(at, end);
      at = end;
    }
  }

  void add_widgets(std::size_t at, std::size_t end) {
    const PDF_REF field = widgets_[at].field;
    Freed<CPDFObj> obj = table_.object(field);
    Freed<CPDFObj> kids = table_.value(obj.as_dict(), "Kids");
    VisitedSet listed;
    for (std::int32_t i = 0; kids.as_array() != nullptr && i < kids.as_array()->count; ++i)
      listed.visit(kids.as_array()->items[i].as_ref().num);
    if (kids.as_array() == nullptr)
      kids.take_array(new (std::nothrow) CPDFArray);
    if (obj.as_dict() == nullptr || kids.as_array() == nullptr)
      return;
    const std::int32_t before = kids.as_array()->count;
    for (; at < end; ++at) {
      if (listed.visit(widgets_[at].widget.num))
        kids.as_array()->append_ref(widgets_[at].widget);
    }
    if (kids.as_array()->count == before)
      return;
    obj.as_dict()->move_item("Kids", kids);
    table_.store_object(field, obj);
  }

  CPDFDoc& doc_;
  CPDFXRefTable& table_;
  CPDFAcroForm& form_;
  VisitedSet known_;          // fields of the form
  VisitedSet seen_;           // annotations
  GrowArray<Below> widgets_;  // with the field above each
  int added_ = 0;
};

}  // namespace

int adopt_loose_fields(CPDFDoc& doc, CPDFAcroForm& form) {
  return LooseFields(doc, form).adopt();
}

}  // namespace sheaf
