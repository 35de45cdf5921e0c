// Items keep their objects and all that is not said here about them, such as colours and structure elements. Only what
// links them to one another is always written anew.
#include "sheaf/document/outline/outline.h"

#include <cstring>
#include <new>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/outline/destinations.h"
#include "sheaf/neighbours/page/trailer_values.h"
#include "sheaf/object/array.h"
#include "sheaf/object/text_utf8.h"

using namespace sheaf;

// The neighbours of an entry: indices, -1 for none.
struct CPDFOutline::Links {
  PDF_REF ref;
  std::int32_t parent = -1;
  std::int32_t first = -1;
  std::int32_t last = -1;
  std::int32_t prev = -1;
  std::int32_t next = -1;
  std::int32_t shown = 0;  // entries visible below it when it is open
};

namespace {

void release(PDF_OUTLINE_ENTRY& entry) {
  QVFree(entry.title.data);
  entry.place.free();
  entry.uri.free();
}

void read_target(CPDFXRefTable& table, Destinations& destinations, const CPDFDictionary& item,
                 PDF_OUTLINE_ENTRY& entry) {
  const Freed<CPDFObj> action = table.value(&item, "A");
  const Freed<CPDFObj> kind = table.value(action.as_dict(), "S");
  entry.has_target = item.get_item("Dest") != nullptr || action.as_dict() != nullptr;
  entry.page = destinations.index_of(destinations.page_of_holder(item, &entry.place));
  if (kind.is_name("URI"))
    table.resolve(entry.uri, action.as_dict()->get_item("URI"));
}

}  // namespace

void CPDFOutline::clear() {
  for (PDF_OUTLINE_ENTRY& entry : entries_)
    release(entry);
  entries_.clear();
}

bool CPDFOutline::push(PDF_OUTLINE_ENTRY& entry) {
  if (entries_.push(entry))
    return true;
  release(entry);
  return false;
}

bool CPDFOutline::load(CPDFDoc& doc) {
  clear();
  CPDFXRefTable& table = doc.table();
  const HeapWatch watch;
  const Freed<CPDFObj> catalog = table.catalog();
  const Freed<CPDFObj> root = table.value(catalog.as_dict(), "Outlines");
  if (root.as_dict() == nullptr)
    return true;
  Destinations destinations(doc);
  VisitedSet visited;
  GrowArray<PDF_REF> following;  // the next item at each level above
  PDF_REF at = ref_of(root.item(CPDFDictionary::sm_tag_first));
  while (true) {
    const Freed<CPDFObj> item = at.num != 0 && visited.visit(at.num) ? table.object(at) : Freed<CPDFObj>();
    if (item.as_dict() == nullptr) {
      if (following.empty())
        return watch.all_granted();
      at = following.back();
      following.pop();
      continue;
    }
    const CPDFDictionary& dict = *item.as_dict();
    PDF_OUTLINE_ENTRY entry{};
    entry.ref = at;
    entry.level = following.count();
    Freed<CPDFObj> title = table.value(&dict, "Title");
    entry.title = title.as_string();
    if (title.tag == kTagString)
      title.tag = kTagNull;  // the entry has it now
    const Freed<CPDFObj> count = table.value(&dict, CPDFDictionary::sm_tag_count);
    entry.open = count.to_int() >= 0;
    read_target(table, destinations, dict, entry);
    if (!push(entry) || !following.push(ref_of(dict.get_item(CPDFDictionary::sm_tag_next))))
      return false;
    at = ref_of(dict.get_item(CPDFDictionary::sm_tag_first));
  }
}

bool CPDFOutline::add(std::int32_t level, const char* title, bool open, const PDF_REF& from) {
  if (level < 0 || level > (empty() ? 0 : entries_.back().level + 1))
    return false;
  const HeapWatch watch;
  PDF_OUTLINE_ENTRY entry{};
  entry.ref = from;
  entry.level = level;
  entry.open = open;
  entry.page = -1;
  text_from_utf8(title, entry.title);
  return push(entry) && watch.all_granted();
}

