// The list of pages is edited by the document; what refers to pages that are gone is found from those pages.
#include "sheaf/document/pages/page_arrange.h"

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/forms/flatten/page_resources_internal.h"
#include "sheaf/document/outline/outline.h"
#include "sheaf/document/pages/page_labels.h"
#include "sheaf/neighbours/page/trailer_values.h"

namespace sheaf {

namespace {

constexpr int kMostLevels = 64;  // of fields above a widget

// Takes the elements out of `kids` that `gone` has. The count of those that stay.
std::int32_t thin_out(CPDFArray& kids, const VisitedSet& gone) {
  Cleared<CPDFArray> left;
  for (std::int32_t i = 0; i < kids.count; ++i) {
    if (!gone.has(kids.items[i].as_ref().num))
      left.append(kids.items + i);
  }
  kids.copy_from(&left);
  return kids.count;
}

class GonePages {
public:
  GonePages(CPDFDoc& doc, PDF_ARRANGE_REPORT& report) : doc_(doc), table_(doc.table()), report_(report) {}

  bool add(const PDF_REF& page) {
    if (!pages_.visit(page.num))
      return true;
    ++report_.removed;
    return list_.push(page) && note_widgets(page);
  }
  bool forget() {
    if (list_.empty())
      return true;
    return forget_outline() && forget_fields() && forget_pages();
  }

private:
  bool note_widgets(const PDF_REF& page) {
    const Freed<CPDFObj> dict = table_.object(page);
    const Freed<CPDFObj> annots = table_.value(dict.as_dict(), "Annots");
    for (std::int32_t i = 0; annots.as_array() != nullptr && i < annots.as_array()->count; ++i) {
      const PDF_REF ref = annots.as_array()->items[i].as_ref();
      const Freed<CPDFObj> annotation = table_.object(ref);
      const Freed<CPDFObj> kind = table_.value(annotation.as_dict(), CPDFDictionary::sm_tag_subtype);
      if (ref.num != 0 && kind.is_name("Widget") && !widgets_.push(ref))
        return false;
    }
    return true;
  }
  bool forget_outline() {
    CPDFOutline outline;
    if (!outline.load(doc_))
      return false;
    report_.outline_gone = outline.remove_pages(pages_);
    return report_.outline_gone == 0 || outline.store(doc_);
  }
  // From widgets upwards: a field goes when nothing is left below it.
  bool forget_fields() {
    GrowArray<PDF_REF> gone;
    for (const PDF_REF& widget : widgets_) {
      gone_fields_.visit(widget.num);
      ++report_.widgets_gone;
      if (!gone.push(widget))
        return false;
    }
    for (int level = 0; level < kMostLevels && !gone.empty(); ++level) {
      GrowArray<PDF_REF> above;
      for (const PDF_REF& field : gone)
        take_from_parent(field, above);
      gone.swap(above);
    }
    return report_.widgets_gone == 0 || thin_out_form();
  }
  void note_field(const CPDFDictionary& field) {
    report_.fields_gone += field.get_item("T") != nullptr ? 1 : 0;
    const Freed<CPDFObj> kind = table_.value(&field, "FT");
    const Freed<CPDFObj> value = table_.value(&field, "V");
    report_.signatures_gone += kind.is_name("Sig") && value.as_dict() != nullptr ? 1 : 0;
  }
  void take_from_parent(const PDF_REF& field, GrowArray<PDF_REF>& above) {
    const Freed<CPDFObj> dict = table_.object(field);
    const CPDFObj* const parent = dict.item("Parent");
    if (dict.as_dict() != nullptr)
      note_field(*dict.as_dict());
    CPDFDictionary* const holder = parent != nullptr ? edit_object(table_, parent->as_ref()) : nullptr;
    if (holder == nullptr)
      return;
    Freed<CPDFObj> kids = table_.value(holder, "Kids");
    if (kids.as_array() == nullptr)
      return;
    const std::int32_t left = thin_out(*kids.as_array(), gone_fields_);
    holder->move_item("Kids", kids);
    if (left == 0 && gone_fields_.visit(parent->as_ref().num))
      above.push(parent->as_ref());
  }
  bool thin_out_form() {
    Freed<CPDFObj> catalog = table_.catalog();
    if (catalog.as_dict() == nullptr)
      return true;
    const CPDFObj* const item = catalog.as_dict()->get_item(CPDFDictionary::sm_tag_acro_form);
    Freed<CPDFObj> form = table_.value(item);
    if (form.as_dict() == nullptr)
      return true;
    for (const char* key : {"Fields", "CO"}) {
      Freed<CPDFObj> fields = table_.value(form.as_dict(), key);
      if (fields.as_array() == nullptr)
        continue;
      thin_out(*fields.as_array(), gone_fields_);
      form.as_dict()->move_item(key, fields);
    }
    if (item->tag == kTagRef)
      return table_.store_object(item->as_ref(), form);
    catalog.as_dict()->move_item(CPDFDictionary::sm_tag_acro_form, form);
    return give_trailer_values_numbers(table_) && table_.store_object(table_.root.as_ref(), catalog);
  }
  // In the page tree they are listed no more; null objects are what links to them find.
  bool forget_pages() {
    if (!doc_.store_page_tree())
      return false;
    for (const PDF_REF& page : list_) {
      Freed<CPDFObj> nothing;
      if (!table_.store_object(page, nothing))
        return false;
    }
    return true;
  }

  CPDFDoc& doc_;
  CPDFXRefTable& table_;
  PDF_ARRANGE_REPORT& report_;
  VisitedSet pages_;
  GrowArray<PDF_REF> list_;
  GrowArray<PDF_REF> widgets_;
  VisitedSet gone_fields_;
};

bool list_anew(CPDFDoc& doc, const GrowArray<PDF_REF>& listed) {
  for (int index = doc.page_count(); index-- > 0;) {
    if (!doc.remove_page(index))
      return false;
  }
  for (const PDF_REF& page : listed) {
    if (!doc.insert_page(doc.page_count(), page))
      return false;
  }
  return true;
}

}  // namespace

bool arrange_pages(CPDFDoc& doc, const std::int32_t* pages, std::int32_t count, PDF_ARRANGE_REPORT& report) {
  const HeapWatch watch;
  report = {};
  const int before = doc.page_count();
  GrowArray<PDF_REF> listed;
  VisitedSet kept;
  for (std::int32_t i = 0; i < count; ++i) {
    const PDF_REF page = pages[i] < before ? doc.page_ref(pages[i]) : PDF_REF{0, 0};
    if (page.num == 0 || !listed.push(page))
      return false;
    kept.visit(page.num);
  }
  if (listed.empty())
    return false;
  CPDFPageLabels labels;
  labels.load(doc);
  if (!labels.reorder(pages, count) || (!labels.empty() && !labels.store(doc)))
    return false;
  GonePages gone(doc, report);
  for (int i = 0; i < before; ++i) {
    if (!kept.has(doc.page_ref(i).num) && !gone.add(doc.page_ref(i)))
      return false;
  }
  return list_anew(doc, listed) && gone.forget() && watch.all_granted();
}

}  // namespace sheaf
