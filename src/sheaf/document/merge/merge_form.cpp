// Fields are imported one by one; a name that is taken gets a number after it.
#include "sheaf/document/merge/merge_form.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "sheaf/base/number_text.h"
#include "sheaf/base/wide_text.h"
#include "sheaf/document/merge/form_fonts.h"
#include "sheaf/document/merge/name_additions.h"
#include "sheaf/object/array.h"
#include "sheaf/object/text_utf8.h"

namespace sheaf {

namespace {

constexpr std::size_t kMostNodes = 4'000'000;
constexpr int kMostFonts = 64;  // of a form, that are compared with those of the same name
// Of the signature flags only this one is true of a document whose signatures ended: fields to sign are there.
constexpr int kHasSignatureFields = 1;

bool same_text(const CPDFObj& a, const CPDFObj& b) {
  const PDF_String left = a.as_string();
  const PDF_String right = b.as_string();
  return left.len == right.len &&
         (left.len == 0 || std::memcmp(left.data, right.data, static_cast<std::size_t>(left.len)) == 0);
}

// The partial name of a field as UTF-8; null without one. The caller releases it with QVFree.
char* partial_name(CPDFXRefTable& table, const CPDFDictionary& field, std::size_t& len) {
  Freed<CPDFObj> text = table.value(&field, "T");
  len = 0;
  return text.tag == kTagString ? text_to_utf8(text.as_string(), len) : nullptr;
}

PDF_String borrowed(char* text, std::size_t len) {
  return {static_cast<std::int32_t>(len), text};
}

}  // namespace

void MergeForm::take(MergeSource& source) {
  Freed<CPDFObj> form;
  source.read(form, CPDFDictionary::sm_tag_acro_form);
  if (form.as_dict() == nullptr)
    return;
  if (form.as_dict()->get_item("XFA") != nullptr)
    target_.note(PDF_MERGE_FATE::kDropped, "XFA form");
  Freed<CPDFObj> fields = source.table.value(form.as_dict(), "Fields");
  if (fields.as_array() == nullptr || fields.as_array()->count == 0)
    return;
  leave_out_fields(source, *fields.as_array());
  const std::int32_t first_field = form_.field_count();
  for (std::int32_t i = 0; i < fields.as_array()->count; ++i)
    take_field(source, fields.as_array()->items[i].as_ref());
  if (form_.field_count() == first_field)
    return;
  take_resources(source, *form.as_dict());
  take_settings(source, *form.as_dict(), first_field);
  take_order(source, *form.as_dict());
}

void MergeForm::take_field(MergeSource& source, const PDF_REF& ref) {
  if (ref.num < 1 || !source.is_mapped(ref.num) || source.context->map[ref.num] != 0) {
    if (ref.num < 1 || source.is_left_out(ref.num))
      target_.note(PDF_MERGE_FATE::kDropped, "fields");
    return;
  }
  Freed<CPDFObj> field = source.table.object(ref);
  if (field.as_dict() != nullptr)
    append_field(&source, table_.clone_obj(&source.table, source.context, ref));
}

// Appends a field object under a name that is free: its own, or that with the first free number
// after it. Where each search ended is remembered, so that many fields of one name take no longer.
void MergeForm::append_field(MergeSource* source, const PDF_REF& ref) {
  const CPDFDictionary* const dict = target_.stored_dict(ref);
  if (dict == nullptr) {
    target_.note(PDF_MERGE_FATE::kDropped, "fields");
    return;
  }
  std::size_t len = 0;
  const HeapBlock<char> old(partial_name(table_, *dict, len));
  Freed<CPDFObj> text = table_.value(dict, "T");
  const bool is_free = !old || len == 0 || form_.get_field(text.as_string()) == nullptr;
  CPDFField* const field = form_.append_field(ref);
  target_.note(is_free ? PDF_MERGE_FATE::kJoined : PDF_MERGE_FATE::kRenamed, "fields");
  if (is_free || field == nullptr)
    return;
  const std::size_t base = ucs_len(field->name());
  const HeapBlock<wchar_t> name(static_cast<wchar_t*>(QVCalloc(base + kNumberTextSize + 1, sizeof(wchar_t))));
  std::int32_t entry = tried_.find(borrowed(old.get(), len));
  if (entry < 0)
    entry = tried_.add(borrowed(old.get(), len), {0, 0});
  if (!name || entry < 0)
    return;
  std::copy(field->name(), field->name() + base, name.get());
  std::int32_t number = tried_.at(entry).value.num;
  do {
    char digits[kNumberTextSize];
    const int count = ansi_from_i32(digits, number++);
    std::copy(digits, digits + count, name.get() + base);
    name[base + static_cast<std::size_t>(count)] = 0;
  } while (form_.get_field(name.get()) != nullptr);
  tried_.set_value(entry, {number, 0});
  field->set_name(name.get());
  const CPDFDictionary* const renamed = target_.stored_dict(ref);
  if (source == nullptr || renamed == nullptr || source->old_field_names.find(borrowed(old.get(), len)) >= 0)
    return;
  std::size_t new_len = 0;
  const HeapBlock<char> fresh(partial_name(table_, *renamed, new_len));
  if (!fresh)
    return;
  const std::int32_t index = source->new_field_names.find(borrowed(fresh.get(), new_len)) < 0
                                 ? source->new_field_names.add(borrowed(fresh.get(), new_len), {0, 0})
                                 : -1;
  if (index >= 0)
    source->old_field_names.add(borrowed(old.get(), len), {index, 0});
}

// A widget of a page that was taken before.
void MergeForm::add_widget(const PDF_REF& widget) {
  const CPDFDictionary* const dict = target_.stored_dict(widget);
  const CPDFObj* const kind = dict != nullptr ? dict->get_item(CPDFDictionary::sm_tag_subtype) : nullptr;
  if (kind == nullptr || !kind->is_name("Widget"))
    return;
  const CPDFObj* const above = dict->get_item(CPDFDictionary::sm_tag_parent);
  if (above == nullptr || above->tag != kTagRef) {
    if (dict->get_item("T") != nullptr)
      append_field(nullptr, widget);
    return;
  }
  CPDFDictionary* const parent = target_.stored_dict(above->as_ref());
  if (parent == nullptr)
    return;
  Freed<CPDFObj> kids = table_.value(parent, "Kids");
  if (kids.as_array() == nullptr)
    return;
  kids.as_array()->append_ref(widget);
  parent->move_item("Kids", kids);
  if (dict->get_item("T") != nullptr)
    name_kid(above->as_ref(), widget);
}

// A field below another gets a name that none of its siblings has.
void MergeForm::name_kid(const PDF_REF& parent, const PDF_REF& kid) {
  const auto key_of = [this](const PDF_REF& above, const PDF_REF& ref, PDF_String& key) {
    const CPDFDictionary* const dict = target_.stored_dict(ref);
    std::size_t len = 0;
    const HeapBlock<char> name(dict != nullptr ? partial_name(table_, *dict, len) : nullptr);
    key.data = name ? static_cast<char*>(QVAlloc(kNumberTextSize + len + 1)) : nullptr;
    if (key.data == nullptr)
      return false;
    const int front = ansi_from_i32(key.data, above.num);
    key.data[front] = '/';
    std::memcpy(key.data + front + 1, name.get(), len);
    key.len = front + 1 + static_cast<std::int32_t>(len);
    return true;
  };
  PDF_String key{0, nullptr};
  Freed<CPDFObj> kids;
  const CPDFDictionary* const above = target_.stored_dict(parent);
  if (above != nullptr && parents_.visit(parent.num))
    kids = table_.value(above, "Kids");
  for (std::int32_t i = 0; kids.as_array() != nullptr && i < kids.as_array()->count; ++i) {
    const PDF_REF sibling = kids.as_array()->items[i].as_ref();
    if (sibling == kid || !key_of(parent, sibling, key))
      continue;
    if (kid_names_.find(key) < 0)
      kid_names_.add(key, sibling);
    QVFree(key.data);
  }
  if (!key_of(parent, kid, key))
    return;
  const std::int32_t index = kid_names_.add_unique(key, kid);
  QVFree(key.data);
  CPDFDictionary* const dict = target_.stored_dict(kid);
  if (index < 0 || dict == nullptr)
    return;
  PDF_String text{0, nullptr};
  text_from_utf8(std::strchr(kid_names_.at(index).name.data, '/') + 1, text);
  dict->set_item_str("T", text.data, text.len);
  QVFree(text.data);
}

void MergeForm::add_repeated(const PDF_REF& page) {
  const CPDFDictionary* const dict = target_.stored_dict(page);
  Freed<CPDFObj> annots = table_.value(dict, "Annots");
  for (std::int32_t i = 0; annots.as_array() != nullptr && i < annots.as_array()->count; ++i)
    add_widget(annots.as_array()->items[i].as_ref());
}

// Leaves out the annotations of pages that are left out, and the fields that have no others.
void MergeForm::leave_out_fields(MergeSource& source, const CPDFArray& fields) {
  Freed<CPDFObj> obj;
  Freed<CPDFObj> list;
  for (int i = 0; i < source.doc.page_count(); ++i) {
    if (source.wanted.has(source.doc.page_ref(i).num))
      continue;
    obj = source.table.object(source.doc.page_ref(i));
    list = source.table.value(obj.as_dict(), "Annots");
    for (std::int32_t k = 0; list.as_array() != nullptr && k < list.as_array()->count; ++k)
      source.leave_out(list.as_array()->items + k);
  }
  struct Node {
    CPDFObj ref;
    std::int32_t parent;
    std::int32_t kids;
    std::int32_t absent;
  };
  GrowArray<Node> nodes;
  VisitedSet visited;
  const auto add = [&](const CPDFObj& item, std::int32_t parent) {
    if (item.tag == kTagRef && nodes.size() < kMostNodes && visited.visit(item.as_ref().num))
      nodes.push({item, parent, 0, 0});
  };
  for (std::int32_t i = 0; i < fields.count; ++i)
    add(fields.items[i], -1);
  for (std::size_t at = 0; at < nodes.size(); ++at) {
    obj = source.table.object(nodes[at].ref.as_ref());
    list = source.table.value(obj.as_dict(), "Kids");
    const std::size_t before = nodes.size();
    for (std::int32_t k = 0; list.as_array() != nullptr && k < list.as_array()->count; ++k)
      add(list.as_array()->items[k], static_cast<std::int32_t>(at));
    nodes[at].kids = static_cast<std::int32_t>(nodes.size() - before);
  }
  // Kids follow their parents.
  for (std::size_t at = nodes.size(); at-- > 0;) {
    const Node& node = nodes[at];
    const std::int32_t num = node.ref.as_ref().num;
    if (node.kids > 0 && node.absent == node.kids)
      source.leave_out(&node.ref);
    const bool absent = source.is_left_out(num);
    if (absent && node.parent >= 0)
      ++nodes[node.parent].absent;
  }
}

// The order of calculation: of the document's own fields, then of those of each source.
void MergeForm::take_order(MergeSource& source, const CPDFDictionary& form) {
  Freed<CPDFObj> theirs = source.table.value(&form, "CO");
  CPDFDictionary* const ours = form_.edit_dict();
  if (theirs.as_array() == nullptr || ours == nullptr)
    return;
  Freed<CPDFObj> list = table_.value(ours, "CO");
  if (list.as_array() == nullptr)
    list.take_array(new (std::nothrow) CPDFArray);
  for (std::int32_t i = 0; list.as_array() != nullptr && i < theirs.as_array()->count; ++i) {
    const PDF_REF copy = source.copy_of(theirs.as_array()->items[i].as_ref().num);
    if (copy.num != 0)
      list.as_array()->append_ref(copy);
  }
  if (list.as_array() != nullptr && list.as_array()->count > 0)
    ours->move_item("CO", list);
}

// Default appearance and alignment: the first source's become the form's; those of others go into
// their own fields. Whether appearances must be made, and the signature flags, add up.
void MergeForm::take_settings(MergeSource& source, const CPDFDictionary& form, std::int32_t first_field) {
  Freed<CPDFObj> theirs;
  for (const char* key : {"DA", "Q"}) {
    theirs = source.table.value(&form, key);
    rename_fonts(theirs, source.new_font_names);
    CPDFDictionary* ours = form_.edit_dict();
    const CPDFObj* present = ours != nullptr ? ours->get_item(key) : nullptr;
    const bool same = present != nullptr && present->tag == theirs.tag && present->to_int() == theirs.to_int() &&
                      same_text(*present, theirs);
    if (ours == nullptr || theirs.is_null() || same)
      continue;
    if (first_field == 0 && present == nullptr) {
      ours->set_item(key, &theirs);
      continue;
    }
    for (std::int32_t i = first_field; i < form_.field_count(); ++i) {
      const PDF_REF ref = form_.field_at(i)->ref();
      const PDF_NEWOBJ* slot = form_.field_at(i)->is_top() ? table_.get_xref2(ref.num, ref.gen) : nullptr;
      CPDFDictionary* const field = slot != nullptr ? slot->obj.as_dict() : nullptr;
      if (field != nullptr && field->get_item(key) == nullptr)
        field->set_item(key, &theirs);
    }
  }
  CPDFDictionary* const ours = form_.edit_dict();
  if (ours == nullptr)
    return;
  theirs = source.table.value(&form, "NeedAppearances");
  if (theirs.as_bool())
    ours->set_item_bool("NeedAppearances", 1);
  theirs = source.table.value(&form, "SigFlags");
  const CPDFObj* flags = ours->get_item("SigFlags");
  if (theirs.tag == kTagInt && theirs.as_int() != 0)
    ours->set_item_int("SigFlags", kHasSignatureFields | (flags != nullptr ? flags->as_int() : 0));
}

// Default resources: what has no entry of its name yet is taken. Where a name is taken, a font that is another
// one gets a new name; of the rest the first source's stays, as appearances name their own resources.
void MergeForm::take_resources(MergeSource& source, const CPDFDictionary& form) {
  Freed<CPDFObj> resources = source.table.value(&form, "DR");
  for (std::int32_t i = 0; resources.as_dict() != nullptr && i < resources.as_dict()->count; ++i) {
    const CPDFDictItem& category = *resources.as_dict()->items[i];
    Freed<CPDFObj> theirs = source.table.value(&category);
    if (theirs.as_dict() != nullptr)
      take_category(source, category.key(), *theirs.as_dict());
  }
}

void MergeForm::take_category(MergeSource& source, const char* category, CPDFDictionary& theirs) {
  const CPDFDictionary* const form = form_.edit_dict();
  Cleared<CPDFDictionary> merged;
  {
    const Freed<CPDFObj> all = table_.value(form, "DR");
    const Freed<CPDFObj> ours = table_.value(all.as_dict(), category);
    merged.copy_from(ours.as_dict());
  }
  const bool is_fonts = std::strcmp(category, "Font") == 0;
  int compared = 0;
  Cleared<CPDFDictionary> added;
  for (std::int32_t k = 0; k < theirs.count; ++k) {
    CPDFDictItem& item = *theirs.items[k];
    const CPDFObj* const present = merged.get_item(item.key());
    if (present == nullptr)
      added.move_item(item.key(), item);
    else if (is_fonts && (++compared > kMostFonts || !is_same_in(table_, *present, source.table, item)))
      add_renamed(source, item, merged, theirs, added);
  }
  if (added.count == 0 || table_.clone_dict(&source.table, source.context, &added) == 0)
    return;
  for (std::int32_t k = 0; k < added.count; ++k)
    merged.move_item(added.items[k]->key(), *added.items[k]);
  CPDFDictionary* const ours = form_.edit_dict();
  if (ours == nullptr)
    return;
  Freed<CPDFObj> all = table_.value(ours, "DR");
  if (all.as_dict() == nullptr)
    all.take_dict(new (std::nothrow) CPDFDictionary);
  if (all.as_dict() == nullptr)
    return;
  all.as_dict()->set_item_dict(category, &merged);
  ours->move_item("DR", all);
}

// Neither form has the new name, so that no appearance is renamed twice.
void MergeForm::add_renamed(MergeSource& source, CPDFDictItem& font, const CPDFDictionary& ours,
                            const CPDFDictionary& theirs, CPDFDictionary& added) {
  Cleared<CPDFDictionary> taken;
  taken.copy_from(&ours);
  for (std::int32_t i = 0; i < theirs.count; ++i)
    taken.set_item_int(theirs.items[i]->key(), 0);
  for (std::int32_t i = 0; i < added.count; ++i)
    taken.set_item_int(added.items[i]->key(), 0);
  Freed<CPDFObj> fresh;
  find_free_key(taken, font.key(), fresh);
  if (fresh.tag != kTagName)
    return;
  added.move_item(fresh.as_name(), font);
  target_.note(PDF_MERGE_FATE::kRenamed, "form fonts");
  source.new_font_names.move_item(font.key(), fresh);
}

}  // namespace sheaf
