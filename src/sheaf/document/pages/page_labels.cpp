// Ranges are kept as the number tree has them. What they say is compared by number, so that pages that stay together
// stay one range.
#include "sheaf/document/pages/page_labels.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/names/number_tree.h"
#include "sheaf/neighbours/page/trailer_values.h"
#include "sheaf/object/text_utf8.h"

using namespace sheaf;

namespace {

constexpr std::int32_t kMostRomans = 100000;  // beyond, the thousands would fill lines
constexpr std::int32_t kLetters = 26;
constexpr std::int32_t kMostLetters = 100 * kLetters;

bool is_style(char style) {
  return style == 0 || std::strchr("DRrAa", style) != nullptr;
}

void put(GrowArray<char>& out, const char* bytes, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    out.push(bytes[i]);
}

void put_decimal(GrowArray<char>& out, std::int32_t number) {
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof(digits), number).ptr;
  put(out, digits, static_cast<std::size_t>(end - digits));
}

void put_roman(GrowArray<char>& out, std::int32_t number, bool small) {
  struct Step {
    std::int32_t value;
    const char* text;
  };
  static constexpr Step kSteps[] = {{1000, "M"}, {900, "CM"}, {500, "D"}, {400, "CD"}, {100, "C"},
                                    {90, "XC"},  {50, "L"},   {40, "XL"}, {10, "X"},   {9, "IX"},
                                    {5, "V"},    {4, "IV"},   {1, "I"}};
  constexpr char kToSmall = 'a' - 'A';
  for (const Step& step : kSteps) {
    for (; number >= step.value; number -= step.value) {
      for (const char* c = step.text; *c != 0; ++c)
        out.push(small ? static_cast<char>(*c + kToSmall) : *c);
    }
  }
}

void put_number(GrowArray<char>& out, char style, std::int32_t number) {
  if (style == 0)
    return;
  if ((style == 'R' || style == 'r') && number <= kMostRomans) {
    put_roman(out, number, style == 'r');
  } else if ((style == 'A' || style == 'a') && number <= kMostLetters) {
    const char letter = static_cast<char>(style + (number - 1) % kLetters);
    for (std::int32_t i = 0; i <= (number - 1) / kLetters; ++i)
      out.push(letter);
  } else {
    put_decimal(out, number);
  }
}

bool is_same_text(const PDF_String& a, const PDF_String& b) {
  return a.len == b.len && (a.len == 0 || std::memcmp(a.data, b.data, static_cast<std::size_t>(a.len)) == 0);
}

}  // namespace

void CPDFPageLabels::clear() {
  for (PDF_LABEL_RANGE& range : ranges_)
    QVFree(range.prefix.data);
  ranges_.clear();
}

bool CPDFPageLabels::push(std::int32_t first, char style, std::int32_t start, const PDF_String& prefix) {
  const HeapWatch watch;
  Freed<CPDFObj> text;
  text.set_string(prefix.data, prefix.len);
  PDF_LABEL_RANGE range{first, style, start, text.as_string()};
  if (!watch.all_granted() || !ranges_.push(range))
    return false;
  text.tag = kTagNull;  // the range has it now
  return true;
}

bool CPDFPageLabels::add(std::int32_t first, char style, std::int32_t start, const char* prefix) {
  if (!is_style(style) || start < 1 || first < 0 || (!empty() && first <= ranges_.back().first))
    return false;
  PDF_String text{0, nullptr};
  if (prefix != nullptr)
    text_from_utf8(prefix, text);
  const ScopeGuard release([&text] { QVFree(text.data); });
  return push(first, style, start, text);
}

