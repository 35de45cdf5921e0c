// Appending one source: pages get their numbers first, then are copied, then all that belongs to the
// document as a whole is merged. What fails is taken back.
#include "sheaf/document/merge/doc_merge.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "sheaf/document/merge/doc_merge_internal.h"
#include "sheaf/document/names/number_tree.h"

using namespace sheaf;

namespace {

// A source is read in the order of its file for the most part, so that few of its object streams need
// to be held; what comes along is held itself.
constexpr std::int64_t kSourceBudget = 1 << 20;
constexpr int kFewPart = 4;

}  // namespace

CPDFDocMerge::~CPDFDocMerge() = default;

std::int32_t CPDFDocMerge::append(CPDFDoc& source, const std::int32_t* pages, std::int32_t count, const char* title) {
  CPDFMergeContext* const context = table_.import_start(&into_, &source.table());
  if (context == nullptr)
    return 0;
  const std::int64_t budget = source.table().objstm_budget.limit;
  source.table().objstm_budget.limit = std::min(budget, kSourceBudget);
  const ScopeGuard end([&] {
    source.table().objstm_budget.limit = budget;
    table_.import_end(context);
  });
  if (hole_ == 0)
    hole_ = table_.alloc_obj_num();
  if (source_count_ == 0)
    was_empty_ = into_.page_count() == 0;
  std::int32_t done = 0;
  {
    Source src(source, context);
    if (!has_form(src))
      source.list_pages_as_told();
    if (append_source(src, pages, count, title, done))
      return done;
  }
  // The objects stay, but nothing leads to them any more, so that no save takes them.
  for (; done > 0; --done)
    into_.remove_page(into_.page_count() - 1);
  std::fill_n(context->map, context->map_size, 0u);
  Source src(source, context);
  append_source(src, pages, count, title, done);
  return done;
}

// False when the page list proves wrong, with as many pages appended as `done` says.
bool CPDFDocMerge::append_source(Source& src, const std::int32_t* pages, std::int32_t count, const char* title,
                                 std::int32_t& done) {
  const std::uint32_t first_slot = table_.new_obj_count;
  src.takes_few = count < src.doc.page_count() / kFewPart;
  GrowArray<std::int32_t> appended;
  const bool good = append_pages(src, pages, count, appended);
  done = static_cast<std::int32_t>(appended.size());
  if (!good)
    return false;
  collect_destinations(src);
  collect_files(src);
  add_output_intents(src);
  add_optional_content(src);
  add_labels(src, appended.begin(), done);
  add_outline(src, title);
  look_over(src, first_slot);
  return true;
}

// False when the page list proves wrong on the way: what is not known for a page came along as
// something else.
bool CPDFDocMerge::append_pages(Source& src, const std::int32_t* pages, std::int32_t count,
                                GrowArray<std::int32_t>& appended) {
  const bool told = src.doc.has_pages_as_told();
  reserve_pages(src, pages, count);
  list_destinations(src);
  add_form(src);
  for (std::int32_t i = 0; i < count; ++i) {
    const PDF_REF page = append_page(src, pages[i]);
    if (told && !src.doc.has_pages_as_told())
      return false;
    if (!src.takes_few)
      read_destinations(src, place_of(src.table, src.doc.page_ref(pages[i])));
    if (page.num == 0 || !appended.push(pages[i]))
      continue;
    if (!into_.insert_page(into_.page_count(), page)) {
      appended.pop();
      continue;
    }
    src.first_page = src.first_page.num == 0 ? page : src.first_page;
  }
  return true;
}

// Maps what `item` refers to, so that nothing brings it along.
void CPDFDocMerge::leave_out(Source& src, const CPDFObj* item) {
  const std::int32_t num = item != nullptr ? item->as_ref().num : 0;
  if (num > 0 && src.is_mapped(num) && src.context->map[num] == 0)
    src.context->map[num] = static_cast<std::uint32_t>(hole_);
}

void CPDFDocMerge::reserve_pages(Source& src, const std::int32_t* pages, std::int32_t count) {
  for (std::int32_t i = 0; i < count; ++i) {
    const PDF_REF ref = src.doc.page_ref(pages[i]);
    if (src.is_mapped(ref.num) && src.wanted.visit(ref.num))
      src.context->map[ref.num] = static_cast<std::uint32_t>(table_.alloc_obj_num());
  }
  CPDFObj item{};
  for (int i = 0; i < src.doc.page_count(); ++i) {
    item.set_ref(src.doc.page_ref(i));
    leave_out(src, &item);
  }
  leave_out(src, &src.table.root);
  Freed<CPDFObj> catalog;
  src.table.resolve(catalog, &src.table.root);
  for (const char* key : {"Pages", "StructTreeRoot", "Outlines"})
    leave_out(src, catalog.as_dict() != nullptr ? catalog.as_dict()->get_item(key) : nullptr);
}

