// Names are found through a hash index while they are collected, and sorted once when the tree is written.
#include "sheaf/document/names/name_list.h"

#include <algorithm>
#include <cstring>

#include "sheaf/base/heap.h"
#include "sheaf/base/number_text.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

namespace {

constexpr std::size_t kFirstBuckets = 64;
constexpr std::size_t kLeafNames = 64;
constexpr std::size_t kMostKids = 32;

std::uint32_t hash_of(const PDF_String& name) {
  std::uint32_t hash = 2166136261u;
  for (std::int32_t i = 0; i < name.len; ++i)
    hash = (hash ^ static_cast<unsigned char>(name.data[i])) * 16777619u;
  return hash;
}

bool lies_before(const PDF_String& a, const PDF_String& b) {
  const int order = std::memcmp(a.data, b.data, static_cast<std::size_t>(std::min(a.len, b.len)));
  return order != 0 ? order < 0 : a.len < b.len;
}

struct Node {
  PDF_REF ref;
  std::size_t first;  // indices of the least and the greatest name below
  std::size_t last;
};

}  // namespace

NameList::~NameList() {
  clear();
}

void NameList::clear() {
  for (Entry& entry : entries_)
    QVFree(entry.name.data);
  entries_.clear();
  buckets_.reset();
}

std::int32_t NameList::find(const PDF_String& name) const {
  if (buckets_.empty())
    return -1;
  std::int32_t index = buckets_[hash_of(name) % buckets_.size()];
  while (index >= 0) {
    const Entry& entry = at(index);
    if (entry.name.len == name.len &&
        std::memcmp(entry.name.data, name.data != nullptr ? name.data : "", static_cast<std::size_t>(name.len)) == 0)
      return index;
    index = entry.next;
  }
  return -1;
}

std::int32_t NameList::add(const PDF_String& name, const PDF_REF& value) {
  if (!grow_index())
    return -1;
  auto* bytes = static_cast<char*>(QVAlloc(static_cast<std::size_t>(name.len) + 1));
  if (bytes == nullptr)
    return -1;
  if (name.len > 0)
    std::memcpy(bytes, name.data, static_cast<std::size_t>(name.len));
  bytes[name.len] = 0;
  std::int32_t& head = buckets_[hash_of(name) % buckets_.size()];
  if (!entries_.push({{name.len, bytes}, value, head, 1})) {
    QVFree(bytes);
    return -1;
  }
  head = size() - 1;
  return head;
}

std::int32_t NameList::add_unique(const PDF_String& name, const PDF_REF& value) {
  const std::int32_t taken = find(name);
  if (taken < 0)
    return add(name, value);
  const HeapBlock<char> room(static_cast<char*>(QVAlloc(static_cast<std::size_t>(name.len) + 1 + kNumberTextSize)));
  if (!room)
    return -1;
  std::memcpy(room.get(), at(taken).name.data, static_cast<std::size_t>(name.len));
  room[static_cast<std::size_t>(name.len)] = '-';
  PDF_String numbered{0, room.get()};
  do {
    const std::int32_t number = ++entries_[taken].last_number;
    numbered.len = name.len + 1 + ansi_from_i32(room.get() + name.len + 1, number);
  } while (find(numbered) >= 0);
  return add(numbered, value);
}

bool NameList::grow_index() {
  if (entries_.size() < buckets_.size())
    return true;
  if (!buckets_.resize(buckets_.empty() ? kFirstBuckets : buckets_.size() * 2))
    return false;
  std::fill(buckets_.begin(), buckets_.end(), -1);
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    std::int32_t& head = buckets_[hash_of(entries_[i].name) % buckets_.size()];
    entries_[i].next = head;
    head = static_cast<std::int32_t>(i);
  }
  return true;
}

PDF_REF NameList::store_tree(CPDFXRefTable& table) {
  if (entries_.empty())
    return {0, 0};
  std::sort(entries_.begin(), entries_.end(),
            [](const Entry& a, const Entry& b) { return lies_before(a.name, b.name); });
  buckets_.reset();
  GrowArray<Node> level;
  const auto store = [&](const Node& node, const char* key, const CPDFArray& items, bool is_root) {
    Cleared<CPDFDictionary> dict;
    dict.set_item_arr(key, &items);
    if (!is_root) {
      Cleared<CPDFArray> limits;
      for (const std::size_t index : {node.first, node.last})
        limits.append_str(entries_[index].name.data, entries_[index].name.len);
      dict.set_item_arr("Limits", &limits);
    }
    table.store_dict(node.ref, &dict);
  };
  for (std::size_t at = 0; at < entries_.size(); at += kLeafNames) {
    const std::size_t end = std::min(at + kLeafNames, entries_.size());
    Cleared<CPDFArray> names;
    for (std::size_t i = at; i < end; ++i) {
      names.append_str(entries_[i].name.data, entries_[i].name.len);
      names.append_ref(entries_[i].value);
    }
    const Node leaf{{table.alloc_obj_num(), 0}, at, end - 1};
    store(leaf, "Names", names, entries_.size() <= kLeafNames);
    if (!level.push(leaf))
      return {0, 0};
  }
  while (level.size() > 1) {
    std::size_t made = 0;
    const std::size_t count = level.size();
    for (std::size_t at = 0; at < count; at += kMostKids) {
      const std::size_t end = std::min(at + kMostKids, count);
      Cleared<CPDFArray> kids;
      for (std::size_t i = at; i < end; ++i)
        kids.append_ref(level[i].ref);
      const Node node{{table.alloc_obj_num(), 0}, level[at].first, level[end - 1].last};
      store(node, "Kids", kids, count <= kMostKids);
      level[made++] = node;
    }
    while (level.size() > made)
      level.pop();
  }
  return level[0].ref;
}

}  // namespace sheaf
