// A file that is named in several places, such as the name tree and "AF", is listed once.
#include "sheaf/document/attachments/attachments.h"

#include <cstring>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/forms/flatten/page_resources_internal.h"
#include "sheaf/document/names/name_list.h"
#include "sheaf/document/names/name_tree.h"
#include "sheaf/neighbours/page/trailer_values.h"
#include "sheaf/object/text_utf8.h"

using namespace sheaf;

namespace {

// A text, or a name, as UTF-8; null when it is neither.
char* text_at(CPDFXRefTable& table, const CPDFDictionary* dict, const char* key) {
  const Freed<CPDFObj> value = table.value(dict, key);
  std::size_t len = 0;
  if (value.tag == kTagString)
    return text_to_utf8(value.as_string(), len);
  if (value.as_name() == nullptr)
    return nullptr;
  const std::size_t size = std::strlen(value.as_name()) + 1;
  auto* const copy = static_cast<char*>(QVAlloc(size));
  if (copy != nullptr)
    std::memcpy(copy, value.as_name(), size);
  return copy;
}

void release(PDF_ATTACHMENT& file) {
  file.key.free();
  for (char* text : {file.name, file.description, file.type, file.created, file.modified})
    QVFree(text);
}

// The stream of the data: that of the name in Unicode, or of an older one.
PDF_REF data_of(CPDFXRefTable& table, const CPDFDictionary& spec) {
  const Freed<CPDFObj> files = table.value(&spec, "EF");
  for (const char* key : {"UF", "F", "Unix", "DOS", "Mac"}) {
    const CPDFObj* const item = files.item(key);
    if (item != nullptr && item->as_ref().num != 0)
      return item->as_ref();
  }
  return {0, 0};
}

bool store_null(CPDFXRefTable& table, const PDF_REF& ref) {
  Freed<CPDFObj> nothing;
  return ref.num == 0 || table.store_object(ref, nothing);
}

// Takes references to `gone` out of an array under `key`; the key goes with the last one.
bool take_out(CPDFXRefTable& table, CPDFDictionary& holder, const char* key, const PDF_REF& gone) {
  Freed<CPDFObj> list = table.value(&holder, key);
  if (list.as_array() == nullptr || gone.num == 0)
    return false;
  Cleared<CPDFArray> left;
  for (std::int32_t i = 0; i < list.as_array()->count; ++i) {
    if (list.as_array()->items[i].as_ref().num != gone.num)
      left.append(list.as_array()->items + i);
  }
  if (left.count == list.as_array()->count)
    return false;
  if (left.count == 0)
    holder.set_item(key, nullptr);
  else
    holder.set_item_arr(key, &left);
  return true;
}

// The name tree anew without one name. `names` is the catalogue's dictionary of names.
bool take_name_out(CPDFXRefTable& table, CPDFDictionary& names, const PDF_String& gone) {
  NameList list;
  bool good = true;
  name_tree_walk(table, names.get_item("EmbeddedFiles"), [&](const PDF_String& name, const CPDFObj& value) {
    const bool same = name.len == gone.len &&
                      (gone.len == 0 || std::memcmp(name.data, gone.data, static_cast<std::size_t>(gone.len)) == 0);
    if (same || list.find(name) >= 0)
      return;
    PDF_REF ref = value.as_ref();
    if (ref.num == 0) {
      Freed<CPDFObj> copy;
      copy.copy_from(&value);
      ref = {table.alloc_obj_num(), 0};
      good = table.store_object(ref, copy) && good;
    }
    good = list.add(name, ref) >= 0 && good;
  });
  const bool empty = list.size() == 0;
  const PDF_REF tree = list.store_tree(table);
  names.set_item("EmbeddedFiles", nullptr);
  if (!empty)
    names.set_item_ref("EmbeddedFiles", tree);
  return good && (empty || tree.num != 0);
}

}  // namespace

void CPDFAttachments::clear() {
  for (PDF_ATTACHMENT& file : list_)
    release(file);
  list_.clear();
  specs_.clear();
}