// A page that was appended before gets another copy, with annotations of its own; all else is shared.
void CPDFDocMerge::forget_repeated(Source& src, const CPDFPage& page) {
  Freed<CPDFObj> annots;
  const CPDFObj* item = page.dict.get_item("Annots");
  const auto forget = [&src](const CPDFObj* value) {
    const std::int32_t num = value != nullptr ? value->as_ref().num : 0;
    if (num > 0 && src.is_mapped(num))
      src.context->map[num] = 0;
  };
  forget(item);
  src.table.resolve(annots, item);
  for (std::int32_t i = 0; annots.as_array() != nullptr && i < annots.as_array()->count; ++i)
    forget(annots.as_array()->items + i);
}

// One damaged page must not keep readers from the pages behind it: contents that are none go, and
// boxes that are none are those that the page is shown with.
void CPDFDocMerge::mend_page(Source& src, const CPDFPage& page, CPDFDictionary& dict) {
  dict.set_item_name(CPDFDictionary::sm_tag_type, "Page");
  Freed<CPDFObj> value;
  src.table.resolve(value, page.dict.get_item("Contents"));
  if (value.as_stream() == nullptr && value.as_array() == nullptr)
    dict.set_item("Contents", nullptr);
  src.table.resolve(value, page.dict.get_item("MediaBox"));
  bool sound = value.as_array() != nullptr && value.as_array()->count >= 4;
  for (std::int32_t i = 0; sound && i < 4; ++i) {
    Freed<CPDFObj> side;
    src.table.resolve(side, value.as_array()->items + i);
    sound = side.is_number();
  }
  if (!sound)
    dict.set_item_rect("MediaBox", &page.box);
}

// Objects may have moved since the page was stored.
void CPDFDocMerge::restore_group(const PDF_REF& page, CPDFObj& group) {
  const PDF_NEWOBJ* slot = table_.get_xref2(page.num, page.gen);
  if (slot != nullptr && slot->obj.as_dict() != nullptr)
    slot->obj.as_dict()->move_item("Group", group);
}

PDF_REF CPDFDocMerge::append_page(Source& src, std::int32_t index) {
  CPDFPage page;
  if (!src.doc.load_page(index, page) || !src.is_mapped(page.ref.num))
    return {0, 0};
  std::uint32_t& mapped = src.context->map[page.ref.num];
  const std::uint32_t first = mapped;
  Freed<CPDFObj> before;
  table_.get_entity(before, {static_cast<std::int32_t>(first), 0});
  const bool repeated = before.as_dict() != nullptr;
  if (repeated) {
    mapped = 0;
    forget_repeated(src, page);
  }
  const PDF_REF made{table_.clone_page(&src.table, src.context, &page), 0};
  // Links lead to the first copy.
  if (repeated)
    mapped = first;
  if (made.num == 0)
    return made;
  const PDF_NEWOBJ* slot = table_.get_xref2(made.num, 0);
  CPDFDictionary* const dict = slot != nullptr ? slot->obj.as_dict() : nullptr;
  if (dict == nullptr)
    return {0, 0};
  mend_page(src, page, *dict);
  // The import leaves the transparency group behind, without which blending looks different.
  Freed<CPDFObj> group;
  src.table.resolve(group, page.dict.get_item("Group"));
  if (group.as_dict() != nullptr && table_.clone_dict(&src.table, src.context, group.as_dict()) != 0)
    restore_group(made, group);
  return made;
}

// Optional content: the groups of all sources in one list, with what each source shows and hides.
void CPDFDocMerge::add_optional_content(Source& src) {
  Freed<CPDFObj> catalog;
  Freed<CPDFObj> content;
  Freed<CPDFObj> shown;
  src.table.resolve(catalog, &src.table.root);
  if (catalog.as_dict() == nullptr)
    return;
  src.table.resolve(content, catalog.as_dict()->get_item("OCProperties"));
  if (content.as_dict() == nullptr)
    return;
  src.table.resolve(shown, content.as_dict()->get_item("D"));
  if (content_.as_dict() == nullptr)
    content_.take_dict(new (std::nothrow) CPDFDictionary);
  const auto take = [&](const CPDFDictionary* from, const char* key, const char* as) {
    Freed<CPDFObj> list;
    src.table.resolve(list, from != nullptr ? from->get_item(key) : nullptr);
    if (list.as_array() == nullptr || content_.as_dict() == nullptr ||
        table_.clone_array(&src.table, src.context, list.as_array()) == 0)
      return;
    CPDFObj* const all = content_.as_dict()->get_item(as);
    if (all == nullptr) {
      content_.as_dict()->move_item(as, list);
      return;
    }
    for (std::int32_t i = 0; i < list.as_array()->count; ++i)
      all->as_array()->append_moved(list.as_array()->items[i]);
  };
  take(content.as_dict(), "OCGs", "OCGs");
  const CPDFDictionary* const config = shown.as_dict();
  Freed<CPDFObj> base;
  src.table.resolve(base, config != nullptr ? config->get_item("BaseState") : nullptr);
  // Where a source hides its groups unless told otherwise, those that it does not show are hidden.
  if (base.is_name("OFF") && config != nullptr) {
    Freed<CPDFObj> on;
    Freed<CPDFObj> all;
    src.table.resolve(on, config->get_item("ON"));
    src.table.resolve(all, content.as_dict()->get_item("OCGs"));
    Cleared<CPDFDictionary> hidden;
    Cleared<CPDFArray> list;
    VisitedSet is_on;
    for (std::int32_t i = 0; on.as_array() != nullptr && i < on.as_array()->count; ++i)
      is_on.visit(on.as_array()->items[i].as_ref().num);
    for (std::int32_t i = 0; all.as_array() != nullptr && i < all.as_array()->count; ++i) {
      if (!is_on.has(all.as_array()->items[i].as_ref().num))
        list.append(all.as_array()->items + i);
    }
    hidden.set_item_arr("OFF", &list);
    take(&hidden, "OFF", "OFF");
  } else {
    take(config, "OFF", "OFF");
  }
  for (const char* key : {"Order", "Locked", "RBGroups", "AS"})
    take(config, key, key);
}

