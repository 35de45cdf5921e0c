// Draws the appearances into the pages, then removes the annotations and fields that were drawn.
#include "sheaf/document/forms/flattener.h"

#include <charconv>
#include <cstring>
#include <new>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/heap_watch.h"
#include "sheaf/base/number_map.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/base/work_watch.h"
#include "sheaf/document/content/content_writer.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/forms/fill/field_facts_internal.h"
#include "sheaf/document/forms/flatten/annotation_look_internal.h"
#include "sheaf/document/forms/flatten/page_resources_internal.h"
#include "sheaf/document/forms/form_filler.h"
#include "sheaf/document/pages/page_content.h"
#include "sheaf/neighbours/page/acro_form.h"
#include "sheaf/neighbours/page/trailer_values.h"

using namespace sheaf;

namespace {

/// One run over a document.
class Flattening {
public:
  Flattening(CPDFDoc& doc, PDF_FLATTEN_REPORT& report, bool prints)
      : doc_(doc), report_(report), content_(doc.table()), prints_(prints) {}
  bool run(PDF_FLATTEN what);

private:
  struct PageWork;

  void read_default_resources();
  void look_at_form();
  void note_outdated_containers();
  void note_container(const PDF_REF& ref);
  bool empty_containers();
  bool flatten_page(int index, PDF_FLATTEN what);
  bool take(PageWork& work, const CPDFObj& item, const CPDFDictionary& dict, PDF_FLATTEN what);
  bool draw(PageWork& work, const CPDFDictionary& annotation);
  void complete_form(const PDF_REF& ref);
  bool store_page(PageWork& work);
  bool forget_named();
  bool drop_form();

  CPDFDoc& doc_;
  PDF_FLATTEN_REPORT& report_;
  VisitedSet pages_;
  VisitedSet made_forms_;
  VisitedSet containers_;             // object streams with objects that are gone
  GrowArray<PDF_REF> named_;          // annotations that are gone, and that the structure tree names
  Freed<CPDFObj> default_resources_;  // the form's
  PageContent content_;
  int next_name_ = 0;
  const bool prints_;
};

// A page while its annotations are taken off.
struct Flattening::PageWork {
  PageWork(CPDFXRefTable& table, const CPDFPage& from) : page(from), resources(table, from, dict) {}

