// The outline of a source (ISO 32000-1, 12.3.3) under one entry of its name. Entries whose page did
// not come along stay only where entries below them do.
#include <algorithm>

#include "sheaf/document/merge/doc_merge_internal.h"
#include "sheaf/object/text_utf8.h"

using namespace sheaf;

struct CPDFDocMerge::OutlineNode {
  PDF_REF source;
  std::int32_t parent;  // -1 below the source's own entry
  bool kept;
  std::int32_t shown;  // entries visible below, when open
  PDF_REF made;
  PDF_REF first;
  PDF_REF last;
  PDF_REF prev;
  PDF_REF next;
};

namespace {

constexpr std::size_t kMostNodes = 4'000'000;

void set_links(CPDFDictionary& dict, const PDF_REF& first, const PDF_REF& last, int count) {
  if (first.num == 0)
    return;
  dict.set_item_ref(CPDFDictionary::sm_tag_first, first);
  dict.set_item_ref("Last", last);
  dict.set_item_int(CPDFDictionary::sm_tag_count, count);
}

bool is_closed(CPDFXRefTable& table, const CPDFDictionary& dict) {
  Freed<CPDFObj> count;
  table.resolve(count, dict.get_item(CPDFDictionary::sm_tag_count));
  return count.to_int() < 0;
}

}  // namespace

void CPDFDocMerge::add_outline(Source& src, const char* title) {
  Freed<CPDFObj> catalog;
  Freed<CPDFObj> root;
  src.table.resolve(catalog, &src.table.root);
  if (catalog.as_dict() == nullptr || src.first_page.num == 0)
    return;
  src.table.resolve(root, catalog.as_dict()->get_item("Outlines"));
  if (root.as_dict() == nullptr)
    return;
  struct Waiting {
    PDF_REF ref;
    std::int32_t parent;
  };
  GrowArray<OutlineNode> nodes;
  GrowArray<Waiting> waiting;
  VisitedSet visited;
  Freed<CPDFObj> obj;
  const auto wait_for = [&waiting](const CPDFDictionary& dict, const char* key, std::int32_t parent) {
    if (const CPDFObj* item = dict.get_item(key))
      waiting.push({item->as_ref(), parent});
  };
  // What follows an entry waits below what it holds, so that the list is in the order of reading.
  wait_for(*root.as_dict(), CPDFDictionary::sm_tag_first, -1);
  while (!waiting.empty() && nodes.size() < kMostNodes) {
    const Waiting at = waiting.back();
    waiting.pop();
    if (!visited.visit(at.ref.num))
      continue;
    src.table.get_entity(obj, at.ref);
    const CPDFDictionary* dict = obj.as_dict();
    if (dict == nullptr)
      continue;
    const CPDFObj* dest = dict->get_item("Dest");
    const std::int32_t page = dest != nullptr ? page_of(src, dest) : page_of_action(src, dict->get_item("A"));
    const bool named = dest != nullptr || dict->get_item("A") != nullptr;
    const bool kept = page > 0 ? src.wanted.has(page) : page < 0 && named;
    const auto index = static_cast<std::int32_t>(nodes.size());
    if (!nodes.push({at.ref, at.parent, kept, 0, {}, {}, {}, {}, {}}))
      return;
    wait_for(*dict, CPDFDictionary::sm_tag_next, at.parent);
    wait_for(*dict, CPDFDictionary::sm_tag_first, index);
  }
  link_outline(src, nodes, title);
}

