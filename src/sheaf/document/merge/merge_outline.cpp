// Entries are listed first, so that those without a page left can be dropped before any is written.
#include "sheaf/document/merge/merge_outline.h"

#include <algorithm>
#include <new>

#include "sheaf/object/array.h"
#include "sheaf/object/text_utf8.h"

namespace sheaf {

namespace {

constexpr std::size_t kMostNodes = 4'000'000;

void set_links(CPDFDictionary& dict, const PDF_REF& first, const PDF_REF& last, int count) {
  if (first.num == 0)
    return;
  dict.set_item_ref(CPDFDictionary::sm_tag_first, first);
  dict.set_item_ref("Last", last);
  dict.set_item_int(CPDFDictionary::sm_tag_count, count);
}

std::int32_t count_of(CPDFXRefTable& table, const CPDFDictionary& dict) {
  Freed<CPDFObj> count = table.value(&dict, CPDFDictionary::sm_tag_count);
  return count.to_int();
}

}  // namespace

void MergeOutline::take(MergeSource& source, SourceDestinations& destinations, const char* title) {
  GrowArray<Node> nodes;
  if (source.first_page.num == 0)
    return;
  list(source, destinations, nodes);
  if (root_.num == 0) {
    Freed<CPDFObj> catalog = table_.catalog();
    const CPDFObj* own = catalog.item("Outlines");
    root_ = own != nullptr && own->as_ref().num > 0 ? own->as_ref() : PDF_REF{table_.alloc_obj_num(), 0};
  }
  const bool has_entry = title != nullptr && target_.options.entry_for_source;
  Node top{};
  top.made = has_entry ? PDF_REF{table_.alloc_obj_num(), 0} : root_;
  if (!link(nodes, top))
    return;
  for (std::size_t i = nodes.size(); i-- > 0;) {
    if (nodes[i].kept)
      store(source, nodes[i], nodes[i].parent >= 0 ? nodes[nodes[i].parent] : top);
  }
  if (!has_entry)
    add_tops(nodes);
  else if (!add_entry(title, top, source.first_page))
    return;
  shown_ += top.shown + (has_entry ? 1 : 0);
}

// All entries, in the order of reading.
void MergeOutline::list(MergeSource& source, SourceDestinations& destinations, GrowArray<Node>& nodes) {
  struct Waiting {
    PDF_REF ref;
    std::int32_t parent;
  };
  GrowArray<Waiting> waiting;
  VisitedSet visited;
  Freed<CPDFObj> obj;
  const auto wait_for = [&waiting](const CPDFDictionary& dict, const char* key, std::int32_t parent) {
    if (const CPDFObj* item = dict.get_item(key))
      waiting.push({item->as_ref(), parent});
  };
  source.read(obj, "Outlines");
  if (obj.as_dict() == nullptr)
    return;
  wait_for(*obj.as_dict(), CPDFDictionary::sm_tag_first, -1);
  while (!waiting.empty() && nodes.size() < kMostNodes) {
    const Waiting at = waiting.back();
    waiting.pop();
    if (!visited.visit(at.ref.num))
      continue;
    obj = source.table.object(at.ref);
    const CPDFDictionary* dict = obj.as_dict();
    if (dict == nullptr)
      continue;
    const CPDFObj* dest = dict->get_item("Dest");
    const std::int32_t page =
        dest != nullptr ? destinations.page_of(dest) : destinations.page_of_action(dict->get_item("A"));
    const bool named = dest != nullptr || dict->get_item("A") != nullptr;
    // One that leads nowhere is a heading, which belongs to the whole document.
    const bool kept = source.takes_all || (page > 0 ? source.wanted.has(page) : page < 0 && named);
    const auto index = nodes.count();
    if (!nodes.push({at.ref, at.parent, kept, 0, {}, {}, {}, {}, {}}))
      return;
    // What follows an entry waits below what it holds.
    wait_for(*dict, CPDFDictionary::sm_tag_next, at.parent);
    wait_for(*dict, CPDFDictionary::sm_tag_first, index);
  }
}

// Numbers and links the entries that stay. False when no entry stays.
bool MergeOutline::link(GrowArray<Node>& nodes, Node& top) {
  std::int32_t count = 0;
  for (std::size_t i = nodes.size(); i-- > 0;) {
    if (nodes[i].kept && nodes[i].parent >= 0)
      nodes[nodes[i].parent].kept = true;
    count += nodes[i].kept ? 1 : 0;
  }
  target_.note(PDF_MERGE_FATE::kJoined, "outline", count);
  target_.note(PDF_MERGE_FATE::kDropped, "outline", nodes.count() - count);
  GrowArray<std::int32_t> last_of;  // the last entry so far below each, by index plus one
  if (!last_of.resize(nodes.size() + 1))
    return false;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    Node& node = nodes[i];
    if (!node.kept)
      continue;
    node.made = {table_.alloc_obj_num(), 0};
    Node& parent = node.parent >= 0 ? nodes[node.parent] : top;
    std::int32_t& last = last_of[std::int64_t{node.parent} + 1];
    if (parent.first.num == 0) {
      parent.first = node.made;
    } else {
      node.prev = parent.last;
      nodes[last].next = node.made;
    }
    parent.last = node.made;
    last = static_cast<std::int32_t>(i);
  }
  return top.first.num != 0;
}

