// The form of a source (ISO 32000-1, 12.7.2): its fields, and what they need from the form itself.
#include <algorithm>
#include <cstring>

#include "sheaf/document/merge/doc_merge_internal.h"

using namespace sheaf;

namespace {

constexpr std::size_t kMostNodes = 4'000'000;

bool same_text(const CPDFObj& a, const CPDFObj& b) {
  const PDF_String left = a.as_string();
  const PDF_String right = b.as_string();
  return left.len == right.len &&
         (left.len == 0 || std::memcmp(left.data, right.data, static_cast<std::size_t>(left.len)) == 0);
}

}  // namespace

// Where there is one, all pages are read for their annotations.
bool CPDFDocMerge::has_form(Source& src) {
  Freed<CPDFObj> catalog;
  src.table.resolve(catalog, &src.table.root);
  return catalog.as_dict() != nullptr && catalog.as_dict()->get_item(CPDFDictionary::sm_tag_acro_form) != nullptr;
}

// Fields come in front of the pages: what a page brings along counts as imported, and would not be
// entered into the form.
void CPDFDocMerge::add_form(Source& src) {
  Freed<CPDFObj> catalog;
  Freed<CPDFObj> form;
  Freed<CPDFObj> fields;
  src.table.resolve(catalog, &src.table.root);
  if (catalog.as_dict() == nullptr)
    return;
  src.table.resolve(form, catalog.as_dict()->get_item(CPDFDictionary::sm_tag_acro_form));
  if (form.as_dict() == nullptr)
    return;
  src.table.resolve(fields, form.as_dict()->get_item("Fields"));
  if (fields.as_array() == nullptr || fields.as_array()->count == 0)
    return;
  leave_out_fields(src, *fields.as_array());
  const std::int32_t first_field = form_.field_count();
  table_.merge_acro_form(&src.table, src.context, &form_);
  if (form_.field_count() == first_field)
    return;
  take_form_settings(src, *form.as_dict(), first_field);
  take_form_resources(src, *form.as_dict());
}

// Leaves out the annotations of pages that do not come along, and the fields that have no others.
void CPDFDocMerge::leave_out_fields(Source& src, const CPDFArray& fields) {
  Freed<CPDFObj> obj;
  Freed<CPDFObj> list;
  for (int i = 0; i < src.doc.page_count(); ++i) {
    if (src.wanted.has(src.doc.page_ref(i).num))
      continue;
    src.table.get_entity(obj, src.doc.page_ref(i));
    src.table.resolve(list, obj.as_dict() != nullptr ? obj.as_dict()->get_item("Annots") : nullptr);
    for (std::int32_t k = 0; list.as_array() != nullptr && k < list.as_array()->count; ++k)
      leave_out(src, list.as_array()->items + k);
  }
  struct Node {
    CPDFObj ref;
    std::int32_t parent;
    std::int32_t kids;
    std::int32_t absent;
  };
  GrowArray<Node> nodes;
  VisitedSet visited;
  const auto add = [&](const CPDFObj& item, std::int32_t parent) {
    if (item.tag == kTagRef && nodes.size() < kMostNodes && visited.visit(item.as_ref().num))
      nodes.push({item, parent, 0, 0});
  };
  for (std::int32_t i = 0; i < fields.count; ++i)
    add(fields.items[i], -1);
  for (std::size_t at = 0; at < nodes.size(); ++at) {
    src.table.get_entity(obj, nodes[at].ref.as_ref());
    src.table.resolve(list, obj.as_dict() != nullptr ? obj.as_dict()->get_item("Kids") : nullptr);
    const std::size_t before = nodes.size();
    for (std::int32_t k = 0; list.as_array() != nullptr && k < list.as_array()->count; ++k)
      add(list.as_array()->items[k], static_cast<std::int32_t>(at));
    nodes[at].kids = static_cast<std::int32_t>(nodes.size() - before);
  }
  // Kids stand behind their parents.
  for (std::size_t at = nodes.size(); at-- > 0;) {
    const Node& node = nodes[at];
    const std::int32_t num = node.ref.as_ref().num;
    if (node.kids > 0 && node.absent == node.kids)
      leave_out(src, &node.ref);
    const bool absent = src.is_mapped(num) && src.context->map[num] == static_cast<std::uint32_t>(hole_);
    if (absent && node.parent >= 0)
      ++nodes[static_cast<std::size_t>(node.parent)].absent;
  }
}

