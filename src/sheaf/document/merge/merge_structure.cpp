// Elements that are taken are stored in the order in which they were listed, parents first.
#include "sheaf/document/merge/merge_structure.h"

#include <algorithm>
#include <new>

#include "sheaf/document/merge/doc_merge.h"
#include "sheaf/document/names/number_tree.h"
#include "sheaf/object/array.h"

namespace sheaf {

namespace {

// Elements for further copies of pages, in one source.
constexpr std::size_t kMostCopies = 1 << 20;

}  // namespace

void MergeStructure::load() {
  Freed<CPDFObj> catalog = table_.catalog();
  if (catalog.as_dict() == nullptr)
    return;
  const CPDFObj* const item = catalog.as_dict()->get_item(kRoot);
  Freed<CPDFObj> root = table_.value(item);
  if (root.as_dict() == nullptr || item->tag != kTagRef)
    return;
  has_own_ = true;
  root_ = item->as_ref();
  names_.load(*root.as_dict());
  Freed<CPDFObj> next = table_.value(root.as_dict(), "ParentTreeNextKey");
  std::int32_t least = 0;
  std::int32_t greatest = -1;
  number_tree_limits(table_, root.as_dict()->get_item("ParentTree"), least, greatest);
  next_key_ = std::max({next.to_int(), greatest + 1, 0});
}

void MergeStructure::take(MergeSource& source) {
  elements_.clear();
  contents_.clear();
  keys_.clear();
  object_keys_.clear();
  first_num_ = source.first_num;
  index_ = target_.options.index != nullptr ? target_.options.index->parts() : nullptr;
  if (index_ == nullptr)
    index_ = &own_index_;
  const ScopeGuard end([this] { own_index_.clear(); });
  index_->start(source.table);
  if (index_->root(source.entry(kRoot)) == nullptr) {
    ++untagged_;
    return;
  }
  elements_.list(source, *index_);
  const StructureIndex::BigElement* const root = index_->root(source.entry(kRoot));
  const std::int32_t count = elements_.kept_count();
  target_.note(PDF_MERGE_FATE::kJoined, "structure elements", count);
  target_.note(PDF_MERGE_FATE::kDropped, "structure elements", static_cast<std::int32_t>(elements_.size()) - count);
  if (count == 0 || root == nullptr)
    return;
  if (root_.num == 0)
    root_ = {table_.alloc_obj_num(), 0};
  names_.start(source, *root->body.as_dict());
  CPDFObj item{};
  for (const SourceElement& element : elements_) {
    item.set_ref(element.ref);
    if (!element.kept)
      source.leave_out(&item);
    else if (source.is_mapped(element.ref.num) && source.context->map[element.ref.num] == 0)
      source.context->map[element.ref.num] = object_index(table_.alloc_obj_num());
  }
  for (const SourceElement& element : elements_) {
    if (element.kept)
      store(source, element);
  }
  take_tops(source, *root);
  take_root(source, *root->body.as_dict());
  enter_contents(0);
  take_repeated(source);
}

// Each further copy of a page gets copies of the elements that hold content of the page, and of those
// above them; what is at the top and holds none itself is shared.
void MergeStructure::take_repeated(MergeSource& source) {
  const std::size_t first_contents = contents_.size();
  for (std::size_t at = 0; at < source.repeated.size();) {
    std::size_t end = at;
    while (end < source.repeated.size() && source.repeated[end].copy == source.repeated[at].copy)
      ++end;
    GrowArray<std::int32_t> chosen;
    choose_for_copy(source, at, end, first_contents, chosen);
    copied_ += chosen.size();
    if (copied_ <= kMostCopies)
      store_copies(source, at, end, chosen);
    else
      target_.note(PDF_MERGE_FATE::kDropped, "structure elements", static_cast<std::int32_t>(chosen.size()));
    at = end;
  }
  enter_contents(first_contents);
}

// The indices of the elements for one further copy, which is entries `at` to `end` of those repeated.
void MergeStructure::choose_for_copy(const MergeSource& source, std::size_t at, std::size_t end,
                                     std::size_t first_contents, GrowArray<std::int32_t>& chosen) {
  const Content* const last = contents_.begin() + first_contents;
  chosen_.clear();
  const auto choose = [&](std::int32_t index) {
    if (chosen_.visit(index + 1))
      chosen.push(index);
  };
  for (; at < end; ++at) {
    const std::int32_t owner = source.copy_of(source.repeated[at].num).num;
    const Content* content = std::lower_bound(static_cast<const Content*>(contents_.begin()), last, owner,
                                              [](const Content& a, std::int32_t num) { return a.owner < num; });
    for (; owner > 0 && content != last && content->owner == owner; ++content)
      choose(content->index);
  }
  for (std::size_t i = 0; i < chosen.size(); ++i) {
    const std::int32_t parent = elements_.at(chosen[i]).parent;
    if (parent >= 0 && elements_.at(parent).parent >= 0)
      choose(parent);
  }
  std::sort(chosen.begin(), chosen.end());
}

void MergeStructure::store_copies(MergeSource& source, std::size_t at, std::size_t end,
                                  const GrowArray<std::int32_t>& chosen) {
  std::uint32_t* const map = source.context->map;
  GrowArray<std::uint32_t> before;
  const auto lead_to = [&](std::int32_t num, std::uint32_t made) {
    if (before.push(map[num]))
      map[num] = made;
  };
  copied_page_ = source.repeated[at].num;
  copied_objects_.clear();
  for (std::size_t i = at; i < end; ++i) {
    lead_to(source.repeated[i].num, source.repeated[i].made.index());
    copied_objects_.visit(source.repeated[i].num);
  }
  for (const std::int32_t index : chosen)
    lead_to(elements_.at(index).ref.num, object_index(table_.alloc_obj_num()));
  names_.start_copy();
  const bool is_complete = before.size() == end - at + chosen.size();
  for (std::size_t i = 0; is_complete && i < chosen.size(); ++i) {
    const SourceElement& element = elements_.at(chosen[i]);
    store(source, element);
    const PDF_REF made = source.copy_of(element.ref.num);
    if (element.parent < 0)
      tops_.push({made, target_.source});
    else if (!chosen_.has(element.parent + 1))
      add_kid(source.copy_of(elements_.at(element.parent).ref.num), made);
  }
  for (std::size_t i = 0; is_complete && i < chosen.size(); ++i) {
    if (CPDFDictionary* const copy = target_.stored_dict(source.copy_of(elements_.at(chosen[i]).ref.num)))
      names_.rename_copied_headers(*copy);
  }
  copied_page_ = 0;
  for (std::size_t i = before.size(); i-- > 0;) {
    const std::size_t objects = end - at;
    map[i < objects ? source.repeated[at + i].num : elements_.at(chosen[i - objects]).ref.num] = before[i];
  }
}

// Puts an element after the kids of another one that was stored.
void MergeStructure::add_kid(const PDF_REF& parent, const PDF_REF& kid) {
  CPDFDictionary* const dict = target_.stored_dict(parent);
  CPDFObj* const kids = dict != nullptr ? dict->get_item("K") : nullptr;
  if (kids != nullptr && kids->as_array() != nullptr) {
    kids->as_array()->append_ref(kid);
  } else if (dict != nullptr) {
    Cleared<CPDFArray> list;
    if (kids != nullptr)
      list.append_moved(*kids);
    list.append_ref(kid);
    dict->set_item_arr("K", &list);
  }
}

// Whether the content of a page of the source belongs to what is stored at this moment.
bool MergeStructure::takes_page(const MergeSource& source, std::int32_t page) const {
  return copied_page_ == 0 ? source.wanted.has(page) : page == copied_page_;
}

void MergeStructure::store(MergeSource& source, const SourceElement& element) {
  Freed<CPDFObj> obj;
  const PDF_REF made = source.copy_of(element.ref.num);
  if (source.takes_few)
    index_->read(element.ref, obj);
  else
    source.table.get_entity(obj, element.ref);
  if (const StructureIndex::BigElement* const big_element = index_->big_element(element.ref.num))
    obj.copy_from(&big_element->body);
  if (obj.as_dict() == nullptr || made.num == 0)
    return;
  Freed<CPDFObj> kids;
  if (const CPDFObj* item = obj.as_dict()->get_item("K")) {
    kids = source.table.value(item);
    if (kids.as_array() == nullptr && kids.tag != kTagInt)
      kids.copy_from(item);
  }
  Freed<CPDFObj> related = source.table.value(obj.as_dict(), "Ref");
  const std::int32_t page = number_at(*obj.as_dict(), "Pg");
  for (const char* key : {"K", "P", "Pg", "Ref"})
    obj.as_dict()->set_item(key, nullptr);
  if (!source.import(obj))
    return;
  CPDFDictionary& entry = *obj.as_dict();
  const CPDFObj* const id = entry.get_item("ID");
  if (copied_page_ != 0)
    names_.give_identifier(entry, made);
  else if (id != nullptr && id->tag == kTagString)
    names_.take_identifier(id->as_string(), made);
  names_.rename(entry);
  entry.set_item_ref("P", element.parent >= 0 ? source.copy_of(elements_.at(element.parent).ref.num) : root_);
  if (takes_page(source, page))
    entry.set_item_ref("Pg", source.copy_of(page));
  Cleared<CPDFArray> kept;
  for (std::int32_t i = 0; related.as_array() != nullptr && i < related.as_array()->count; ++i) {
    const std::int32_t num = related.as_array()->items[i].as_ref().num;
    if (elements_.has_kept(num))
      kept.append_ref(source.copy_of(num));
  }
  if (kept.count > 0)
    entry.set_item_arr("Ref", &kept);
  store_kids(source, kids, element, made, entry);
  table_.store_object(made, obj);
}

void MergeStructure::store_kids(MergeSource& source, const CPDFObj& kids, const SourceElement& element,
                                const PDF_REF& made, CPDFDictionary& entry) {
  const std::int32_t index = elements_.find(element.ref.num);
  Cleared<CPDFArray> list;
  const auto take_kid = [&](const CPDFObj& kid) {
    const std::int32_t other = kid.tag == kTagRef ? elements_.find(kid.as_ref().num) : -1;
    if (kid.tag == kTagInt && takes_page(source, element.page)) {
      list.append_int(kid.as_int());
      contents_.push({source.copy_of(element.page).num, kid.as_int(), made, index});
    } else if (other >= 0) {
      // An element that several claim belongs to the one by which it was found.
      const SourceElement& below = elements_.at(other);
      const bool is_taken = copied_page_ == 0 ? below.kept : chosen_.has(other + 1);
      if (is_taken && below.parent == index)
        list.append_ref(source.copy_of(below.ref.num));
    } else if (kid.tag != kTagRef || !element.holds_elements) {
      Freed<CPDFObj> item = source.table.value(&kid);
      if (item.as_dict() != nullptr)
        take_content(source, *item.as_dict(), element.page, made, index, list);
    }
  };
  if (kids.as_array() == nullptr && !kids.is_null())
    take_kid(kids);
  for (std::int32_t i = 0; kids.as_array() != nullptr && i < kids.as_array()->count; ++i)
    take_kid(kids.as_array()->items[i]);
  if (StructureIndex::BigElement* const big_element = index_->big_element(element.ref.num)) {
    find_kids(source, element, *big_element);
    for (const std::int32_t place : places_)
      take_kid(big_element->kids.as_array()->items[place]);
  }
  if (list.count == 1)
    entry.move_item("K", list.items[0]);
  else if (list.count > 1)
    entry.set_item_arr("K", &list);
}

// The places of those kids of a big element that may be taken.
void MergeStructure::find_kids(const MergeSource& source, const SourceElement& element,
                               StructureIndex::BigElement& big_element) {
  places_.clear();
  for (std::int32_t i = element.first_kid; i >= 0; i = elements_.at(i).next_kid)
    big_element.find(elements_.at(i).ref.num, places_);
  for (const StructureIndex::Kid& kid : big_element.direct) {
    if (kid.num == 0 || source.wanted.has(kid.num))
      places_.push(kid.at);
  }
  if (!element.holds_elements) {
    index_->sort_out(big_element);
    for (const StructureIndex::Kid& kid : big_element.contents)
      places_.push(kid.at);
  }
  std::sort(places_.begin(), places_.end());
}

// What several pages share, as a form does, has one place in the parent tree: that of the first copy.
void MergeStructure::take_content(MergeSource& source, const CPDFDictionary& item, std::int32_t page,
                                  const PDF_REF& made, std::int32_t index, CPDFArray& list) {
  const ContentPlace place = content_place(item);
  if (is_structure_element(item) || !content_comes(source, place, page))
    return;
  const bool whole = place.object >= 0;
  const PDF_REF stream = source.copy_of(place.stream);
  const std::int32_t own = place.page;
  const bool is_copied = whole && copied_objects_.has(place.object);
  if (copied_page_ != 0 && !is_copied && !takes_page(source, own != 0 ? own : page))
    return;
  Cleared<CPDFDictionary> entry;
  entry.set_item_name(CPDFDictionary::sm_tag_type, whole ? "OBJR" : "MCR");
  if (own != 0)
    entry.set_item_ref("Pg", source.copy_of(own));
  if (whole) {
    const PDF_REF object = source.copy_of(place.object);
    entry.set_item_ref("Obj", object);
    if (copied_page_ == 0 || is_copied)
      contents_.push({object.num, -1, made, index});
  } else {
    const Freed<CPDFObj> sequence = source.table.value(&item, "MCID");
    entry.set_item_int("MCID", sequence.to_int());
    if (stream.num != 0)
      entry.set_item_ref("Stm", stream);
    const PDF_REF owner = stream.num != 0 ? stream : source.copy_of(own != 0 ? own : page);
    if (copied_page_ == 0 || stream.num == 0)
      contents_.push({owner.num, sequence.to_int(), made, index});
  }
  list.append_dict(&entry);
}

// The elements at the top, in their order. Where the source is in another language than the document
// says, they say so themselves.
void MergeStructure::take_tops(MergeSource& source, const StructureIndex::BigElement& root) {
  Freed<CPDFObj> theirs;
  source.read(theirs, "Lang");
  Freed<CPDFObj> catalog = table_.catalog();
  const CPDFObj* ours = catalog.item("Lang");
  if (target_.takes_settings())
    language_.copy_from(&theirs);
  else if (ours != nullptr && language_.is_null())
    language_ = table_.value(ours);
  const PDF_String a = theirs.as_string();
  const PDF_String b = language_.as_string();
  const bool same = a.len == b.len && std::equal(a.data, a.data + a.len, b.data);
  places_.clear();
  for (const SourceElement& element : elements_) {
    if (element.kept)
      root.find(element.ref.num, places_);
  }
  std::sort(places_.begin(), places_.end());
  for (const std::int32_t place : places_) {
    const PDF_REF made = source.copy_of(root.kids.as_array()->items[place].as_ref().num);
    CPDFDictionary* const element = target_.stored_dict(made);
    if (element == nullptr || !tops_.push({made, target_.source}))
      continue;
    if (!same && element->get_item("Lang") == nullptr)
      element->set_item_str("Lang", a.data, a.len);
  }
}

// What the source says of its tree as a whole.
void MergeStructure::take_root(MergeSource& source, const CPDFDictionary& root) {
  Freed<CPDFObj> marks;
  source.read(marks, "MarkInfo");
  const bool is_marked = source.table.value(marks.as_dict(), "Marked").as_bool();
  is_marked_ = is_marked_ || is_marked;
  if (!is_marked || source.table.value(marks.as_dict(), "Suspects").as_bool())
    ++untagged_;
  has_user_properties_ = has_user_properties_ || source.table.value(marks.as_dict(), "UserProperties").as_bool();
  Freed<CPDFObj> kids = source.table.value(&root, "Namespaces");
  if (kids.as_array() == nullptr || !source.import(kids))
    return;
  if (namespaces_.as_array() == nullptr) {
    namespaces_.move_from(kids);
    return;
  }
  for (std::int32_t i = 0; i < kids.as_array()->count; ++i)
    namespaces_.as_array()->append_moved(kids.as_array()->items[i]);
}

}  // namespace sheaf
