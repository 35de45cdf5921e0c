// The structure tree of the result: the keys of pages and objects, the elements at its top, the parent tree, and what
// the catalogue says of tags.
#include <algorithm>
#include <new>

#include "sheaf/document/merge/merge_structure.h"
#include "sheaf/document/names/number_tree.h"
#include "sheaf/object/array.h"

namespace sheaf {

namespace {

// The first number that is too high for an identifier on a page with `count` of them: the list would be longer than the
// page.
std::int32_t identifier_limit(std::size_t count) {
  constexpr std::size_t kAtLeast = 1 << 16;
  constexpr std::size_t kPerSequence = 8;
  return static_cast<std::int32_t>(std::min(kAtLeast + kPerSequence * count, std::size_t{INT32_MAX}));
}

}  // namespace

// A key for each page, form and object; the key of a page or form is followed by the list of its
// elements, by marked-content identifier.
void MergeStructure::enter_contents(std::size_t first) {
  std::stable_sort(contents_.begin() + first, contents_.end(), [](const Content& a, const Content& b) {
    return a.owner != b.owner ? a.owner < b.owner : a.sequence < b.sequence;
  });
  for (std::size_t at = first; at < contents_.size();) {
    std::size_t end = at;
    while (end < contents_.size() && contents_[end].owner == contents_[at].owner)
      ++end;
    const std::int32_t owner = contents_[at].owner;
    const bool whole = contents_[end - 1].sequence < 0;
    const std::int32_t limit = identifier_limit(end - at);
    PDF_REF value = contents_[at].element;
    if (!whole) {
      Freed<CPDFObj> list;
      list.take_array(new (std::nothrow) CPDFArray);
      for (; at < end && list.as_array() != nullptr; ++at) {
        const std::int32_t sequence = contents_[at].sequence;
        if (sequence < list.as_array()->count || sequence >= limit)
          continue;
        const CPDFObj none{};
        while (list.as_array()->count < sequence)
          list.as_array()->append(&none);
        list.as_array()->append_ref(contents_[at].element);
      }
      value = {table_.alloc_obj_num(), 0};
      table_.store_object(value, list);
    }
    at = end;
    if (owner >= first_num_ && keys_.push({next_key_, whole}))
      object_keys_.set(owner - first_num_ + 1, static_cast<std::int32_t>(keys_.size()));
    entries_.push({next_key_++, value});
  }
}

void MergeStructure::set_key(std::int32_t num, CPDFDictionary& dict) const {
  const std::int32_t index = num >= first_num_ ? object_keys_.get(num - first_num_ + 1) - 1 : -1;
  if (index < 0)
    return;
  const ObjectKey& key = keys_[static_cast<std::size_t>(index)];
  dict.set_item_int(key.whole ? "StructParent" : "StructParents", key.key);
}

void MergeStructure::put(CPDFDictionary& catalog) {
  if (tops_.empty())
    return;
  Freed<CPDFObj> root;
  if (has_own_)
    root = table_.object(root_);
  if (root.as_dict() == nullptr)
    root.take_dict(new (std::nothrow) CPDFDictionary);
  CPDFDictionary* const dict = root.as_dict();
  if (dict == nullptr)
    return;
  dict->set_item_name(CPDFDictionary::sm_tag_type, kRoot);
  put_tops(*dict);
  put_parent_tree(*dict);
  names_.put(*dict);
  if (namespaces_.as_array() != nullptr) {
    Freed<CPDFObj> all = table_.value(root.as_dict(), "Namespaces");
    for (std::int32_t i = 0; all.as_array() != nullptr && i < namespaces_.as_array()->count; ++i)
      all.as_array()->append_moved(namespaces_.as_array()->items[i]);
    dict->move_item("Namespaces", all.as_array() != nullptr ? static_cast<CPDFObj&>(all) : namespaces_);
  }
  table_.store_object(root_, root);
  catalog.set_item_ref(kRoot, root_);
  put_marks(catalog);
}

// Elements of several sources are in one document element; those after a document's own beside its.
void MergeStructure::put_tops(CPDFDictionary& root) {
  const CPDFObj* const own = root.get_item("K");
  Freed<CPDFObj> kids = table_.value(own);
  if (kids.as_array() == nullptr) {
    Freed<CPDFObj> made;
    made.take_array(new (std::nothrow) CPDFArray);
    if (own != nullptr && made.as_array() != nullptr)
      made.as_array()->append(own);
    kids.move_from(made);
  }
  CPDFArray* const list = kids.as_array();
  if (list == nullptr)
    return;
  const bool joins = !has_own_ && tops_[0].source != tops_.back().source;
  Cleared<CPDFArray> below;
  const PDF_REF document{joins ? table_.alloc_obj_num() : 0, 0};
  for (const Top& top : tops_) {
    CPDFDictionary* const element = target_.stored_dict(top.ref);
    if (joins && element != nullptr)
      element->set_item_ref("P", document);
    (joins ? below : *list).append_ref(top.ref);
  }
  if (joins) {
    Cleared<CPDFDictionary> entry;
    entry.set_item_name(CPDFDictionary::sm_tag_type, "StructElem");
    entry.set_item_name("S", "Document");
    entry.set_item_ref("P", root_);
    entry.set_item_arr("K", &below);
    table_.store_dict(document, &entry);
    kids.as_array()->append_ref(document);
  }
  root.move_item("K", kids);
}

// The document's own parent tree stays as it is, and becomes the first branch of the new one.
void MergeStructure::put_parent_tree(CPDFDictionary& root) {
  NumberTreeWriter writer(table_);
  for (const Entry& entry : entries_)
    writer.add(entry.key, entry.value);
  const CPDFObj* const item = root.get_item("ParentTree");
  const PDF_REF tree = writer.store_after(item);
  if (tree.num != 0)
    root.set_item_ref("ParentTree", tree);
  root.set_item_int("ParentTreeNextKey", next_key_);
}

// A document of which only a part has tags is marked as tagged too, so that readers use those tags; "Suspects" says
// that it may not be tagged throughout.
void MergeStructure::put_marks(CPDFDictionary& catalog) {
  Freed<CPDFObj> marks = table_.value(&catalog, "MarkInfo");
  if (marks.as_dict() == nullptr)
    marks.take_dict(new (std::nothrow) CPDFDictionary);
  if (marks.as_dict() == nullptr || !is_marked_)
    return;
  marks.as_dict()->set_item_bool("Marked", 1);
  if (untagged_ > 0)
    marks.as_dict()->set_item_bool("Suspects", 1);
  if (has_user_properties_)
    marks.as_dict()->set_item_bool("UserProperties", 1);
  catalog.move_item("MarkInfo", marks);
}

}  // namespace sheaf