bool CPDFOutline::lead_to_page(CPDFDoc& doc, std::int32_t page, const CPDFArray& view) {
  const PDF_REF ref = doc.page_ref(page);
  if (empty() || ref.num == 0)
    return false;
  const HeapWatch watch;
  PDF_OUTLINE_ENTRY& entry = entries_.back();
  entry.place.take_array(new (std::nothrow) CPDFArray);
  if (entry.place.as_array() == nullptr)
    return false;
  entry.place.as_array()->append_ref(ref);
  for (std::int32_t i = 0; i < view.count; ++i)
    entry.place.as_array()->append(view.items + i);
  entry.page = page;
  entry.has_target = entry.sets_target = true;
  return watch.all_granted();
}

bool CPDFOutline::lead_to_uri(const char* uri) {
  if (empty())
    return false;
  const HeapWatch watch;
  PDF_OUTLINE_ENTRY& entry = entries_.back();
  entry.uri.set_string(uri, static_cast<int>(std::strlen(uri)));
  entry.has_target = entry.sets_target = true;
  return watch.all_granted();
}

std::int32_t CPDFOutline::remove_pages(const VisitedSet& gone) {
  // From the end, so that those below an entry are known when it is looked at.
  std::int32_t kept_level = -1;  // the level of the entry after, when it stays
  std::size_t kept = entries_.size();
  std::int32_t changed = 0;
  for (std::size_t i = entries_.size(); i-- > 0;) {
    PDF_OUTLINE_ENTRY& entry = entries_[i];
    const CPDFArray* const place = entry.place.as_array();
    const bool target_gone = place != nullptr && place->count > 0 && gone.has(place->items[0].as_ref().num);
    changed += target_gone ? 1 : 0;
    if (target_gone && kept_level <= entry.level) {
      release(entry);
      continue;
    }
    if (target_gone) {
      entry.place.free();
      entry.page = -1;
      entry.has_target = false;
      entry.sets_target = true;
    }
    kept_level = entry.level;
    entries_[--kept] = entry;
  }
  for (std::size_t i = kept; i < entries_.size(); ++i)
    entries_[i - kept] = entries_[i];
  for (std::size_t i = 0; i < kept; ++i)
    entries_.pop();
  return changed;
}

// Every parent comes before its children.
void CPDFOutline::link(GrowArray<Links>& links) const {
  GrowArray<std::int32_t> open;  // the last entry at each level
  for (std::int32_t i = 0; i < size(); ++i) {
    const std::int32_t level = at(i).level;
    Links& mine = links[i];
    while (open.count() > level + 1)
      open.pop();
    if (open.count() == level + 1) {
      mine.prev = open.back();
      links[mine.prev].next = i;
      open.pop();
    }
    mine.parent = open.empty() ? -1 : open.back();
    if (mine.parent >= 0) {
      Links& parent = links[mine.parent];
      parent.first = parent.first < 0 ? i : parent.first;
      parent.last = i;
    }
    if (!open.push(i))
      return;
  }
  for (std::int32_t i = size(); i-- > 0;) {
    const Links& mine = links[i];
    if (mine.parent >= 0)
      links[mine.parent].shown += 1 + (at(i).open ? mine.shown : 0);
  }
}

bool CPDFOutline::store_entry(CPDFDoc& doc, const PDF_OUTLINE_ENTRY& entry, const Links& links) const {
  CPDFXRefTable& table = doc.table();
  Freed<CPDFObj> item;
  if (entry.ref.num != 0)
    item = table.object(entry.ref);
  if (item.as_dict() == nullptr)
    item.take_dict(new (std::nothrow) CPDFDictionary);
  CPDFDictionary* const dict = item.as_dict();
  if (dict == nullptr)
    return false;
  dict->set_item_str("Title", entry.title.data, entry.title.len);
  if (entry.sets_target) {
    dict->set_item("Dest", nullptr);
    dict->set_item("A", nullptr);
  }
  if (entry.sets_target && entry.place.as_array() != nullptr)
    dict->set_item("Dest", &entry.place);
  if (entry.sets_target && entry.uri.tag == kTagString) {
    Cleared<CPDFDictionary> action;
    action.set_item_name("S", "URI");
    action.set_item("URI", &entry.uri);
    dict->set_item_dict("A", &action);
  }
  dict->set_item(CPDFDictionary::sm_tag_count, nullptr);
  if (links.first >= 0)
    dict->set_item_int(CPDFDictionary::sm_tag_count, entry.open ? links.shown : -links.shown);
  return table.store_object(links.ref, item);
}