// Numbers and links the entries that stay, and stores them.
void CPDFDocMerge::link_outline(Source& src, GrowArray<OutlineNode>& nodes, const char* title) {
  for (std::size_t i = nodes.size(); i-- > 0;) {
    if (nodes[i].kept && nodes[i].parent >= 0)
      nodes[static_cast<std::size_t>(nodes[i].parent)].kept = true;
  }
  OutlineNode top{};
  top.made = {table_.alloc_obj_num(), 0};
  const auto parent_of = [&](const OutlineNode& node) -> OutlineNode& {
    return node.parent >= 0 ? nodes[static_cast<std::size_t>(node.parent)] : top;
  };
  GrowArray<std::int32_t> last_of;  // the last entry so far below each, by index plus one
  if (!last_of.resize(nodes.size() + 1))
    return;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    OutlineNode& node = nodes[i];
    if (!node.kept)
      continue;
    node.made = {table_.alloc_obj_num(), 0};
    OutlineNode& parent = parent_of(node);
    std::int32_t& last = last_of[static_cast<std::size_t>(std::int64_t{node.parent} + 1)];
    if (parent.first.num == 0) {
      parent.first = node.made;
    } else {
      node.prev = parent.last;
      nodes[static_cast<std::size_t>(last)].next = node.made;
    }
    parent.last = node.made;
    last = static_cast<std::int32_t>(i);
  }
  if (top.first.num == 0)
    return;
  for (std::size_t i = nodes.size(); i-- > 0;) {
    if (nodes[i].kept)
      store_outline_node(src, nodes[i], parent_of(nodes[i]));
  }
  Cleared<CPDFDictionary> entry;
  PDF_String text;
  text_from_utf8(title != nullptr ? title : "", text);
  entry.set_item_str("Title", text.data, text.len);
  QVFree(text.data);
  // Its destination comes at the end: the look over would take our page's number for the source's.
  set_links(entry, top.first, top.last, -top.shown);
  if (outline_.push({top.made, src.first_page}))
    table_.store_dict(top.made, &entry);
}

void CPDFDocMerge::store_outline_node(Source& src, OutlineNode& node, OutlineNode& parent) {
  Freed<CPDFObj> obj;
  src.table.get_entity(obj, node.source);
  if (obj.as_dict() == nullptr)
    return;
  Cleared<CPDFDictionary> entry;
  for (const char* key : {"Title", "C", "F", "Dest", "A"}) {
    CPDFObj* item = obj.as_dict()->get_item(key);
    if (item != nullptr)
      entry.move_item(key, *item);
  }
  if (table_.clone_dict(&src.table, src.context, &entry) == 0) {
    entry.set_item("Dest", nullptr);
    entry.set_item("A", nullptr);
  }
  entry.set_item_ref(CPDFDictionary::sm_tag_parent, parent.made);
  if (node.prev.num != 0)
    entry.set_item_ref(CPDFDictionary::sm_tag_prev, node.prev);
  if (node.next.num != 0)
    entry.set_item_ref(CPDFDictionary::sm_tag_next, node.next);
  const bool closed = is_closed(src.table, *obj.as_dict());
  set_links(entry, node.first, node.last, closed ? -node.shown : node.shown);
  parent.shown += 1 + (closed ? 0 : node.shown);
  table_.store_dict(node.made, &entry);
}

void CPDFDocMerge::put_outline(CPDFDictionary& catalog) {
  if (outline_.empty())
    return;
  const PDF_REF root{table_.alloc_obj_num(), 0};
  const std::size_t count = outline_.size();
  for (std::size_t i = 0; i < count; ++i) {
    const PDF_NEWOBJ* slot = table_.get_xref2(outline_[i].ref.num, 0);
    CPDFDictionary* const entry = slot != nullptr ? slot->obj.as_dict() : nullptr;
    if (entry == nullptr)
      continue;
    Cleared<CPDFArray> dest;
    dest.append_ref(outline_[i].page);
    dest.append_name("Fit");
    entry->set_item_arr("Dest", &dest);
    entry->set_item_ref(CPDFDictionary::sm_tag_parent, root);
    if (i > 0)
      entry->set_item_ref(CPDFDictionary::sm_tag_prev, outline_[i - 1].ref);
    if (i + 1 < count)
      entry->set_item_ref(CPDFDictionary::sm_tag_next, outline_[i + 1].ref);
  }
  Cleared<CPDFDictionary> dict;
  dict.set_item_name(CPDFDictionary::sm_tag_type, "Outlines");
  set_links(dict, outline_[0].ref, outline_[count - 1].ref, static_cast<int>(count));
  table_.store_dict(root, &dict);
  catalog.set_item_ref("Outlines", root);
}