// Default appearance and alignment: the first source's become the form's; those of others go into
// their own fields. Whether appearances must be made, and the signature flags, add up.
void CPDFDocMerge::take_form_settings(Source& src, const CPDFDictionary& form, std::int32_t first_field) {
  Freed<CPDFObj> theirs;
  for (const char* key : {"DA", "Q"}) {
    src.table.resolve(theirs, form.get_item(key));
    CPDFDictionary* ours = form_.edit_dict();
    const CPDFObj* present = ours != nullptr ? ours->get_item(key) : nullptr;
    const bool same = present != nullptr && present->tag == theirs.tag && present->to_int() == theirs.to_int() &&
                      same_text(*present, theirs);
    if (ours == nullptr || theirs.is_null() || same)
      continue;
    if (first_field == 0 && present == nullptr) {
      ours->set_item(key, &theirs);
      continue;
    }
    for (std::int32_t i = first_field; i < form_.field_count(); ++i) {
      const PDF_REF ref = form_.field_at(i)->ref();
      const PDF_NEWOBJ* slot = form_.field_at(i)->is_top() ? table_.get_xref2(ref.num, ref.gen) : nullptr;
      CPDFDictionary* const field = slot != nullptr ? slot->obj.as_dict() : nullptr;
      if (field != nullptr && field->get_item(key) == nullptr)
        field->set_item(key, &theirs);
    }
  }
  CPDFDictionary* const ours = form_.edit_dict();
  if (ours == nullptr)
    return;
  src.table.resolve(theirs, form.get_item("NeedAppearances"));
  if (theirs.as_bool())
    ours->set_item_bool("NeedAppearances", 1);
  src.table.resolve(theirs, form.get_item("SigFlags"));
  const CPDFObj* flags = ours->get_item("SigFlags");
  if (theirs.tag == kTagInt && theirs.as_int() != 0)
    ours->set_item_int("SigFlags", theirs.as_int() | (flags != nullptr ? flags->as_int() : 0));
}

// Default resources: what has no entry of its name yet comes along. Where a name is taken, the first
// source's stays: appearances that are there name their own resources.
void CPDFDocMerge::take_form_resources(Source& src, const CPDFDictionary& form) {
  Freed<CPDFObj> resources;
  src.table.resolve(resources, form.get_item("DR"));
  for (std::int32_t i = 0; resources.as_dict() != nullptr && i < resources.as_dict()->count; ++i) {
    const CPDFDictItem& category = *resources.as_dict()->items[i];
    Freed<CPDFObj> theirs;
    src.table.resolve(theirs, &category);
    if (theirs.as_dict() == nullptr)
      continue;
    CPDFDictionary* ours = form_.edit_dict();
    const CPDFObj* all = ours != nullptr ? ours->get_item("DR") : nullptr;
    const CPDFObj* same =
        all != nullptr && all->as_dict() != nullptr ? all->as_dict()->get_item(category.key()) : nullptr;
    Cleared<CPDFDictionary> merged;
    merged.copy_from(same != nullptr ? same->as_dict() : nullptr);
    Cleared<CPDFDictionary> added;
    for (std::int32_t k = 0; k < theirs.as_dict()->count; ++k) {
      CPDFDictItem& item = *theirs.as_dict()->items[k];
      if (merged.get_item(item.key()) == nullptr)
        added.move_item(item.key(), item);
    }
    if (added.count == 0 || table_.clone_dict(&src.table, src.context, &added) == 0)
      continue;
    for (std::int32_t k = 0; k < added.count; ++k)
      merged.move_item(added.items[k]->key(), *added.items[k]);
    ours = form_.edit_dict();
    if (ours == nullptr)
      return;
    if (ours->get_item("DR") == nullptr || ours->get_item("DR")->as_dict() == nullptr) {
      const Cleared<CPDFDictionary> none;
      ours->set_item_dict("DR", &none);
    }
    if (ours->get_item("DR") != nullptr && ours->get_item("DR")->as_dict() != nullptr)
      ours->get_item("DR")->as_dict()->set_item_dict(category.key(), &merged);
  }
}