void CPDFDocMerge::put_optional_content(CPDFDictionary& catalog) {
  CPDFDictionary* const all = content_.as_dict();
  if (all == nullptr || all->get_item("OCGs") == nullptr)
    return;
  Freed<CPDFObj> config;
  config.take_dict(new (std::nothrow) CPDFDictionary);
  Cleared<CPDFDictionary> properties;
  properties.move_item("OCGs", *all->get_item("OCGs"));
  for (const char* key : {"OFF", "Order", "Locked", "RBGroups", "AS"}) {
    CPDFObj* list = all->get_item(key);
    if (list != nullptr && config.as_dict() != nullptr)
      config.as_dict()->move_item(key, *list);
  }
  properties.move_item("D", config);
  catalog.set_item_dict("OCProperties", &properties);
}

// One entry for each run of pages that the source numbers onwards.
void CPDFDocMerge::add_labels(Source& src, const std::int32_t* pages, std::int32_t count) {
  Freed<CPDFObj> catalog;
  src.table.resolve(catalog, &src.table.root);
  const CPDFObj* item = catalog.as_dict() != nullptr ? catalog.as_dict()->get_item("PageLabels") : nullptr;
  NumberTree tree;
  tree.load(src.table, item);
  has_labels_ = has_labels_ || !tree.empty();
  const std::int32_t first = into_.page_count() - count;
  std::int32_t last_start = -2;
  for (std::int32_t i = 0; i < count; ++i) {
    std::int32_t start = -1;
    const CPDFDictionary* label = tree.find(pages[i], start);
    const bool goes_on = i > 0 && start == last_start && pages[i] == pages[i - 1] + 1;
    last_start = start;
    if (goes_on)
      continue;
    Cleared<CPDFDictionary> fresh;
    Freed<CPDFObj> value;
    if (label == nullptr)
      fresh.set_item_name("S", "D");
    for (const char* key : {"S", "P"}) {
      src.table.resolve(value, label != nullptr ? label->get_item(key) : nullptr);
      if (value.tag == kTagName || value.tag == kTagString)
        fresh.move_item(key, value);
    }
    src.table.resolve(value, label != nullptr ? label->get_item("St") : nullptr);
    const std::int64_t number = std::int64_t{std::max(value.to_int(), 1)} + pages[i] - std::max(start, 0);
    if (number > 1 && number <= INT32_MAX)
      fresh.set_item_int("St", static_cast<int>(number));
    labels_.append_int(first + i);
    labels_.append_dict(&fresh);
  }
}

bool CPDFDocMerge::finish() {
  Freed<CPDFObj> catalog;
  table_.resolve(catalog, &table_.root);
  CPDFDictionary* const dict = catalog.as_dict();
  if (dict == nullptr)
    return false;
  Freed<CPDFObj> names;
  table_.resolve(names, dict->get_item("Names"));
  if (names.as_dict() == nullptr)
    names.take_dict(new (std::nothrow) CPDFDictionary);
  if (names.as_dict() == nullptr)
    return false;
  const PDF_REF destinations = destinations_.store_tree(table_);
  const PDF_REF files = files_.store_tree(table_);
  if (destinations.num != 0)
    names.as_dict()->set_item_ref("Dests", destinations);
  if (files.num != 0)
    names.as_dict()->set_item_ref("EmbeddedFiles", files);
  if (names.as_dict()->count > 0)
    dict->move_item("Names", names);
  put_outline(*dict);
  put_output_intents(*dict);
  put_optional_content(*dict);
  if (has_labels_) {
    Cleared<CPDFDictionary> tree;
    tree.set_item_arr("Nums", &labels_);
    dict->set_item_dict("PageLabels", &tree);
  }
  return table_.store_object(table_.root.as_ref(), catalog) && watch_.all_granted();
}