void MergeOutline::add_tops(const GrowArray<Node>& nodes) {
  for (const Node& node : nodes) {
    if (node.kept && node.parent < 0)
      tops_.push({node.made, {0, 0}});
  }
}

// Its destination comes at the end: the look over would take our page's number for the source's.
bool MergeOutline::add_entry(const char* title, const Node& top, const PDF_REF& page) {
  Cleared<CPDFDictionary> entry;
  PDF_String text;
  text_from_utf8(title, text);
  entry.set_item_str("Title", text.data, text.len);
  QVFree(text.data);
  entry.set_item_ref(CPDFDictionary::sm_tag_parent, root_);
  set_links(entry, top.first, top.last, top.shown);
  if (!tops_.push({top.made, page}))
    return false;
  table_.store_dict(top.made, &entry);
  return true;
}

void MergeOutline::store(MergeSource& source, Node& node, Node& parent) {
  Freed<CPDFObj> obj = source.table.object(node.source);
  if (obj.as_dict() == nullptr)
    return;
  Cleared<CPDFDictionary> entry;
  for (const char* key : {"Title", "C", "F", "Dest", "A"}) {
    CPDFObj* item = obj.as_dict()->get_item(key);
    if (item != nullptr)
      entry.move_item(key, *item);
  }
  if (table_.clone_dict(&source.table, source.context, &entry) == 0) {
    entry.set_item("Dest", nullptr);
    entry.set_item("A", nullptr);
  }
  entry.set_item_ref(CPDFDictionary::sm_tag_parent, parent.made);
  if (node.prev.num != 0)
    entry.set_item_ref(CPDFDictionary::sm_tag_prev, node.prev);
  if (node.next.num != 0)
    entry.set_item_ref(CPDFDictionary::sm_tag_next, node.next);
  const bool closed = count_of(source.table, *obj.as_dict()) < 0;
  set_links(entry, node.first, node.last, closed ? -node.shown : node.shown);
  parent.shown += 1 + (closed ? 0 : node.shown);
  table_.store_dict(node.made, &entry);
}

// The last entry at the top, by "Last" or, where that names no entry, by following the entries.
PDF_REF MergeOutline::last_of(const CPDFDictionary& root) {
  Freed<CPDFObj> entry;
  const CPDFObj* item = root.get_item("Last");
  if (item == nullptr)
    item = root.get_item(CPDFDictionary::sm_tag_first);
  PDF_REF last{0, 0};
  VisitedSet visited;
  for (PDF_REF at = ref_of(item); visited.visit(at.num);) {
    entry = table_.object(at);
    if (entry.as_dict() == nullptr)
      return last;
    last = at;
    item = entry.as_dict()->get_item(CPDFDictionary::sm_tag_next);
    at = ref_of(item);
  }
  return last;
}

void MergeOutline::put(CPDFDictionary& catalog) {
  if (tops_.empty())
    return;
  Freed<CPDFObj> root = table_.value(&catalog, "Outlines");
  if (root.as_dict() == nullptr)
    root.take_dict(new (std::nothrow) CPDFDictionary);
  if (root.as_dict() == nullptr)
    return;
  const PDF_REF own_last = last_of(*root.as_dict());
  const std::size_t count = tops_.size();
  for (std::size_t i = 0; i < count; ++i) {
    CPDFDictionary* const entry = target_.stored_dict(tops_[i].ref);
    if (entry == nullptr)
      continue;
    if (tops_[i].page.num != 0) {
      Cleared<CPDFArray> dest;
      dest.append_ref(tops_[i].page);
      dest.append_name("Fit");
      entry->set_item_arr("Dest", &dest);
    }
    const PDF_REF prev = i > 0 ? tops_[i - 1].ref : own_last;
    if (prev.num != 0)
      entry->set_item_ref(CPDFDictionary::sm_tag_prev, prev);
    if (i + 1 < count)
      entry->set_item_ref(CPDFDictionary::sm_tag_next, tops_[i + 1].ref);
  }
  Freed<CPDFObj> before = table_.object(own_last);
  if (before.as_dict() != nullptr) {
    before.as_dict()->set_item_ref(CPDFDictionary::sm_tag_next, tops_[0].ref);
    table_.store_object(own_last, before);
  } else {
    root.as_dict()->set_item_ref(CPDFDictionary::sm_tag_first, tops_[0].ref);
  }
  root.as_dict()->set_item_name(CPDFDictionary::sm_tag_type, "Outlines");
  root.as_dict()->set_item_ref("Last", tops_[count - 1].ref);
  root.as_dict()->set_item_int(CPDFDictionary::sm_tag_count, std::max(count_of(table_, *root.as_dict()), 0) + shown_);
  table_.store_object(root_, root);
  catalog.set_item_ref("Outlines", root_);
}

}  // namespace sheaf
