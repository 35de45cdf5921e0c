// Every walk ends on loops and at a bound.
#include "browse/document_tree.h"

#include <cstdio>
#include <vector>

#include "sheaf/base/scope_guard.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/document/names/name_tree.h"
#include "sheaf/document/pages/page_labels.h"
#include "sheaf/neighbours/page/acro_form.h"
#include "support/tool_support.h"
#include "support/utf8_steps.h"

namespace sheaf::tool {

namespace {

constexpr std::size_t kMostLabelBytes = 160;
constexpr int kMostDepth = 64;

void add_pages(CPDFDoc& doc, std::int64_t most, JsonWriter& json) {
  CPDFPageLabels labels;
  labels.load(doc);
  TreeItems items(json, "Pages", most);
  for (int i = 0; i < doc.page_count(); ++i) {
    CPDFPage page;
    std::string text = std::to_string(i + 1);
    if (i < most && doc.load_page(i, page)) {
      GrowArray<char> label;
      labels.put_text(i, label);
      const std::string name(label.begin(), label.end());
      char size[64];
      std::snprintf(size, sizeof(size), ", %.4g × %.4g", to_double(page.shown_width()), to_double(page.shown_height()));
      text += (name.empty() || name == text ? "" : " (" + name + ")") + size;
    }
    items.add(text, doc.page_ref(i).num);
  }
}

void add_fields(CPDFDoc& doc, std::int64_t most, JsonWriter& json) {
  CPDFAcroForm form(doc.table());
  TreeItems items(json, "Form fields", most);
  if (!form.load())
    return;
  for (std::int32_t i = 0; i < form.field_count(); ++i) {
    const CPDFField& field = *form.field_at(i);
    Freed<CPDFObj> type;
    if (field.is_terminal())
      field.get_value("FT", type);
    items.add(utf8_of(field.name()) + (type.as_name() != nullptr ? ", " + std::string(type.as_name()) : ""),
              field.ref().num);
  }
}

void add_outline(CPDFXRefTable& table, const CPDFDictionary& catalog, std::int64_t most, JsonWriter& json) {
  TreeItems items(json, "Outline", most);
  VisitedSet seen;
  std::vector<std::pair<PDF_REF, int>> waiting;
  const Freed<CPDFObj> top = table.value(&catalog, "Outlines");
  const auto push = [&](const CPDFObj& item, const char* key, int depth) {
    const CPDFObj* const next = item.item(key);
    if (next != nullptr && seen.visit(next->as_ref().num))
      waiting.emplace_back(next->as_ref(), std::min(depth, kMostDepth));
  };
  push(top, CPDFDictionary::sm_tag_first, 0);
  while (!waiting.empty()) {
    const auto [ref, depth] = waiting.back();
    waiting.pop_back();
    const Freed<CPDFObj> item = table.object(ref);
    items.add(utf8_text(table.value(item.as_dict(), "Title").as_string()), ref.num, depth);
    push(item, CPDFDictionary::sm_tag_next, depth);
    push(item, CPDFDictionary::sm_tag_first, depth + 1);
  }
}

// The object that a named thing is or, of an explicit destination, leads to.
std::int32_t target_of(const CPDFObj& value) {
  if (value.tag == kTagRef)
    return value.as_ref().num;
  const CPDFArray* const array = value.as_array();
  return array != nullptr && array->count > 0 ? array->items[0].as_ref().num : 0;
}

void add_names(CPDFXRefTable& table, const CPDFDictionary& catalog, std::int64_t most, JsonWriter& json) {
  const Freed<CPDFObj> names = table.value(&catalog, "Names");
  const Freed<CPDFObj> old = table.value(&catalog, "Dests");
  const auto add_tree = [&](const char* title, const char* key) {
    TreeItems items(json, title, most);
    name_tree_walk(table, names.item(key), [&items](const PDF_String& name, const CPDFObj& value) {
      items.add(utf8_text(name), target_of(value));
    });
    if (const CPDFDictionary* const dict = key == std::string("Dests") ? old.as_dict() : nullptr) {
      for (std::int32_t i = 0; i < dict->count; ++i)
        items.add(dict->items[i]->key(), target_of(*dict->items[i]));
    }
  };
  add_tree("Named destinations", "Dests");
  add_tree("Attachments", "EmbeddedFiles");
  add_tree("Scripts", "JavaScript");
}

}  // namespace

TreeItems::~TreeItems() {
  if (count_ == 0)
    return;
  json_.end_array();
  if (count_ > most_)
    json_.key("more").number(count_ - most_);
  json_.end_object();
}

void TreeItems::add(const std::string& label, std::int32_t num, int depth) {
  if (count_++ == 0)
    json_.begin_object().key("name").text(name_).key("items").begin_array();
  if (count_ <= most_)
    json_.begin_array().text(label.substr(0, kMostLabelBytes)).number(num).number(depth).end_array();
}

void write_document_tree(CPDFDoc& doc, std::int64_t most, JsonWriter& json) {
  CPDFXRefTable& table = doc.table();
  const Freed<CPDFObj> catalog = table.catalog();
  add_pages(doc, most, json);
  if (catalog.as_dict() == nullptr)
    return;
  add_fields(doc, most, json);
  add_outline(table, *catalog.as_dict(), most, json);
  add_names(table, *catalog.as_dict(), most, json);
}

}  // namespace sheaf::tool
