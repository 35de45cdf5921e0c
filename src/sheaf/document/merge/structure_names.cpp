// A name that means something else in the target is replaced by one with a number.
#include "sheaf/document/merge/structure_names.h"

#include <cstdio>
#include <cstring>

#include "sheaf/object/array.h"
#include "sheaf/object/references.h"

namespace sheaf {

namespace {

bool is_same(const CPDFObj& a, const CPDFObj& b) {
  ReferenceList references;
  collect_references(a, references);
  collect_references(b, references);
  if (!references.empty())
    return false;  // whether those are the same is not known
  CQVStreamMem left;
  CQVStreamMem right;
  a.write(&left, nullptr);
  b.write(&right, nullptr);
  return left.len == right.len && (left.len == 0 || std::memcmp(left.data, right.data, left.len) == 0);
}

// The new name of `value` where it has one.
void put_new_name(CPDFObj& value, const CPDFDictionary& names) {
  const CPDFObj* const fresh = value.tag == kTagName ? names.get_item(value.as_name()) : nullptr;
  if (fresh != nullptr)
    value.copy_from(fresh);
}

}  // namespace

void StructureNames::load(const CPDFDictionary& root) {
  Freed<CPDFObj> map = table_.value(&root, "RoleMap");
  roles_.copy_from(map.as_dict());
  map = table_.value(&root, "ClassMap");
  classes_.copy_from(map.as_dict());
  identifiers_.load(table_, &root);
}

void StructureNames::start(MergeSource& source, const CPDFDictionary& root) {
  new_roles_.clear();
  new_classes_.clear();
  new_identifiers_.clear();
  take_roles(source, root);
  take_classes(source, root);
}

void StructureNames::take_roles(MergeSource& source, const CPDFDictionary& root) {
  Freed<CPDFObj> map = source.table.value(&root, "RoleMap");
  CPDFDictionary* const theirs = map.as_dict();
  for (std::int32_t i = 0; theirs != nullptr && i < theirs->count; ++i) {
    const CPDFDictItem& role = *theirs->items[i];
    const CPDFObj* const ours = roles_.get_item(role.key());
    if (role.tag != kTagName || ours == nullptr || ours->is_name(role.as_name()))
      continue;
    Freed<CPDFObj> fresh;
    find_free_key(roles_, role.key(), fresh);
    new_roles_.move_item(role.key(), fresh);
  }
  // A role may lead to another one that has a new name.
  for (std::int32_t i = 0; theirs != nullptr && i < theirs->count; ++i) {
    CPDFDictItem& role = *theirs->items[i];
    if (role.tag != kTagName)
      continue;
    put_new_name(role, new_roles_);
    const CPDFObj* const fresh = new_roles_.get_item(role.key());
    roles_.set_item(fresh != nullptr ? fresh->as_name() : role.key(), &role);
  }
  target_.note(PDF_MERGE_FATE::kRenamed, "structure roles", new_roles_.count);
}

void StructureNames::take_classes(MergeSource& source, const CPDFDictionary& root) {
  Freed<CPDFObj> map = source.table.value(&root, "ClassMap");
  for (std::int32_t i = 0; map.as_dict() != nullptr && i < map.as_dict()->count; ++i) {
    CPDFDictItem& item = *map.as_dict()->items[i];
    const CPDFObj* const ours = classes_.get_item(item.key());
    if (ours != nullptr && is_same(*ours, item))
      continue;
    Freed<CPDFObj> value;
    value.move_from(item);
    if (!source.import(value))
      continue;
    if (ours == nullptr) {
      classes_.move_item(item.key(), value);
      continue;
    }
    Freed<CPDFObj> fresh;
    find_free_key(classes_, item.key(), fresh);
    if (fresh.tag != kTagName)
      continue;
    classes_.move_item(fresh.as_name(), value);
    new_classes_.move_item(item.key(), fresh);
  }
  target_.note(PDF_MERGE_FATE::kRenamed, "structure classes", new_classes_.count);
}

void StructureNames::take_identifier(const PDF_String& id, const PDF_REF& element) {
  const bool is_free = identifiers_.list().find(id) < 0;
  const std::int32_t index = identifiers_.add(id, element);
  if (is_free || index < 0 || new_identifiers_.find(id) >= 0)
    return;
  new_identifiers_.add(id, {index, 0});
  target_.note(PDF_MERGE_FATE::kRenamed, "structure identifiers");
}

void StructureNames::give_identifier(CPDFDictionary& entry, const PDF_REF& made) {
  const CPDFObj* const id = entry.get_item("ID");
  const std::int32_t index = id != nullptr && id->tag == kTagString ? identifiers_.add(id->as_string(), made) : -1;
  if (index < 0) {
    entry.set_item("ID", nullptr);
    return;
  }
  if (copied_identifiers_.find(id->as_string()) < 0)
    copied_identifiers_.add(id->as_string(), {index, 0});
  const PDF_String& name = identifiers_.list().at(index).name;
  entry.set_item_str("ID", name.data, name.len);
}

bool StructureNames::rename_identifier(CPDFObj& value, const NameList& names) const {
  const std::int32_t entry = value.tag == kTagString ? names.find(value.as_string()) : -1;
  if (entry < 0)
    return false;
  const PDF_String& name = identifiers_.list().at(names.at(entry).value.num).name;
  value.set_string(name.data, name.len);
  return true;
}

void StructureNames::rename(CPDFDictionary& element) const {
  if (CPDFObj* const role = element.get_item("S"))
    put_new_name(*role, new_roles_);
  if (CPDFObj* const id = element.get_item("ID"))
    rename_identifier(*id, new_identifiers_);
  CPDFObj* const classes = element.get_item("C");
  if (classes == nullptr)
    return;
  put_new_name(*classes, new_classes_);
  for (std::int32_t i = 0; classes->as_array() != nullptr && i < classes->as_array()->count; ++i)
    put_new_name(classes->as_array()->items[i], new_classes_);
}

void StructureNames::rename_headers(CPDFDictionary& attributes) const {
  rename_headers(attributes, new_identifiers_);
}

bool StructureNames::rename_headers(CPDFDictionary& attributes, const NameList& names) const {
  CPDFObj* const headers = names.size() > 0 ? attributes.get_item("Headers") : nullptr;
  const CPDFObj* const owner = attributes.get_item("O");
  if (headers == nullptr || headers->as_array() == nullptr || owner == nullptr || !owner->is_name("Table"))
    return false;
  bool renamed = false;
  for (std::int32_t i = 0; i < headers->as_array()->count; ++i)
    renamed = rename_identifier(headers->as_array()->items[i], names) || renamed;
  return renamed;
}

// Attributes that are objects of their own are shared with the first copy, and so become values of this one.
void StructureNames::rename_copied_headers(CPDFDictionary& cell) const {
  CPDFObj* const attributes = cell.get_item("A");
  if (attributes == nullptr || copied_identifiers_.size() == 0)
    return;
  Freed<CPDFObj> all = table_.value(attributes);
  bool renamed = all.as_dict() != nullptr && rename_headers(*all.as_dict(), copied_identifiers_);
  for (std::int32_t i = 0; all.as_array() != nullptr && i < all.as_array()->count; ++i) {
    CPDFObj& item = all.as_array()->items[i];
    Freed<CPDFObj> one = table_.value(&item);
    if (one.as_dict() == nullptr || !rename_headers(*one.as_dict(), copied_identifiers_))
      continue;
    item.move_from(one);
    renamed = true;
  }
  if (renamed)
    cell.move_item("A", all);
}

void StructureNames::put(CPDFDictionary& root) {
  if (roles_.count > 0)
    root.set_item_dict("RoleMap", &roles_);
  if (classes_.count > 0)
    root.set_item_dict("ClassMap", &classes_);
  identifiers_.put(table_, root);
}

}  // namespace sheaf