  const CPDFPage& page;
  Cleared<CPDFDictionary> dict;  // the page's own, as it will be stored
  PageResources resources;
  ContentWriter content;
  Cleared<CPDFArray> left;  // annotations that stay
  VisitedSet gone;
  bool changed = false;
};

// Their content is more than a picture, or nothing but a place on the page.
constexpr const char* kNeverFlattened[] = {"Link", "FileAttachment", "Sound", "Movie", "Screen", "3D", "RichMedia"};

bool is_kind(CPDFXRefTable& table, const CPDFDictionary& annotation, const char* kind) {
  const Freed<CPDFObj> subtype = table.value(&annotation, CPDFDictionary::sm_tag_subtype);
  return subtype.is_name(kind);
}

bool is_asked_for(CPDFXRefTable& table, const CPDFDictionary& annotation, PDF_FLATTEN what) {
  if (what == PDF_FLATTEN::kWidgets)
    return is_kind(table, annotation, "Widget");
  for (const char* kind : kNeverFlattened) {
    if (is_kind(table, annotation, kind))
      return false;
  }
  return true;
}

bool Flattening::run(PDF_FLATTEN what) {
  const HeapWatch watch;
  doc_.table().drain_pending();
  look_at_form();
  CPDFFormFiller filler(doc_);
  if (filler.load() && !filler.draw_missing())
    return false;
  read_default_resources();
  for (int i = 0; i < doc_.page_count(); ++i) {
    WorkWatch::at(i, doc_.page_count());
    if (!flatten_page(i, what))
      return false;
  }
  return forget_named() && drop_form() && empty_containers() && watch.all_granted();
}

// As an object of its own, so that appearances share it.
void Flattening::read_default_resources() {
  CPDFXRefTable& table = doc_.table();
  const Freed<CPDFObj> catalog = table.catalog();
  const Freed<CPDFObj> form = table.value(catalog.as_dict(), CPDFDictionary::sm_tag_acro_form);
  const CPDFObj* const item = form.item("DR");
  Freed<CPDFObj> resources = table.value(item);
  if (item == nullptr || resources.as_dict() == nullptr)
    return;
  default_resources_.copy_from(item);
  if (item->tag == kTagRef)
    return;
  const PDF_REF ref{table.alloc_obj_num(), 0};
  if (table.store_object(ref, resources))
    default_resources_.set_ref(ref);
}

// What the form holds: its signatures, and the object streams of its fields.
void Flattening::look_at_form() {
  CPDFXRefTable& table = doc_.table();
  CPDFAcroForm form(table);
  form.load();
  if (form.field_count() > 0)
    note_outdated_containers();
  for (std::int32_t i = 0; i < form.field_count(); ++i) {
    const CPDFField& field = *form.field_at(i);
    FieldFacts facts;
    GrowArray<PDF_REF> widgets;
    note_container(field.ref());
    collect_widgets(table, field.ref(), widgets);
    for (const PDF_REF& widget : widgets)
      note_container(widget);
    if (!field.is_terminal())
      continue;
    facts.read(field);
    if (facts.kind != FieldKind::kSignature)
      continue;
    Freed<CPDFObj> value;
    field.get_value("V", value);
    report_.signatures += value.as_dict() != nullptr ? 1 : 0;
  }
}

// Older versions of fields stay in their object streams. Streams that have more members than entries
// lead to are taken for such.
void Flattening::note_outdated_containers() {
  CPDFXRefTable& table = doc_.table();
  NumberMap members;
  for (std::uint32_t num = 1; num < table.xref_count; ++num) {
    const PDF_XREF& entry = *table.entry(num);
    const auto container = entry.container();
    if (entry.is_compressed())
      members.set(container, members.get(container) + 1);
  }
  for (std::uint32_t num = 1; num < table.xref_count; ++num) {
    const auto container = object_num(num);
    if (members.get(container) == 0)
      continue;
    Freed<CPDFObj> stream;
    table.get_stored(stream, {container, 0});
    const CPDFDictionary* const dict = stream.as_dict_or_stream();
    if (dict != nullptr && table.value(dict, "N").to_int() > members.get(container))
      containers_.visit(container);
  }
}

void Flattening::note_container(const PDF_REF& ref) {
  const PDF_XREF* const entry = doc_.table().entry(ref.num);
  if (entry != nullptr && entry->is_compressed())
    containers_.visit(entry->container());
}

// An object stream goes into a new file as it is, with all that it holds. Where a stream held something of
// the form, its other members become objects of their own, so that the stream is left behind.
bool Flattening::empty_containers() {
  CPDFXRefTable& table = doc_.table();
  for (std::uint32_t num = 1; num < table.xref_count; ++num) {
    const PDF_XREF entry = *table.entry(num);
    if (!entry.is_compressed() || !containers_.has(entry.container()))
      continue;
    const PDF_REF ref = PDF_REF::at(num);
    Freed<CPDFObj> obj;
    table.get_stored(obj, ref);
    if (!obj.is_null() && !table.store_object(ref, obj))
      return false;
  }
  return true;
}

bool Flattening::flatten_page(int index, PDF_FLATTEN what) {
  CPDFXRefTable& table = doc_.table();
  CPDFPage page;
  if (!doc_.load_page(index, page) || !pages_.visit(page.ref.num))
    return true;
  Freed<CPDFObj> annots = table.value(&page.dict, "Annots");
  const CPDFArray* const list = annots.as_array();
  if (list == nullptr)
    return true;
  Freed<CPDFObj> own = table.object(page.ref);
  if (own.as_dict() == nullptr)
    return true;
  PageWork work(table, page);
  work.dict.copy_from(own.as_dict());
  // Popups go with what they belong to, which may be after them.
  for (const bool popups : {false, true}) {
    for (std::int32_t i = 0; i < list->count; ++i) {
      const Freed<CPDFObj> annotation = table.value(list, i);
      const CPDFDictionary* const dict = annotation.as_dict();
      if (dict == nullptr || is_kind(table, *dict, "Popup") != popups)
        continue;
      if (!take(work, *list->get(i), *dict, what))
        return false;
    }
  }
  return !work.changed || store_page(work);
}

// Draws an annotation and leaves it out, or keeps it. False when there is no memory.
bool Flattening::take(PageWork& work, const CPDFObj& item, const CPDFDictionary& dict, PDF_FLATTEN what) {
  CPDFXRefTable& table = doc_.table();
  const bool widget = is_kind(table, dict, "Widget");
  bool goes = is_asked_for(table, dict, what);
  if (is_kind(table, dict, "Popup")) {
    const CPDFObj* const parent = dict.get_item(CPDFDictionary::sm_tag_parent);
    goes = goes && (parent == nullptr || work.gone.has(parent->as_ref().num));
  } else if (goes && !is_shown(table, dict, prints_)) {
    ++report_.hidden;
  } else if (goes && draw(work, dict)) {
    ++report_.drawn;
  } else if (goes && widget) {
    ++report_.blank;
  } else if (goes) {
    ++report_.kept;
    goes = false;
  }
  if (!goes) {
    const std::int32_t before = work.left.count;
    work.left.append(&item);
    return work.left.count > before;
  }
  work.changed = true;
  note_container(item.as_ref());
  work.gone.visit(item.as_ref().num);
  return dict.get_item("StructParent") == nullptr || item.tag != kTagRef || named_.push(item.as_ref());
}

bool Flattening::draw(PageWork& work, const CPDFDictionary& annotation) {
  CPDFXRefTable& table = doc_.table();
  const PDF_REF form = normal_appearance(table, annotation);
  Transform place;
  if (form.num == 0 || !place_appearance(table, annotation, form, work.page.rotate, place))
    return false;
  complete_form(form);
  char name[32] = "SheafFlat";
  char* const digits = name + std::strlen(name);
  do {
    *std::to_chars(digits, name + sizeof(name) - 1, next_name_++).ptr = 0;
  } while (work.resources.has(CPDFDictionary::sm_tag_xobj, name));
  if (!work.resources.add(CPDFDictionary::sm_tag_xobj, name, form))
    return false;
  const CPDFObj* const layer = annotation.get_item("OC");
  const bool layered = layer != nullptr && layer->as_ref().num != 0;
  if (layered && work.resources.add("Properties", name, layer->as_ref())) {
    work.content.text("/OC");
    work.content.name(name);
    work.content.op("BDC");
  }
  work.content.op("q");
  work.content.op({place.a, place.b, place.c, place.d, place.e, place.f}, "cm");
  work.content.name(name);
  work.content.op("Do");
  work.content.op("Q");
  if (layered)
    work.content.op("EMC");
  return true;
}

// An appearance need not say that it is a form, and may lean on the form's default resources; what a page draws must
// have both.
void Flattening::complete_form(const PDF_REF& ref) {
  CPDFXRefTable& table = doc_.table();
  if (!made_forms_.visit(ref.num))
    return;
  Freed<CPDFObj> obj = table.object(ref);
  CPDFStreamRec* const rec = obj.as_stream();
  if (rec == nullptr)
    return;
  CPDFDictionary& dict = rec->dict;
  const CPDFObj* const subtype = dict.get_item(CPDFDictionary::sm_tag_subtype);
  const bool named = subtype != nullptr && subtype->is_name("Form");
  const bool lacks_resources = dict.get_item(CPDFDictionary::sm_tag_res) == nullptr && !default_resources_.is_null();
  if (named && !lacks_resources)
    return;
  dict.set_item_name(CPDFDictionary::sm_tag_type, CPDFDictionary::sm_tag_xobj);
  dict.set_item_name(CPDFDictionary::sm_tag_subtype, "Form");
  if (lacks_resources)
    dict.set_item(CPDFDictionary::sm_tag_res, &default_resources_);
  table.store_object(ref, obj);
}

bool Flattening::store_page(PageWork& work) {
  if (work.left.count == 0)
    work.dict.set_item("Annots", nullptr);
  else
    work.dict.set_item_arr("Annots", &work.left);
  if (!work.content.empty() && !content_.put_behind(work.dict, work.content))
    return false;
  ++report_.pages;
  Freed<CPDFObj> page;
  page.take_dict(new (std::nothrow) CPDFDictionary);
  if (page.as_dict() == nullptr)
    return false;
  page.as_dict()->copy_from(&work.dict);
  return doc_.table().store_object(work.page.ref, page);
}

// The structure tree of a tagged document goes on naming its annotations (ISO 32000-1, 14.7.4.3). Nothing of those that
// are gone must be kept by that.
bool Flattening::forget_named() {
  for (const PDF_REF& annotation : named_) {
    Freed<CPDFObj> nothing;
    if (!doc_.table().store_object(annotation, nothing))
      return false;
  }
  return true;
}

// Nothing of a form is left without its widgets, nor anything that a signature or a certification could vouch for.
bool Flattening::drop_form() {
  CPDFXRefTable& table = doc_.table();
  Freed<CPDFObj> catalog = table.catalog();
  CPDFDictionary* const dict = catalog.as_dict();
  if (dict == nullptr || dict->get_item(CPDFDictionary::sm_tag_acro_form) == nullptr)
    return true;
  report_.dropped_form = true;
  dict->set_item(CPDFDictionary::sm_tag_acro_form, nullptr);
  dict->set_item("Perms", nullptr);
  dict->set_item("NeedsRendering", nullptr);
  return give_trailer_values_numbers(table) && table.store_object(table.root.as_ref(), catalog);
}

}  // namespace

bool CPDFFlattener::run(PDF_FLATTEN what) {
  report_ = {};
  return Flattening(doc_, report_, prints_).run(what);
}
