// Elements are visited from the root on a stack of the walk's own, and stored when they hold something.
#include "sheaf/document/merge/merge_structure.h"

#include <algorithm>
#include <new>

#include "sheaf/document/names/number_tree.h"
#include "sheaf/object/array.h"

namespace sheaf {

namespace {

constexpr std::size_t kMostElements = 8'000'000;
constexpr const char* kRoot = "StructTreeRoot";

std::int32_t number_at(const CPDFDictionary& dict, const char* key) {
  const CPDFObj* const item = dict.get_item(key);
  return item != nullptr ? item->as_ref().num : 0;
}

bool is_whole_object(const CPDFDictionary& item) {
  return item.get_item("Obj") != nullptr;
}

// The numbers from `limit` on cannot be identifiers of a page with so many: such a list would be
// longer than the page.
std::int32_t identifier_limit(std::size_t count) {
  constexpr std::size_t kAtLeast = 1 << 16;
  constexpr std::size_t kPerSequence = 8;
  return static_cast<std::int32_t>(std::min(kAtLeast + kPerSequence * count, std::size_t{INT32_MAX}));
}

}  // namespace

void MergeStructure::load() {
  Freed<CPDFObj> catalog;
  Freed<CPDFObj> root;
  table_.resolve(catalog, &table_.root);
  if (catalog.as_dict() == nullptr)
    return;
  const CPDFObj* const item = catalog.as_dict()->get_item(kRoot);
  table_.resolve(root, item);
  if (root.as_dict() == nullptr || item->tag != kTagRef)
    return;
  has_own_ = true;
  root_ = item->as_ref();
  names_.load(*root.as_dict());
  Freed<CPDFObj> next;
  table_.resolve(next, root.as_dict()->get_item("ParentTreeNextKey"));
  std::int32_t least = 0;
  std::int32_t greatest = -1;
  number_tree_limits(table_, root.as_dict()->get_item("ParentTree"), least, greatest);
  next_key_ = std::max({next.to_int(), greatest + 1, 0});
}

bool MergeStructure::is_element(const CPDFDictionary& dict) const {
  return dict.get_item("S") != nullptr && !is_whole_object(dict) && dict.get_item("MCID") == nullptr;
}

void MergeStructure::note_content(std::int32_t index, bool comes) {
  if (index < 0)
    return;
  Element& element = elements_[static_cast<std::size_t>(index)];
  element.holds_kept = element.holds_kept || comes;
  element.holds_other = element.holds_other || !comes;
}

bool MergeStructure::content_comes(const MergeSource& source, const CPDFDictionary& item, std::int32_t page) const {
  const std::int32_t own = number_at(item, "Pg");
  if (is_whole_object(item))
    return source.copy_of(number_at(item, "Obj")).num != 0 && (own == 0 || source.wanted.has(own));
  if (!source.wanted.has(own != 0 ? own : page))
    return false;
  return item.get_item("Stm") == nullptr || source.copy_of(number_at(item, "Stm")).num != 0;
}

void MergeStructure::look_at_kid(MergeSource& source, const CPDFObj& kid, std::int32_t index,
                                 GrowArray<Element>& waiting) {
  const std::int32_t page = index >= 0 ? elements_[static_cast<std::size_t>(index)].page : 0;
  if (kid.tag == kTagInt)
    note_content(index, source.wanted.has(page));
  else if (kid.as_dict() != nullptr && !is_element(*kid.as_dict()))
    note_content(index, content_comes(source, *kid.as_dict(), page));
  else if (kid.tag == kTagRef && index_of_.get(kid.as_ref().num) == 0)
    waiting.push({kid.as_ref(), index, page, false, false, false});
  else
    target_.note(PDF_MERGE_FATE::kDropped, "structure elements");
}

// All elements below the root, parents in front of what they hold.
void MergeStructure::list(MergeSource& source, const CPDFObj* top) {
  GrowArray<Element> waiting;
  Freed<CPDFObj> obj;
  Freed<CPDFObj> kids;
  const auto look_at = [&](const CPDFObj* item, std::int32_t index) {
    source.table.resolve(kids, item);
    if (kids.as_array() == nullptr) {
      if (!kids.is_null())
        look_at_kid(source, *item, index, waiting);
      return;
    }
    for (std::int32_t i = kids.as_array()->count; i-- > 0;)
      look_at_kid(source, kids.as_array()->items[i], index, waiting);
  };
  look_at(top, -1);
  while (!waiting.empty() && elements_.size() < kMostElements) {
    Element element = waiting.back();
    waiting.pop();
    if (index_of_.get(element.ref.num) != 0)
      continue;
    source.table.get_entity(obj, element.ref);
    const CPDFDictionary* const dict = obj.as_dict();
    if (dict == nullptr)
      continue;
    if (!is_element(*dict)) {
      note_content(element.parent, content_comes(source, *dict, element.page));
      continue;
    }
    const std::int32_t own = number_at(*dict, "Pg");
    element.page = own != 0 ? own : element.page;
    const auto index = static_cast<std::int32_t>(elements_.size());
    if (!index_of_.set(element.ref.num, index + 1) || !elements_.push(element))
      return;
    look_at(dict->get_item("K"), index);
  }
}

// An element and, in front of it, those above it that are not listed yet.
void MergeStructure::add_with_parents(MergeSource& source, const PDF_REF& element) {
  constexpr std::size_t kMostLevels = 4096;
  GrowArray<PDF_REF> chain;
  Freed<CPDFObj> obj;
  PDF_REF above = element;
  while (above.num > 0 && index_of_.get(above.num) == 0 && chain.size() < kMostLevels) {
    source.table.get_entity(obj, above);
    if (obj.as_dict() == nullptr || !is_element(*obj.as_dict()))
      break;  // the root
    chain.push(above);
    above = {number_at(*obj.as_dict(), "P"), 0};
  }
  std::int32_t parent = index_of_.get(above.num) - 1;
  while (!chain.empty()) {
    const PDF_REF ref = chain.back();
    chain.pop();
    if (index_of_.get(ref.num) != 0)
      continue;
    source.table.get_entity(obj, ref);
    const std::int32_t own = obj.as_dict() != nullptr ? number_at(*obj.as_dict(), "Pg") : 0;
    const std::int32_t page = own != 0 || parent < 0 ? own : elements_[static_cast<std::size_t>(parent)].page;
    const auto index = static_cast<std::int32_t>(elements_.size());
    if (!index_of_.set(ref.num, index + 1) || !elements_.push({ref, parent, page, true, false, false}))
      return;
    parent = index;
  }
}

// Kids that hold nothing have no place in a parent tree. They are looked for where an element has few,
// as the row of a table does.
void MergeStructure::add_empty_kids(MergeSource& source, std::int32_t index) {
  constexpr std::int32_t kMostKids = 64;
  Freed<CPDFObj> obj;
  Freed<CPDFObj> kids;
  source.table.get_entity(obj, elements_[static_cast<std::size_t>(index)].ref);
  source.table.resolve(kids, obj.as_dict() != nullptr ? obj.as_dict()->get_item("K") : nullptr);
  if (kids.as_array() == nullptr || kids.as_array()->count > kMostKids)
    return;
  for (std::int32_t i = 0; i < kids.as_array()->count; ++i) {
    const PDF_REF kid = kids.as_array()->items[i].as_ref();
    if (kid.num < 1 || index_of_.get(kid.num) != 0)
      continue;
    source.table.get_entity(obj, kid);
    if (obj.as_dict() == nullptr || !is_element(*obj.as_dict()))
      continue;
    Element& parent = elements_[static_cast<std::size_t>(index)];
    const bool is_empty = obj.as_dict()->get_item("K") == nullptr;
    parent.holds_other = parent.holds_other || !is_empty;
    const auto at = static_cast<std::int32_t>(elements_.size());
    if (is_empty && index_of_.set(kid.num, at + 1))
      elements_.push({kid, index, parent.page, false, false, false});
  }
}

// The elements that the source's parent tree gives for what came along, which is little, so that the
// whole tree need not be read. False when it gives none.
bool MergeStructure::list_by_parent_tree(MergeSource& source, const CPDFDictionary& root) {
  NumberMap wanted;
  for (std::uint32_t i = source.first_slot; i < table_.new_obj_count; ++i) {
    const CPDFDictionary* const dict = table_.new_objs[i].obj.as_dict_or_stream();
    if (dict == nullptr || static_cast<std::int32_t>(table_.new_objs[i].num) < source.first_num)
      continue;
    for (const char* key : {"StructParent", "StructParents"}) {
      const CPDFObj* const item = dict->get_item(key);
      if (item != nullptr && item->tag == kTagInt && item->as_int() >= 0 && item->as_int() < VisitedSet::kMostNum)
        wanted.set(item->as_int() + 1, 1);
    }
  }
  number_tree_walk(source.table, root.get_item("ParentTree"), [&](std::int32_t key, const CPDFObj& value) {
    if (key < 0 || key >= VisitedSet::kMostNum || wanted.get(key + 1) == 0)
      return;
    Freed<CPDFObj> list;
    source.table.resolve(list, &value);
    if (list.as_array() == nullptr)
      add_with_parents(source, value.as_ref());
    for (std::int32_t i = 0; list.as_array() != nullptr && i < list.as_array()->count; ++i)
      add_with_parents(source, list.as_array()->items[i].as_ref());
  });
  const auto count = static_cast<std::int32_t>(elements_.size());
  for (std::int32_t i = 0; i < count; ++i)
    add_empty_kids(source, i);
  return count > 0;
}

void MergeStructure::choose(const MergeSource& source) {
  for (std::size_t i = elements_.size(); i-- > 0;) {
    const Element& element = elements_[i];
    if (element.parent < 0)
      continue;
    Element& parent = elements_[static_cast<std::size_t>(element.parent)];
    parent.holds_kept = parent.holds_kept || element.holds_kept;
    parent.holds_other = parent.holds_other || element.holds_other;
  }
  for (Element& element : elements_) {
    const Element* const parent = element.parent >= 0 ? &elements_[static_cast<std::size_t>(element.parent)] : nullptr;
    const bool is_empty = !element.holds_kept && !element.holds_other;
    element.kept = source.takes_all || element.holds_kept ||
                   (is_empty && parent != nullptr && parent->kept && !parent->holds_other);
    if (element.kept)
      kept_.visit(element.ref.num);
  }
}

void MergeStructure::take(MergeSource& source) {
  elements_.clear();
  index_of_.clear();
  kept_.clear();
  contents_.clear();
  keys_.clear();
  object_keys_.clear();
  first_num_ = source.first_num;
  Freed<CPDFObj> root;
  source.read(root, kRoot);
  if (root.as_dict() == nullptr) {
    ++untagged_;
    return;
  }
  if (!source.takes_few || !list_by_parent_tree(source, *root.as_dict()))
    list(source, root.as_dict()->get_item("K"));
  choose(source);
  std::int32_t count = 0;
  for (const Element& element : elements_)
    count += element.kept ? 1 : 0;
  target_.note(PDF_MERGE_FATE::kJoined, "structure elements", count);
  target_.note(PDF_MERGE_FATE::kDropped, "structure elements", static_cast<std::int32_t>(elements_.size()) - count);
  if (count == 0)
    return;
  if (root_.num == 0)
    root_ = {table_.alloc_obj_num(), 0};
  names_.start(source, *root.as_dict());
  CPDFObj item{};
  for (const Element& element : elements_) {
    item.set_ref(element.ref);
    if (!element.kept)
      source.leave_out(&item);
    else if (source.is_mapped(element.ref.num) && source.context->map[element.ref.num] == 0)
      source.context->map[element.ref.num] = static_cast<std::uint32_t>(table_.alloc_obj_num());
  }
  for (const Element& element : elements_) {
    if (element.kept)
      store(source, element);
  }
  take_tops(source);
  enter_contents();
}

void MergeStructure::store(MergeSource& source, const Element& element) {
  Freed<CPDFObj> obj;
  source.table.get_entity(obj, element.ref);
  const PDF_REF made = source.copy_of(element.ref.num);
  if (obj.as_dict() == nullptr || made.num == 0)
    return;
  Freed<CPDFObj> kids;
  Freed<CPDFObj> related;
  if (const CPDFObj* item = obj.as_dict()->get_item("K")) {
    source.table.resolve(kids, item);
    if (kids.as_array() == nullptr && kids.tag != kTagInt)
      kids.copy_from(item);
  }
  source.table.resolve(related, obj.as_dict()->get_item("Ref"));
  const std::int32_t page = number_at(*obj.as_dict(), "Pg");
  for (const char* key : {"K", "P", "Pg", "Ref"})
    obj.as_dict()->set_item(key, nullptr);
  if (!source.import(obj))
    return;
  CPDFDictionary& entry = *obj.as_dict();
  const CPDFObj* const id = entry.get_item("ID");
  if (id != nullptr && id->tag == kTagString)
    names_.take_identifier(id->as_string(), made);
  names_.rename(entry);
  entry.set_item_ref(
      "P", element.parent >= 0 ? source.copy_of(elements_[static_cast<std::size_t>(element.parent)].ref.num) : root_);
  if (source.wanted.has(page))
    entry.set_item_ref("Pg", source.copy_of(page));
  Cleared<CPDFArray> kept;
  for (std::int32_t i = 0; related.as_array() != nullptr && i < related.as_array()->count; ++i) {
    const std::int32_t num = related.as_array()->items[i].as_ref().num;
    if (kept_.has(num))
      kept.append_ref(source.copy_of(num));
  }
  if (kept.count > 0)
    entry.set_item_arr("Ref", &kept);
  store_kids(source, kids, element, made, entry);
  table_.store_object(made, obj);
}

void MergeStructure::store_kids(MergeSource& source, const CPDFObj& kids, const Element& element, const PDF_REF& made,
                                CPDFDictionary& entry) {
  const std::int32_t index = index_of_.get(element.ref.num) - 1;
  Cleared<CPDFArray> list;
  const auto take_kid = [&](const CPDFObj& kid) {
    const std::int32_t other = kid.tag == kTagRef ? index_of_.get(kid.as_ref().num) - 1 : -1;
    if (kid.tag == kTagInt && source.wanted.has(element.page)) {
      list.append_int(kid.as_int());
      contents_.push({source.copy_of(element.page).num, kid.as_int(), made});
    } else if (other >= 0) {
      // An element that several claim belongs to the one by which it was found.
      const Element& below = elements_[static_cast<std::size_t>(other)];
      if (below.kept && below.parent == index)
        list.append_ref(source.copy_of(below.ref.num));
    } else {
      Freed<CPDFObj> item;
      source.table.resolve(item, &kid);
      if (item.as_dict() != nullptr)
        take_content(source, *item.as_dict(), element.page, made, list);
    }
  };
  if (kids.as_array() == nullptr && !kids.is_null())
    take_kid(kids);
  for (std::int32_t i = 0; kids.as_array() != nullptr && i < kids.as_array()->count; ++i)
    take_kid(kids.as_array()->items[i]);
  if (list.count == 1)
    entry.move_item("K", list.items[0]);
  else if (list.count > 1)
    entry.set_item_arr("K", &list);
}

bool MergeStructure::take_content(MergeSource& source, const CPDFDictionary& item, std::int32_t page,
                                  const PDF_REF& made, CPDFArray& list) {
  if (is_element(item) || !content_comes(source, item, page))
    return false;
  const bool whole = is_whole_object(item);
  const PDF_REF stream = source.copy_of(number_at(item, "Stm"));
  const std::int32_t own = number_at(item, "Pg");
  Cleared<CPDFDictionary> entry;
  entry.set_item_name(CPDFDictionary::sm_tag_type, whole ? "OBJR" : "MCR");
  if (own != 0)
    entry.set_item_ref("Pg", source.copy_of(own));
  if (whole) {
    const PDF_REF object = source.copy_of(number_at(item, "Obj"));
    entry.set_item_ref("Obj", object);
    contents_.push({object.num, -1, made});
  } else {
    Freed<CPDFObj> sequence;
    source.table.resolve(sequence, item.get_item("MCID"));
    entry.set_item_int("MCID", sequence.to_int());
    if (stream.num != 0)
      entry.set_item_ref("Stm", stream);
    const PDF_REF owner = stream.num != 0 ? stream : source.copy_of(own != 0 ? own : page);
    contents_.push({owner.num, sequence.to_int(), made});
  }
  list.append_dict(&entry);
  return true;
}

// The elements at the top, in their order. Where the source is in another language than the document
// says, they say so themselves.
void MergeStructure::take_tops(MergeSource& source) {
  Freed<CPDFObj> catalog;
  Freed<CPDFObj> theirs;
  source.read(theirs, "Lang");
  table_.resolve(catalog, &table_.root);
  const CPDFObj* ours = catalog.as_dict() != nullptr ? catalog.as_dict()->get_item("Lang") : nullptr;
  if (target_.takes_settings())
    language_.copy_from(&theirs);
  else if (ours != nullptr && language_.is_null())
    table_.resolve(language_, ours);
  const PDF_String a = theirs.as_string();
  const PDF_String b = language_.as_string();
  const bool same = a.len == b.len && std::equal(a.data, a.data + a.len, b.data);
  Freed<CPDFObj> root;
  Freed<CPDFObj> kids;
  source.read(root, kRoot);
  const CPDFObj* const top = root.as_dict() != nullptr ? root.as_dict()->get_item("K") : nullptr;
  source.table.resolve(kids, top);
  const auto take_top = [&](const CPDFObj& kid) {
    const PDF_REF made = kept_.has(kid.as_ref().num) ? source.copy_of(kid.as_ref().num) : PDF_REF{0, 0};
    CPDFDictionary* const element = target_.stored_dict(made);
    if (element == nullptr || !tops_.push({made, target_.source}))
      return;
    if (!same && element->get_item("Lang") == nullptr)
      element->set_item_str("Lang", a.data, a.len);
  };
  if (kids.as_array() == nullptr && top != nullptr)
    take_top(*top);
  for (std::int32_t i = 0; kids.as_array() != nullptr && i < kids.as_array()->count; ++i)
    take_top(kids.as_array()->items[i]);
  Freed<CPDFObj> marks;
  Freed<CPDFObj> marked;
  source.read(marks, "MarkInfo");
  source.table.resolve(marked, marks.as_dict() != nullptr ? marks.as_dict()->get_item("Marked") : nullptr);
  if (marked.as_bool())
    is_marked_ = true;
  else
    ++untagged_;
  source.table.resolve(kids, root.as_dict() != nullptr ? root.as_dict()->get_item("Namespaces") : nullptr);
  if (kids.as_array() == nullptr || !source.import(kids))
    return;
  if (namespaces_.as_array() == nullptr) {
    namespaces_.move_from(kids);
    return;
  }
  for (std::int32_t i = 0; i < kids.as_array()->count; ++i)
    namespaces_.as_array()->append_moved(kids.as_array()->items[i]);
}

// A key for each page, form and object; behind the key of a page or form stands the list of its
// elements, by marked-content identifier.
void MergeStructure::enter_contents() {
  std::stable_sort(contents_.begin(), contents_.end(), [](const Content& a, const Content& b) {
    return a.owner != b.owner ? a.owner < b.owner : a.sequence < b.sequence;
  });
  for (std::size_t at = 0; at < contents_.size();) {
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
    table_.get_entity(root, root_);
  if (root.as_dict() == nullptr)
    root.take_dict(new (std::nothrow) CPDFDictionary);
  if (root.as_dict() == nullptr)
    return;
  root.as_dict()->set_item_name(CPDFDictionary::sm_tag_type, kRoot);
  put_tops(*root.as_dict());
  put_parent_tree(*root.as_dict());
  names_.put(*root.as_dict());
  if (namespaces_.as_array() != nullptr) {
    Freed<CPDFObj> all;
    table_.resolve(all, root.as_dict()->get_item("Namespaces"));
    for (std::int32_t i = 0; all.as_array() != nullptr && i < namespaces_.as_array()->count; ++i)
      all.as_array()->append_moved(namespaces_.as_array()->items[i]);
    root.as_dict()->move_item("Namespaces", all.as_array() != nullptr ? static_cast<CPDFObj&>(all) : namespaces_);
  }
  table_.store_object(root_, root);
  catalog.set_item_ref(kRoot, root_);
  put_marks(catalog);
}

// Elements of several sources stand in one document element; those behind a document's own beside its.
void MergeStructure::put_tops(CPDFDictionary& root) {
  Freed<CPDFObj> kids;
  const CPDFObj* const own = root.get_item("K");
  table_.resolve(kids, own);
  if (kids.as_array() == nullptr) {
    Freed<CPDFObj> list;
    list.take_array(new (std::nothrow) CPDFArray);
    if (list.as_array() == nullptr)
      return;
    if (own != nullptr)
      list.as_array()->append(own);
    kids.move_from(list);
  }
  const bool joins = !has_own_ && tops_[0].source != tops_.back().source;
  Cleared<CPDFArray> below;
  const PDF_REF document{joins ? table_.alloc_obj_num() : 0, 0};
  for (const Top& top : tops_) {
    CPDFDictionary* const element = target_.stored_dict(top.ref);
    if (joins && element != nullptr)
      element->set_item_ref("P", document);
    (joins ? below : *kids.as_array()).append_ref(top.ref);
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
  const PDF_REF tree = writer.store_behind(item);
  if (tree.num != 0)
    root.set_item_ref("ParentTree", tree);
  root.set_item_int("ParentTreeNextKey", next_key_);
}

// A document of which a part has no tags is marked all the same, or nobody would read the others; it
// says that it may not be tagged throughout.
void MergeStructure::put_marks(CPDFDictionary& catalog) {
  Freed<CPDFObj> marks;
  table_.resolve(marks, catalog.get_item("MarkInfo"));
  if (marks.as_dict() == nullptr)
    marks.take_dict(new (std::nothrow) CPDFDictionary);
  if (marks.as_dict() == nullptr || !is_marked_)
    return;
  marks.as_dict()->set_item_bool("Marked", 1);
  if (untagged_ > 0)
    marks.as_dict()->set_item_bool("Suspects", 1);
  catalog.move_item("MarkInfo", marks);
}

}  // namespace sheaf