void CPDFPageLabels::load(CPDFDoc& doc) {
  clear();
  CPDFXRefTable& table = doc.table();
  const Freed<CPDFObj> catalog = table.catalog();
  NumberTree tree;
  tree.load(table, catalog.item("PageLabels"));
  std::int32_t last = -1;
  for (std::int32_t i = 0; i < tree.size(); ++i) {
    const std::int32_t first = tree.key_at(i);
    const CPDFDictionary* const label = tree.value_at(i);
    if (label == nullptr || first <= last)
      continue;
    const Freed<CPDFObj> style = table.value(label, "S");
    const Freed<CPDFObj> prefix = table.value(label, "P");
    const Freed<CPDFObj> start = table.value(label, "St");
    const char letter = style.as_name() != nullptr ? style.as_name()[0] : '\0';
    if (empty() && first > 0)
      push(0, 'D', 1, {0, nullptr});  // what a number tree must say of the first page, this one does not
    push(first, is_style(letter) ? letter : '\0', std::max(start.to_int(), 1), prefix.as_string());
    last = first;
  }
}

const PDF_LABEL_RANGE* CPDFPageLabels::range_of(std::int32_t index) const {
  const auto behind = std::upper_bound(ranges_.begin(), ranges_.end(), index,
                                       [](std::int32_t at, const PDF_LABEL_RANGE& range) { return at < range.first; });
  return behind != ranges_.begin() ? behind - 1 : nullptr;
}

void CPDFPageLabels::put_text(std::int32_t index, GrowArray<char>& out) const {
  const PDF_LABEL_RANGE* const range = range_of(index);
  if (range == nullptr)
    return;
  std::size_t len = 0;
  const HeapBlock<char> prefix(text_to_utf8(range->prefix, len));
  if (prefix)
    put(out, prefix.get(), len);
  const std::int64_t number = std::int64_t{range->start} + index - range->first;
  put_number(out, range->style, static_cast<std::int32_t>(std::min<std::int64_t>(number, INT32_MAX)));
}

bool CPDFPageLabels::reorder(const std::int32_t* pages, std::int32_t count) {
  if (empty())
    return true;
  CPDFPageLabels fresh;
  std::int64_t next = 0;
  for (std::int32_t i = 0; i < count; ++i) {
    const PDF_LABEL_RANGE* const range = range_of(pages[i]);
    if (range == nullptr)
      return false;
    const std::int64_t number = std::int64_t{range->start} + pages[i] - range->first;
    const bool goes_on = !fresh.empty() && (range->style == 0 || number == next) &&
                         fresh.ranges_.back().style == range->style &&
                         is_same_text(fresh.ranges_.back().prefix, range->prefix);
    next = number + 1;
    const auto start = static_cast<std::int32_t>(std::min<std::int64_t>(number, INT32_MAX));
    if (!goes_on && !fresh.push(i, range->style, range->style == 0 ? 1 : start, range->prefix))
      return false;
  }
  ranges_.swap(fresh.ranges_);
  return true;
}

bool CPDFPageLabels::store(CPDFDoc& doc) const {
  CPDFXRefTable& table = doc.table();
  const HeapWatch watch;
  if (!give_trailer_values_numbers(table))
    return false;
  Freed<CPDFObj> catalog = table.catalog();
  if (catalog.as_dict() == nullptr)
    return false;
  Cleared<CPDFArray> numbers;
  for (const PDF_LABEL_RANGE& range : ranges_) {
    Cleared<CPDFDictionary> label;
    const char style[] = {range.style, 0};
    if (range.style != 0)
      label.set_item_name("S", style);
    if (range.prefix.len != 0)
      label.set_item_str("P", range.prefix.data, range.prefix.len);
    if (range.start > 1)
      label.set_item_int("St", range.start);
    numbers.append_int(range.first);
    numbers.append_dict(&label);
  }
  Cleared<CPDFDictionary> tree;
  tree.set_item_arr("Nums", &numbers);
  if (empty())
    catalog.as_dict()->set_item("PageLabels", nullptr);
  else
    catalog.as_dict()->set_item_dict("PageLabels", &tree);
  return watch.all_granted() && table.store_object(table.root.as_ref(), catalog);
}