// Items keep their numbers; one that is in the list twice is stored a second time under another.
void CPDFOutline::number(CPDFXRefTable& table, GrowArray<Links>& links) const {
  VisitedSet used;
  for (std::int32_t i = 0; i < size(); ++i) {
    const PDF_REF own = at(i).ref;
    const bool keeps_number = own.num != 0 && used.visit(own.num);
    links[i].ref = keeps_number ? own : PDF_REF{table.alloc_obj_num(), 0};
  }
}

bool CPDFOutline::store_links(CPDFXRefTable& table, const GrowArray<Links>& links, const Links& mine,
                              const PDF_REF& root) {
  const PDF_NEWOBJ* const slot = table.get_xref2(mine.ref.num, mine.ref.gen);
  CPDFDictionary* const dict = slot != nullptr ? slot->obj.as_dict() : nullptr;
  if (dict == nullptr)
    return false;
  const auto set = [&](const char* key, std::int32_t index) {
    dict->set_item(key, nullptr);
    if (index >= 0)
      dict->set_item_ref(key, links[index].ref);
  };
  set(CPDFDictionary::sm_tag_parent, mine.parent);
  set(CPDFDictionary::sm_tag_prev, mine.prev);
  set(CPDFDictionary::sm_tag_next, mine.next);
  set(CPDFDictionary::sm_tag_first, mine.first);
  set("Last", mine.last);
  if (mine.parent < 0)
    dict->set_item_ref(CPDFDictionary::sm_tag_parent, root);
  return true;
}

// Stores the items below the object `root`, and fills its dictionary.
bool CPDFOutline::store_items(CPDFDoc& doc, const GrowArray<Links>& links, const PDF_REF& root,
                              CPDFDictionary& top) const {
  top.set_item_name(CPDFDictionary::sm_tag_type, "Outlines");
  std::int32_t shown = 0;
  for (std::int32_t i = 0; i < size(); ++i) {
    const Links& mine = links[i];
    if (!store_entry(doc, at(i), mine) || !store_links(doc.table(), links, mine, root))
      return false;
    if (mine.parent >= 0)
      continue;
    shown += 1 + (at(i).open ? mine.shown : 0);
    if (mine.prev < 0)
      top.set_item_ref(CPDFDictionary::sm_tag_first, mine.ref);
    if (mine.next < 0)
      top.set_item_ref("Last", mine.ref);
  }
  top.set_item_int(CPDFDictionary::sm_tag_count, shown);
  return true;
}

bool CPDFOutline::store(CPDFDoc& doc) const {
  CPDFXRefTable& table = doc.table();
  const HeapWatch watch;
  GrowArray<Links> links;
  if (!give_trailer_values_numbers(table))
    return false;
  Freed<CPDFObj> catalog = table.catalog();
  if (catalog.as_dict() == nullptr || !links.resize(entries_.size()))
    return false;
  for (Links& mine : links)
    mine = Links{};
  link(links);
  number(table, links);
  const PDF_REF root{table.alloc_obj_num(), 0};
  Cleared<CPDFDictionary> top;
  if (!store_items(doc, links, root, top))
    return false;
  catalog.as_dict()->set_item("Outlines", nullptr);
  if (!empty()) {
    table.store_dict(root, &top);
    catalog.as_dict()->set_item_ref("Outlines", root);
  }
  return watch.all_granted() && table.store_object(table.root.as_ref(), catalog);
}