bool CPDFAttachments::add(CPDFDoc& doc, const CPDFObj& item, std::int32_t page, const PDF_REF& annotation,
                          const PDF_String* key) {
  CPDFXRefTable& table = doc.table();
  const PDF_REF ref = item.as_ref();
  const Freed<CPDFObj> spec = table.value(&item);
  if (spec.as_dict() == nullptr || spec.as_dict()->get_item("EF") == nullptr)
    return true;
  if (ref.num != 0 && !specs_.visit(ref.num))
    return true;
  PDF_ATTACHMENT file{};
  file.spec = ref;
  file.stream = data_of(table, *spec.as_dict());
  file.page = page;
  file.annotation = annotation;
  if (key != nullptr)
    file.key.set_string(key->data, key->len);
  file.name = text_at(table, spec.as_dict(), "UF");
  for (const char* other : {"F", "Unix", "DOS", "Mac"}) {
    if (file.name == nullptr)
      file.name = text_at(table, spec.as_dict(), other);
  }
  file.description = text_at(table, spec.as_dict(), "Desc");
  const Freed<CPDFObj> data = table.object(file.stream);
  const CPDFDictionary* const dict = data.as_stream() != nullptr ? &data.as_stream()->dict : nullptr;
  const Freed<CPDFObj> facts = table.value(dict, "Params");
  const Freed<CPDFObj> size = table.value(facts.as_dict(), "Size");
  file.type = text_at(table, dict, CPDFDictionary::sm_tag_subtype);
  file.created = text_at(table, facts.as_dict(), "CreationDate");
  file.modified = text_at(table, facts.as_dict(), "ModDate");
  file.size = size.is_number() && size.to_int() >= 0 ? size.to_int() : -1;
  if (list_.push(file))
    return true;
  release(file);
  return false;
}

bool CPDFAttachments::add_associated(CPDFDoc& doc, const CPDFDictionary& holder, std::int32_t page) {
  const Freed<CPDFObj> files = doc.table().value(&holder, "AF");
  if (files.as_dict() != nullptr)
    return add(doc, *holder.get_item("AF"), page, {0, 0}, nullptr);
  for (std::int32_t i = 0; files.as_array() != nullptr && i < files.as_array()->count; ++i) {
    if (!add(doc, files.as_array()->items[i], page, {0, 0}, nullptr))
      return false;
  }
  return true;
}

bool CPDFAttachments::add_annotations(CPDFDoc& doc) {
  CPDFXRefTable& table = doc.table();
  VisitedSet pages;
  for (int i = 0; i < doc.page_count(); ++i) {
    if (!pages.visit(doc.page_ref(i).num))
      continue;
    const Freed<CPDFObj> page = table.object(doc.page_ref(i));
    const Freed<CPDFObj> annots = table.value(page.as_dict(), "Annots");
    for (std::int32_t k = 0; annots.as_array() != nullptr && k < annots.as_array()->count; ++k) {
      const CPDFObj& item = annots.as_array()->items[k];
      const Freed<CPDFObj> annotation = table.value(&item);
      const CPDFObj* const spec = annotation.item("FS");
      if (spec != nullptr && !add(doc, *spec, i, item.as_ref(), nullptr))
        return false;
    }
    if (page.as_dict() != nullptr && !add_associated(doc, *page.as_dict(), i))
      return false;
  }
  return true;
}

bool CPDFAttachments::load(CPDFDoc& doc) {
  clear();
  const HeapWatch watch;
  CPDFXRefTable& table = doc.table();
  const Freed<CPDFObj> catalog = table.catalog();
  const Freed<CPDFObj> names = table.value(catalog.as_dict(), "Names");
  bool good = true;
  name_tree_walk(table, names.item("EmbeddedFiles"), [&](const PDF_String& name, const CPDFObj& value) {
    good = add(doc, value, -1, {0, 0}, &name) && good;
  });
  if (catalog.as_dict() != nullptr)
    good = add_associated(doc, *catalog.as_dict(), -1) && good;
  return add_annotations(doc) && good && watch.all_granted();
}

bool CPDFAttachments::remove(CPDFDoc& doc, std::int32_t index) const {
  const PDF_ATTACHMENT& file = at(index);
  CPDFXRefTable& table = doc.table();
  const HeapWatch watch;
  if (!give_trailer_values_numbers(table))
    return false;
  Freed<CPDFObj> catalog = table.catalog();
  CPDFDictionary* const top = catalog.as_dict();
  if (top == nullptr)
    return false;
  if (file.key.tag == kTagString) {
    const CPDFObj* const item = top->get_item("Names");
    const PDF_REF place = ref_of(item);
    Freed<CPDFObj> names = table.value(item);
    if (names.as_dict() == nullptr || !take_name_out(table, *names.as_dict(), file.key.as_string()))
      return false;
    if (place.num == 0)
      top->move_item("Names", names);
    else if (!table.store_object(place, names))
      return false;
  }
  take_out(table, *top, "AF", file.spec);
  if (!table.store_object(table.root.as_ref(), catalog))
    return false;
  for (int i = 0; i < doc.page_count(); ++i) {
    Freed<CPDFObj> page = table.object(doc.page_ref(i));
    if (page.as_dict() == nullptr)
      continue;
    const bool held = take_out(table, *page.as_dict(), "Annots", file.annotation);
    const bool named = take_out(table, *page.as_dict(), "AF", file.spec);
    if ((held || named) && !table.store_object(doc.page_ref(i), page))
      return false;
  }
  return store_null(table, file.annotation) && store_null(table, file.spec) && store_null(table, file.stream) &&
         watch.all_granted();
}
