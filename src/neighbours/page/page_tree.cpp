// The page tree (ISO 32000-1, 7.7.3), walked on a stack of its own. Each node is visited once, so
// that no loop can hold the walk up.
#include <new>

#include "base/scope_guard.h"
#include "neighbours/page/doc.h"
#include "neighbours/page/visited_set.h"
#include "object/array.h"

namespace {

// A tree node whose kids are being visited. The array is owned by the frame.
struct Frame {
  CPDFObj kids;
  std::int32_t next;
  std::int32_t node;
};

class FrameStack {
public:
  FrameStack() = default;
  FrameStack(const FrameStack&) = delete;
  FrameStack& operator=(const FrameStack&) = delete;
  ~FrameStack() {
    while (!frames_.empty())
      pop();
  }
  bool empty() const { return frames_.empty(); }
  Frame& top() { return frames_.back(); }
  // Takes over the array in `kids`.
  void push(CPDFObj& kids, std::int32_t node) {
    Frame frame{kids, 0, node};
    kids = CPDFObj{};
    if (!frames_.push(frame))
      frame.kids.free();
  }
  void pop() {
    frames_.back().kids.free();
    frames_.pop();
  }

private:
  GrowArray<Frame> frames_;
};

bool is_leaf(const CPDFDictionary& dict, const CPDFObj& kids) {
  const CPDFObj* type = dict.get_item(CPDFDictionary::sm_tag_type);
  if (type != nullptr && type->is_name("Page"))
    return true;
  return kids.as_array() == nullptr;
}

// Without a type, or with a wrong one, a dictionary is a page when it has what only pages have.
bool looks_like_page(const CPDFDictionary& dict) {
  const CPDFObj* type = dict.get_item(CPDFDictionary::sm_tag_type);
  if (type != nullptr && type->is_name("Page"))
    return true;
  if (type != nullptr && type->is_name("Pages"))
    return false;
  return dict.get_item("Contents") != nullptr || dict.get_item("MediaBox") != nullptr ||
         dict.get_item(CPDFDictionary::sm_tag_res) != nullptr ||
         dict.get_item(CPDFDictionary::sm_tag_parent) != nullptr;
}

}  // namespace

void CPDFDoc::take_inherited(const CPDFDictionary& dict, PDF_INHERITED& values) {
  Freed<CPDFObj> value;
  const auto take_box = [&](const char* key, _QVRECTF& box, bool& has) {
    table_.resolve(value, dict.get_item(key));
    const CPDFArray* array = value.as_array();
    if (array == nullptr || array->count < 4)
      return;
    table_.read_obj_rect(box, &value);
    has = true;
  };
  take_box("MediaBox", values.media_box, values.has_media_box);
  take_box("CropBox", values.crop_box, values.has_crop_box);
  table_.resolve(value, dict.get_item(CPDFDictionary::sm_tag_rotate));
  if (value.is_number()) {
    values.rotate = value.to_int();
    values.has_rotate = true;
  }
  const CPDFObj* resources = dict.get_item(CPDFDictionary::sm_tag_res);
  if (resources != nullptr && resources->tag == kTagRef)
    values.resources = resources->as_ref();
}

