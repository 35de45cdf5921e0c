// Every walk ends on loops and at a bound.
#include "browse/document_tree.h"

#include <cstdio>
#include <vector>

#include "sheaf/base/scope_guard.h"
#include "sheaf/base/utf.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/document/names/name_tree.h"
#include "sheaf/document/names/number_tree.h"
#include "sheaf/neighbours/page/acro_form.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

constexpr std::size_t kMostLabelBytes = 160;
constexpr int kMostDepth = 64;

std::string roman(std::int32_t number, bool capital) {
  static const struct {
    int value;
    const char* digits;
  } steps[] = {{1000, "m"}, {900, "cm"}, {500, "d"}, {400, "cd"}, {100, "c"}, {90, "xc"}, {50, "l"},
               {40, "xl"},  {10, "x"},   {9, "ix"},  {5, "v"},    {4, "iv"},  {1, "i"}};
  constexpr std::int32_t kMostRoman = 20000;
  std::string text;
  for (const auto& step : steps) {
    for (; number >= step.value && number < kMostRoman; number -= step.value)
      text += step.digits;
  }
  for (char& c : text)
    c = capital ? static_cast<char>(c - 'a' + 'A') : c;
  return text;
}

std::string letters(std::int32_t number, char first) {
  constexpr std::int32_t kAlphabet = 26;
  constexpr std::int32_t kMostRepeats = 20;
  const std::int32_t repeats = std::min((number - 1) / kAlphabet + 1, kMostRepeats);
  return std::string(static_cast<std::size_t>(repeats), static_cast<char>(first + (number - 1) % kAlphabet));
}

// The label of a page (ISO 32000-1, 12.4.2); empty when the document has none.
std::string page_label(CPDFXRefTable& table, const NumberTree& labels, std::int32_t index) {
  std::int32_t start = 0;
  const CPDFDictionary* const range = labels.find(index, start);
  if (range == nullptr)
    return "";
  const Freed<CPDFObj> prefix = table.value(range, "P");
  const Freed<CPDFObj> style = table.value(range, "S");
  const Freed<CPDFObj> first = table.value(range, "St");
  const std::int64_t wanted = std::int64_t{std::max(first.to_int(), 1)} + index - start;
  const auto number = static_cast<std::int32_t>(std::min<std::int64_t>(wanted, INT32_MAX));
  std::string text = utf8_text(prefix.as_string());
  if (style.is_name("D"))
    text += std::to_string(number);
  else if (style.is_name("R") || style.is_name("r"))
    text += roman(number, style.is_name("R"));
  else if (style.is_name("A") || style.is_name("a"))
    text += letters(number, style.is_name("A") ? 'A' : 'a');
  return text;
}

void add_pages(CPDFDoc& doc, std::int64_t most, JsonWriter& json) {
  NumberTree labels;
  const Freed<CPDFObj> catalog = doc.table().catalog();
  labels.load(doc.table(), catalog.item("PageLabels"));
  TreeItems items(json, "Pages", most);
  for (int i = 0; i < doc.page_count(); ++i) {
    CPDFPage page;
    std::string text = std::to_string(i + 1);
    if (i < most && doc.load_page(i, page)) {
      const std::string label = page_label(doc.table(), labels, i);
      char size[64];
      std::snprintf(size, sizeof(size), ", %.4g × %.4g", to_double(page.shown_width()), to_double(page.shown_height()));
      text += (label.empty() || label == text ? "" : " (" + label + ")") + size;
    }
    items.add(text, doc.page_ref(i).num);
  }
}

std::string utf8_of(const wchar_t* wide) {
  std::string utf8;
  append_utf8(utf8, wide);
  return utf8;
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
