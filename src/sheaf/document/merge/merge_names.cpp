// Each kind of names is loaded once, and written when the merge ends.
#include "sheaf/document/merge/merge_names.h"

#include <cstring>
#include <new>

#include "sheaf/document/names/name_tree.h"
#include "sheaf/object/array.h"

namespace sheaf {

MergeNames::MergeNames(MergeTarget& target)
    : target_(target),
      table_(target.table),
      kinds_{{NameAdditions("JavaScript"), "document scripts"},
             {NameAdditions("AP"), "named appearances"},
             {NameAdditions("Pages"), "named pages"},
             {NameAdditions("Templates"), "page templates"},
             {NameAdditions("IDS"), "web capture identifiers"},
             {NameAdditions("URLS"), "web capture addresses"},
             {NameAdditions("AlternatePresentations"), "alternate presentations"},
             {NameAdditions("Renditions"), "renditions"}} {}

void MergeNames::load() {
  Freed<CPDFObj> catalog = table_.catalog();
  if (catalog.as_dict() == nullptr)
    return;
  Freed<CPDFObj> names = table_.value(catalog.as_dict(), "Names");
  destinations_.load(table_, names.as_dict());
  files_.load(table_, names.as_dict());
  for (Kind& kind : kinds_)
    kind.names.load(table_, names.as_dict());
  Freed<CPDFObj> old = table_.value(catalog.as_dict(), "Dests");
  for (std::int32_t i = 0; old.as_dict() != nullptr && i < old.as_dict()->count; ++i) {
    auto* key = const_cast<char*>(old.as_dict()->items[i]->key());
    destinations_.reserve({static_cast<std::int32_t>(std::strlen(key)), key});
  }
}

void MergeNames::add(MergeSource& source, NameAdditions& ours, const PDF_String& name, const CPDFObj& value,
                     const char* entry) {
  Freed<CPDFObj> copy;
  copy.copy_from(&value);
  const PDF_REF ref = source.import_object(copy);
  if (ref.num == 0) {
    target_.note(PDF_MERGE_FATE::kDropped, entry);
    return;
  }
  const bool is_free = ours.list().find(name) < 0;
  if (ours.add(name, ref) >= 0)
    target_.note(is_free ? PDF_MERGE_FATE::kJoined : PDF_MERGE_FATE::kRenamed, entry);
}

void MergeNames::take_kind(MergeSource& source, NameAdditions& ours, const CPDFObj* tree, const char* entry) {
  name_tree_walk(source.table, tree,
                 [&](const PDF_String& name, const CPDFObj& value) { add(source, ours, name, value, entry); });
}

void MergeNames::take(MergeSource& source) {
  Freed<CPDFObj> names;
  source.read(names, "Names");
  if (names.as_dict() == nullptr)
    return;
  take_files(source, names.as_dict()->get_item(files_.key()));
  for (Kind& kind : kinds_)
    take_kind(source, kind.names, names.as_dict()->get_item(kind.names.key()), kind.entry);
}

// The embedded files that actions of the pages lead into, by name (ISO 32000-1, 12.6.4.4).
void MergeNames::find_targets(MergeSource& source, NameList& targets) const {
  for (std::uint32_t i = source.first_slot; i < table_.new_obj_count; ++i) {
    const CPDFDictionary* dict = table_.new_objs[i].obj.as_dict();
    const CPDFObj* action = dict != nullptr ? dict->get_item("A") : nullptr;
    if (action != nullptr && action->as_dict() != nullptr)
      dict = action->as_dict();
    const CPDFObj* kind = dict != nullptr ? dict->get_item("S") : nullptr;
    if (kind == nullptr || !kind->is_name("GoToE"))
      continue;
    Freed<CPDFObj> into = table_.value(dict, "T");
    const CPDFObj* name = into.item("N");
    if (name != nullptr && name->tag == kTagString && targets.find(name->as_string()) < 0)
      targets.add(name->as_string(), {1, 0});
  }
}

// The file specifications that pages refer to which stay behind.
void MergeNames::find_elsewhere(MergeSource& source, VisitedSet& elsewhere) const {
  Freed<CPDFObj> page;
  Freed<CPDFObj> annots;
  Freed<CPDFObj> annot;
  const auto look_at = [&](const CPDFDictionary& dict) {
    if (const CPDFObj* file = dict.get_item("FS"))
      elsewhere.visit(file->as_ref().num);
    Freed<CPDFObj> list = source.table.value(&dict, "AF");
    for (std::int32_t i = 0; list.as_array() != nullptr && i < list.as_array()->count; ++i)
      elsewhere.visit(list.as_array()->items[i].as_ref().num);
  };
  for (int i = 0; i < source.doc.page_count(); ++i) {
    const PDF_REF ref = source.doc.page_ref(i);
    if (source.wanted.has(ref.num))
      continue;
    page = source.table.object(ref);
    if (page.as_dict() == nullptr)
      continue;
    look_at(*page.as_dict());
    annots = source.table.value(page.as_dict(), "Annots");
    for (std::int32_t k = 0; annots.as_array() != nullptr && k < annots.as_array()->count; ++k) {
      annot = source.table.value(annots.as_array()->items + k);
      if (annot.as_dict() != nullptr)
        look_at(*annot.as_dict());
    }
  }
}

void MergeNames::take_files(MergeSource& source, const CPDFObj* tree) {
  using Files = PDF_MERGE_FILES;
  const Files which = target_.options.files;
  if (tree == nullptr)
    return;
  NameList targets;
  VisitedSet elsewhere;
  if (which == Files::kReferred || which == Files::kReferredAndLoose)
    find_targets(source, targets);
  if (which == Files::kReferredAndLoose)
    find_elsewhere(source, elsewhere);
  name_tree_walk(source.table, tree, [&](const PDF_String& name, const CPDFObj& value) {
    const std::int32_t num = value.as_ref().num;
    const bool referred = source.copy_of(num).num != 0 || targets.find(name) >= 0;
    const bool wanted = which == Files::kAll || (which != Files::kNone && referred) ||
                        (which == Files::kReferredAndLoose && !elsewhere.has(num));
    if (wanted)
      add(source, files_, name, value, "attachments");
    else
      target_.note(PDF_MERGE_FATE::kDropped, "attachments");
  });
}

void MergeNames::put(CPDFDictionary& catalog) {
  const CPDFObj* const item = catalog.get_item("Names");
  const PDF_REF place = ref_of(item);
  Freed<CPDFObj> names = table_.value(item);
  if (names.as_dict() == nullptr)
    names.take_dict(new (std::nothrow) CPDFDictionary);
  if (names.as_dict() == nullptr)
    return;
  destinations_.put(table_, *names.as_dict());
  files_.put(table_, *names.as_dict());
  for (Kind& kind : kinds_)
    kind.names.put(table_, *names.as_dict());
  if (names.as_dict()->count == 0)
    return;
  if (place.num != 0)
    table_.store_object(place, names);
  else
    catalog.move_item("Names", names);
}

}  // namespace sheaf