bool CPDFDoc::walk_pages(Attempt& attempt) {
  pages_.clear();
  nodes_.clear();
  Freed<CPDFObj> obj;
  table_.resolve(obj, &table_.root);
  const CPDFDictionary* catalog = obj.as_dict();
  const CPDFObj* top = catalog != nullptr ? catalog->get_item("Pages") : nullptr;
  if (top == nullptr)
    return false;
  const PDF_REF top_ref = top->as_ref();
  Freed<CPDFObj> tree;
  table_.resolve(tree, top);
  if (tree.as_dict() == nullptr)
    return false;
  attempt.trusted = header_stands_at(table_.root.as_ref()) && header_stands_at(top_ref);

  VisitedSet visited;
  FrameStack stack;
  visited.visit(top_ref.num);
  const auto open_node = [&](const CPDFDictionary& dict, CPDFObj& kids, std::int32_t parent) {
    PDF_INHERITED values = parent >= 0 ? nodes_[static_cast<std::size_t>(parent)] : PDF_INHERITED{};
    take_inherited(dict, values);
    const auto node = static_cast<std::int32_t>(nodes_.size());
    if (nodes_.push(values))
      stack.push(kids, node);
  };
  Freed<CPDFObj> kids;
  const auto fetch_kids = [&](const CPDFDictionary& dict) {
    const CPDFObj* item = dict.get_item("Kids");
    table_.resolve(kids, item);
    if (kids.as_dict() == nullptr || item->tag != kTagRef)
      return;
    // A single kid without its brackets.
    kids.take_array(new (std::nothrow) CPDFArray);
    if (kids.as_array() != nullptr)
      kids.as_array()->append_ref(item->as_ref());
  };
  fetch_kids(*tree.as_dict());
  if (is_leaf(*tree.as_dict(), kids)) {
    // Some writers leave out the tree where there is one page only.
    if (looks_like_page(*tree.as_dict()) && top_ref.num > 0)
      pages_.push({top_ref, -1});
    return true;
  }
  attempt.has_no_pages = kids.as_array()->count == 0;
  open_node(*tree.as_dict(), kids, -1);

  while (!stack.empty()) {
    Frame& frame = stack.top();
    const CPDFObj* kid = frame.kids.as_array()->get(frame.next++);
    if (kid == nullptr) {
      stack.pop();
      continue;
    }
    const PDF_REF ref = kid->as_ref();
    const std::int32_t parent = frame.node;
    if (ref.num < 1)
      continue;
    table_.get_entity(obj, ref);
    const CPDFDictionary* dict = obj.as_dict();
    if (dict == nullptr)
      continue;
    attempt.trusted = attempt.trusted && header_stands_at(ref);
    fetch_kids(*dict);
    // A page may be listed twice, but a node that comes up again is a loop.
    if (!is_leaf(*dict, kids)) {
      if (visited.visit(ref.num))
        open_node(*dict, kids, parent);
    } else if (looks_like_page(*dict)) {
      pages_.push({ref, parent});
    }
  }
  return true;
}

PDF_REF CPDFDoc::page_ref(int index) const {
  if (index < 0 || index >= page_count())
    return {0, 0};
  return pages_[static_cast<std::size_t>(index)].ref;
}

// Resources that stand directly in a node of the tree have no reference to hand down: the page gets
// a copy.
bool CPDFDoc::take_direct_resources(CPDFDictionary& dict) {
  constexpr int kMostLevels = 64;
  Freed<CPDFObj> node;
  const CPDFObj* above = dict.get_item(CPDFDictionary::sm_tag_parent);
  for (int level = 0; above != nullptr && level < kMostLevels; ++level) {
    const CPDFObj link = *above;  // a reference owns nothing
    if (link.tag != kTagRef)
      return false;
    table_.get_entity(node, link.as_ref());
    if (node.as_dict() == nullptr)
      return false;
    if (const CPDFObj* resources = node.as_dict()->get_item(CPDFDictionary::sm_tag_res)) {
      dict.set_item(CPDFDictionary::sm_tag_res, resources);
      return true;
    }
    above = node.as_dict()->get_item(CPDFDictionary::sm_tag_parent);
  }
  return false;
}

bool CPDFDoc::load_page(int index, CPDFPage& page) {
  const PDF_REF ref = page_ref(index);
  Freed<CPDFObj> obj;
  table_.get_entity(obj, ref);
  const CPDFDictionary* dict = obj.as_dict();
  if (ref.num == 0 || dict == nullptr)
    return false;
  constexpr _QVRECTF kLetter{0, 0, fix_from_int(612), fix_from_int(792)};
  const std::int32_t node = pages_[static_cast<std::size_t>(index)].node;
  page.ref = ref;
  page.dict.copy_from(dict);
  page.inherited = node >= 0 ? &nodes_[static_cast<std::size_t>(node)] : nullptr;
  PDF_INHERITED values = page.inherited != nullptr ? *page.inherited : PDF_INHERITED{};
  if (page.inherited != nullptr && values.resources.num == 0 && dict->get_item(CPDFDictionary::sm_tag_res) == nullptr)
    take_direct_resources(page.dict);
  take_inherited(*dict, values);
  page.box = values.has_crop_box ? values.crop_box : values.has_media_box ? values.media_box : kLetter;
  page.rotate = ((values.rotate % 360) + 360) % 360;
  return true;
}
