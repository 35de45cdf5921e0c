// Finds runs of equal and of consecutive glyphs, and the pair of metrics to use as the default.
#include "sheaf/neighbours/fonts/programs/glyph_metrics_internal.h"

#include "sheaf/base/scope_guard.h"

namespace sheaf {

namespace {

constexpr std::size_t kLeastRange = 3;  // from here on a range is shorter than a list

// The end of the items from `from` on that follow one another with equal values.
std::size_t end_of_equal(const GrowArray<GlyphMetrics>& items, std::size_t from) {
  std::size_t end = from + 1;
  while (end < items.size() && items[end].code == items[end - 1].code + 1 && items[end].values == items[from].values)
    ++end;
  return end;
}

// The end of the items that follow one another, up to where a range pays.
std::size_t end_of_list(const GrowArray<GlyphMetrics>& items, std::size_t from) {
  std::size_t end = from + 1;
  while (end < items.size() && items[end].code == items[end - 1].code + 1 &&
         end_of_equal(items, end) - end < kLeastRange)
    ++end;
  return end;
}

}  // namespace

void put_compact(CPDFArray& out, const GrowArray<GlyphMetrics>& items, unsigned value_count) {
  for (std::size_t at = 0; at < items.size();) {
    const std::size_t equal_end = end_of_equal(items, at);
    out.append_int(items[at].code);
    if (equal_end - at >= kLeastRange) {
      out.append_int(items[equal_end - 1].code);
      for (unsigned i = 0; i < value_count; ++i)
        out.append_int(items[at].values[i]);
      at = equal_end;
      continue;
    }
    Cleared<CPDFArray> list;
    const std::size_t end = end_of_list(items, at);
    for (; at < end; ++at) {
      for (unsigned i = 0; i < value_count; ++i)
        list.append_int(items[at].values[i]);
    }
    out.append_arr(&list);
  }
}

VerticalDefault most_frequent(const GrowArray<GlyphMetrics>& items) {
  // Boyer and Moore's vote finds the pair that more than half have, and nearly all fonts have one.
  VerticalDefault pair{0, 0};
  std::size_t votes = 0;
  for (const GlyphMetrics& item : items) {
    const bool agrees = votes != 0 && item.values[0] == pair.advance && item.values[2] == pair.origin_y;
    if (votes == 0)
      pair = {item.values[2], item.values[0]};
    votes = votes == 0 || agrees ? votes + 1 : votes - 1;
  }
  return pair;
}

void drop_default(GrowArray<GlyphMetrics>& items, const VerticalDefault& pair) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (items[i].values[0] != pair.advance || items[i].values[2] != pair.origin_y)
      items[kept++] = items[i];
  }
  while (items.size() > kept)
    items.pop();
}

}  // namespace sheaf
