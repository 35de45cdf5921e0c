// One line for each kind, filter and revision that occurs.
#include "map/map_legend.h"

#include <algorithm>

#include "map/map_style.h"

namespace sheaf::tool {

namespace {

constexpr double kStep = 24;
constexpr double kHeadingStep = 34;
constexpr double kSwatch = 12;
constexpr double kBarHeight = 2;
constexpr std::size_t kMostFilters = 9;
constexpr std::size_t kMostSaves = 8;
constexpr SvgWriter::TextStyle kName{.size = 12};
constexpr SvgWriter::TextStyle kNumber{.size = 11, .fill = "#6b7480", .anchor = "end"};

// What "objects" would be wrong for.
bool counts_parts(PartKind kind) {
  return kind == PartKind::kFrame || kind == PartKind::kUnknown || kind == PartKind::kFiller;
}

}  // namespace

double MapLegend::draw(SvgWriter& svg, double top) {
  y_ = top;
  draw_kinds(svg);
  draw_unused(svg);
  draw_filters(svg);
  draw_saves(svg);
  return y_;
}

void MapLegend::heading(SvgWriter& svg, const char* text) {
  svg.text(left_, y_, text, {.size = 13, .bold = true});
  svg.rect(left_, y_ + 6, right_ - left_, 1, "#d5dae1");
  y_ += kStep + 2;
}

// Swatch, name, count and size, with a bar for the share of the whole.
void MapLegend::entry(SvgWriter& svg, const Entry& entry, std::int64_t all) {
  svg.rect(left_, y_ - 10, kSwatch, kSwatch, entry.colour);
  if (entry.hatched)
    svg.rect(left_, y_ - 10, kSwatch, kSwatch, kUnusedHatch);
  svg.text(left_ + kSwatch + 8, y_, entry.name, kName);
  svg.text(right_ - 76, y_, entry.count, kNumber);
  svg.text(right_, y_, entry.bytes != 0 ? size_text(entry.bytes) : "packed", kNumber);
  if (all > 0) {
    const double share = static_cast<double>(entry.bytes) / static_cast<double>(all);
    svg.rect(left_ + kSwatch + 8, y_ + 5, (right_ - left_ - kSwatch - 8) * share, kBarHeight, entry.colour);
  }
  y_ += kStep;
}

void MapLegend::draw_kinds(SvgWriter& svg) {
  heading(svg, "What the bytes are");
  for (int index = 0; index < kPartKinds; ++index) {
    const auto kind = static_cast<PartKind>(index);
    const MapTotal& total = map_.kinds[static_cast<std::size_t>(index)];
    if (total.count() == 0)
      continue;
    const std::string count =
        counts_parts(kind) ? counted(total.objects, "part", "parts") : counted(total.count(), "object", "objects");
    entry(svg, {kind_colour(kind), kind_name(kind), count, total.bytes}, map_.size);
  }
  y_ += kHeadingStep - kStep;
}

void MapLegend::draw_unused(SvgWriter& svg) {
  heading(svg, "What nothing refers to");
  if (map_.unused.count() == 0) {
    svg.text(left_, y_, "Everything is referred to.", {.size = 12, .fill = "#6b7480"});
    y_ += kStep;
  } else {
    entry(svg, {"#d7dde4", "Hatched", counted(map_.unused.count(), "object", "objects"), map_.unused.bytes, true}, 0);
  }
  y_ += kHeadingStep - kStep;
}

void MapLegend::draw_filters(SvgWriter& svg) {
  std::vector<std::size_t> order;
  for (std::size_t i = 0; i < map_.filters.size(); ++i) {
    if (map_.filters[i].objects != 0)
      order.push_back(i);
  }
  if (order.empty())
    return;
  std::sort(order.begin(), order.end(),
            [this](std::size_t a, std::size_t b) { return map_.filters[a].bytes > map_.filters[b].bytes; });
  heading(svg, "How streams are packed (line below)");
  for (std::size_t i = 0; i < order.size() && i < kMostFilters; ++i) {
    const std::string& name = map_.scan.filters[order[i]];
    const MapTotal& total = map_.filters[order[i]];
    entry(svg, {filter_colour(name), name.empty() ? "not packed" : name, count_text(total.objects), total.bytes},
          map_.size);
  }
  if (order.size() > kMostFilters) {
    svg.text(left_, y_, "and " + count_text(static_cast<std::int64_t>(order.size() - kMostFilters)) + " more",
             {.size = 11, .fill = "#6b7480"});
    y_ += kStep;
  }
  y_ += kHeadingStep - kStep;
}

void MapLegend::draw_saves(SvgWriter& svg) {
  const std::vector<Revision>& saves = map_.scan.revisions;
  heading(svg, "What each save wrote (line above)");
  for (std::size_t i = 0; i < saves.size(); ++i) {
    // Of many saves the first ones and the last one are shown.
    if (saves.size() > kMostSaves && i == kMostSaves - 1) {
      i = saves.size() - 1;
      svg.text(left_, y_, "and " + count_text(static_cast<std::int64_t>(i - kMostSaves + 1)) + " updates between",
               {.size = 11, .fill = "#6b7480"});
      y_ += kStep;
    }
    const Revision& save = saves[i];
    const std::string name = i == 0 ? "First save" : "Update " + count_text(static_cast<std::int64_t>(i));
    std::string count = count_text(save.added) + (i == 0 ? " objects" : " new");
    if (save.changed != 0)
      count += ", " + count_text(save.changed) + " again";
    entry(svg, {revision_colour(i), name, count, std::int64_t{save.end} - save.start}, 0);
  }
}

}  // namespace sheaf::tool
