// Elements are visited from the root on a stack of the walk's own.
#include "sheaf/document/merge/source_elements.h"

#include "sheaf/object/array.h"

namespace sheaf {

namespace {

constexpr std::size_t kMostElements = 8'000'000;

}  // namespace

ContentPlace content_place(const CPDFDictionary& item) {
  ContentPlace place;
  place.page = number_at(item, "Pg");
  if (item.get_item("Obj") != nullptr)
    place.object = number_at(item, "Obj");
  if (item.get_item("Stm") != nullptr)
    place.stream = number_at(item, "Stm");
  return place;
}

bool content_comes(const MergeSource& source, const ContentPlace& place, std::int32_t page) {
  if (place.object >= 0)
    return source.copy_of(place.object).num != 0 && (place.page == 0 || source.wanted.has(place.page));
  if (!source.wanted.has(place.page != 0 ? place.page : page))
    return false;
  return place.stream < 0 || source.copy_of(place.stream).num != 0;
}

// Elements that are part of their parent become objects of the source, to which the parent then refers.
bool SourceElements::take_direct_kids(MergeSource& source, CPDFObj& kids, const PDF_REF& holder) {
  bool taken = false;
  const auto take = [&](CPDFObj& kid) {
    if (kid.as_dict() == nullptr || !is_structure_element(*kid.as_dict()))
      return;
    const PDF_REF made = source.make_object(kid);
    if (made.num != 0)
      kid.set_ref(made);
    taken = taken || made.num != 0;
  };
  take(kids);
  for (std::int32_t i = 0; kids.as_array() != nullptr && i < kids.as_array()->count; ++i)
    take(kids.as_array()->items[i]);
  if (!taken)
    return false;
  Freed<CPDFObj> obj = source.table.object(holder);
  if (obj.as_dict() == nullptr)
    return false;
  obj.as_dict()->set_item("K", &kids);
  return source.table.store_object(holder, obj);
}

void SourceElements::clear() {
  elements_.clear();
  index_of_.clear();
  kept_.clear();
  kept_count_ = 0;
}

void SourceElements::list(MergeSource& source, StructureIndex& index) {
  index_ = &index;
  if (!source.takes_few || !list_by_parent_tree(source)) {
    clear();
    if (index.is_walked)
      list_walked(source);
    else
      list_all(source);
  }
  choose(source);
}

// The kids of `holder`, which is the object `ref`: the root for index -1.
void SourceElements::look_at(MergeSource& source, const CPDFDictionary& holder, const PDF_REF& ref, std::int32_t index,
                             GrowArray<SourceElement>& waiting) {
  const CPDFObj* const item = holder.get_item("K");
  Freed<CPDFObj> kids = source.table.value(item);
  const bool is_direct = item != nullptr && item->tag != kTagRef;
  if (ref.num > 0 && (is_direct || kids.as_array() != nullptr))
    take_direct_kids(source, kids, ref);
  if (kids.as_array() == nullptr) {
    if (item != nullptr && !kids.is_null())
      look_at_kid(source, is_direct ? static_cast<CPDFObj&>(kids) : *item, index, waiting);
    return;
  }
  for (std::int32_t i = kids.as_array()->count; i-- > 0;)
    look_at_kid(source, kids.as_array()->items[i], index, waiting);
}

// All elements below the root, parents before what they hold. The walk makes objects of elements that
// are part of others, so what the index knew is read anew.
void SourceElements::list_all(MergeSource& source) {
  GrowArray<SourceElement> waiting;
  const CPDFObj* const place = source.entry("StructTreeRoot");
  Freed<CPDFObj> obj = source.table.value(place);
  index_->clear();
  records_walk_ = source.takes_few;
  if (obj.as_dict() != nullptr)
    look_at(source, *obj.as_dict(), place->as_ref(), -1, waiting);
  while (!waiting.empty() && elements_.size() < kMostElements) {
    SourceElement element = waiting.back();
    waiting.pop();
    if (index_of_.get(element.ref.num) != 0)
      continue;
    obj = source.table.object(element.ref);
    const CPDFDictionary* const dict = obj.as_dict();
    if (dict == nullptr)
      continue;
    if (!is_structure_element(*dict)) {
      take_content(source, element.parent, content_place(*dict));
      continue;
    }
    const std::int32_t own = number_at(*dict, "Pg");
    element.page = own != 0 ? own : element.page;
    const auto index = elements_.count();
    if (!index_of_.set(element.ref.num, index + 1) || !elements_.push(element))
      return;
    look_at(source, *dict, element.ref, index, waiting);
  }
  index_->is_walked = records_walk_;
  for (std::size_t i = 0; records_walk_ && index_->is_walked && i < elements_.size(); ++i) {
    SourceElement element = elements_[i];
    element.holds_kept = element.holds_other = false;
    index_->is_walked = index_->walked.push(element);
  }
}

// The same as the walk found it for an earlier part.
void SourceElements::list_walked(const MergeSource& source) {
  records_walk_ = false;
  for (const SourceElement& element : index_->walked) {
    if (!index_of_.set(element.ref.num, elements_.count() + 1) || !elements_.push(element))
      return;
  }
  for (const StructureIndex::Content& content : index_->contents)
    take_content(source, content.element, content.place);
  target_.note(PDF_MERGE_FATE::kDropped, "structure elements", index_->walk_dropped);
}

void SourceElements::take_content(const MergeSource& source, std::int32_t index, const ContentPlace& place) {
  if (index < 0)
    return;
  note_content(index, content_comes(source, place, elements_[index].page));
  if (records_walk_ && !index_->contents.push({index, place}))
    records_walk_ = false;
}

void SourceElements::note_content(std::int32_t index, bool comes) {
  SourceElement& element = elements_[index];
  element.holds_kept = element.holds_kept || comes;
  element.holds_other = element.holds_other || !comes;
}

void SourceElements::look_at_kid(MergeSource& source, const CPDFObj& kid, std::int32_t index,
                                 GrowArray<SourceElement>& waiting) {
  const std::int32_t page = index >= 0 ? elements_[index].page : 0;
  if (kid.tag == kTagInt) {
    take_content(source, index, {});
  } else if (kid.as_dict() != nullptr && !is_structure_element(*kid.as_dict())) {
    take_content(source, index, content_place(*kid.as_dict()));
  } else if (kid.tag == kTagRef && index_of_.get(kid.as_ref().num) == 0) {
    waiting.push({kid.as_ref(), index, page});
  } else {
    target_.note(PDF_MERGE_FATE::kDropped, "structure elements");
    ++index_->walk_dropped;
  }
}

// An element and, before it, those above it that are not listed yet.
void SourceElements::add_with_parents(const PDF_REF& element) {
  constexpr std::size_t kMostLevels = 4096;
  GrowArray<SourceElement> chain;
  Freed<CPDFObj> obj;
  PDF_REF above = element;
  const std::int32_t present = index_of_.get(element.num) - 1;
  if (present >= 0)
    elements_[present].holds_elements = false;
  while (above.num > 0 && index_of_.get(above.num) == 0 && chain.size() < kMostLevels) {
    const CPDFDictionary* const dict = index_->read(above, obj);
    if (dict == nullptr || !is_structure_element(*dict))
      break;  // the root
    SourceElement next{above, -1, number_at(*dict, "Pg"), true};
    next.is_big = index_->big_element(above.num) != nullptr;
    next.holds_elements = above.num != element.num;
    chain.push(next);
    above = {number_at(*dict, "P"), 0};
  }
  std::int32_t parent = index_of_.get(above.num) - 1;
  for (; !chain.empty(); chain.pop()) {
    SourceElement& next = chain.back();
    if (index_of_.get(next.ref.num) != 0)
      continue;
    next.parent = parent;
    if (next.page == 0 && parent >= 0)
      next.page = elements_[parent].page;
    parent = elements_.count();
    if (!index_of_.set(next.ref.num, parent + 1) || !elements_.push(next))
      return;
  }
}

// Kids that hold nothing have no place in a parent tree. They are looked for where an element has few,
// as the row of a table does. False when some are in the element itself.
bool SourceElements::add_empty_kids(MergeSource& source, std::int32_t index) {
  if (elements_[index].is_big)
    return true;
  Freed<CPDFObj> obj = source.table.object(elements_[index].ref);
  Freed<CPDFObj> kids = source.table.value(obj.as_dict(), "K");
  if (kids.as_array() == nullptr || index_->take_big_element(elements_[index].ref.num, obj, kids))
    return true;
  if (kids.as_array()->count > StructureIndex::kMostFewKids)
    return true;
  for (std::int32_t i = 0; i < kids.as_array()->count; ++i) {
    const PDF_REF kid = kids.as_array()->items[i].as_ref();
    if (const CPDFDictionary* direct = kids.as_array()->items[i].as_dict()) {
      if (is_structure_element(*direct))
        return false;  // no parent tree can give it
    }
    if (kid.num < 1 || index_of_.get(kid.num) != 0)
      continue;
    obj = source.table.object(kid);
    if (obj.as_dict() == nullptr || !is_structure_element(*obj.as_dict()))
      continue;
    SourceElement& parent = elements_[index];
    const bool is_empty = obj.as_dict()->get_item("K") == nullptr;
    parent.holds_other = parent.holds_other || !is_empty;
    const auto at = elements_.count();
    if (is_empty && index_of_.set(kid.num, at + 1))
      elements_.push({kid, index, parent.page});
  }
  return true;
}

// The keys in the parent tree of all that was taken, each once.
void SourceElements::find_wanted_keys(const MergeSource& source, GrowArray<std::int32_t>& keys) const {
  NumberMap wanted;
  for (std::uint32_t i = source.first_slot; i < table_.new_obj_count; ++i) {
    const CPDFDictionary* const dict = table_.new_objs[i].obj.as_dict_or_stream();
    if (dict == nullptr || table_.new_objs[i].num < source.first_num)
      continue;
    for (const char* key : {"StructParent", "StructParents"}) {
      const CPDFObj* const item = dict->get_item(key);
      if (item == nullptr || item->tag != kTagInt || item->as_int() < 0 || item->as_int() >= VisitedSet::kMostNum)
        continue;
      const std::int32_t number = item->as_int() + 1;
      if (wanted.get(number) == 0 && wanted.set(number, 1))
        keys.push(item->as_int());
    }
  }
}

// The elements that the source's parent tree gives for what was taken, which is little, so that the
// whole tree need not be read. False when it gives none.
bool SourceElements::list_by_parent_tree(MergeSource& source) {
  GrowArray<std::int32_t> keys;
  GrowArray<PDF_REF> parents;
  find_wanted_keys(source, keys);
  const StructureIndex::BigElement* const root = index_->root(source.entry("StructTreeRoot"));
  if (root == nullptr)
    return false;
  index_->find_parents(*root->body.as_dict(), keys, parents);
  for (const PDF_REF& parent : parents)
    add_with_parents(parent);
  const auto count = elements_.count();
  for (std::int32_t i = 0; i < count; ++i) {
    if (!add_empty_kids(source, i))
      return false;
  }
  return count > 0;
}

void SourceElements::choose(const MergeSource& source) {
  for (std::size_t i = elements_.size(); i-- > 0;) {
    const SourceElement& element = elements_[i];
    if (element.parent < 0)
      continue;
    SourceElement& parent = elements_[element.parent];
    parent.holds_kept = parent.holds_kept || element.holds_kept;
    parent.holds_other = parent.holds_other || element.holds_other;
  }
  for (std::int32_t i = elements_.count(); i-- > 0;) {
    SourceElement& element = elements_[i];
    if (element.parent < 0)
      continue;
    element.next_kid = elements_[element.parent].first_kid;
    elements_[element.parent].first_kid = i;
  }
  for (SourceElement& element : elements_) {
    const SourceElement* const parent = element.parent >= 0 ? &elements_[element.parent] : nullptr;
    const bool is_empty = !element.holds_kept && !element.holds_other;
    element.kept = source.takes_all || element.holds_kept ||
                   (is_empty && parent != nullptr && parent->kept && !parent->holds_other);
    if (element.kept && kept_.visit(element.ref.num))
      ++kept_count_;
  }
}

}  // namespace sheaf
