// Each row covers the same number of bytes; parts that cross its end go on in the next.
#include "map/map_rows.h"

#include <algorithm>
#include <cmath>

#include "map/map_style.h"

namespace sheaf::tool {

namespace {

constexpr std::int64_t kLeastBytesPerRow = 64;
constexpr std::int64_t kMostRows = 32;
constexpr double kSaveHeight = 3;
constexpr double kPartTop = 4;
constexpr double kPartHeight = 15;
constexpr double kFilterTop = 19.5;
constexpr double kFilterHeight = 3;
constexpr double kLeastWidth = 3;   // of a part that is drawn by itself
constexpr double kCrowdWidth = 4;   // a crowd that is wider is drawn
constexpr double kSeamWidth = 6;    // parts that are wider get a seam
constexpr double kLetterWidth = 5;  // at the size of the labels

}  // namespace

MapRows::MapRows(const FileMap& map) : map_(map), bytes_per_row_(kLeastBytesPerRow) {
  while (bytes_per_row_ * kMostRows < map.size)
    bytes_per_row_ *= 2;
  count_ = static_cast<int>(std::max<std::int64_t>((map.size + bytes_per_row_ - 1) / bytes_per_row_, 1));
  crowd_.filters.resize(map.scan.filters.size());
}

double MapRows::x_of(const Strip& strip, std::int64_t pos) const {
  const std::int64_t inside = std::clamp(pos, strip.start, strip.end) - strip.start;
  // Whole pixels: edges stay sharp, and seams all have one width.
  return std::round(left_ + width_ * static_cast<double>(inside) / static_cast<double>(bytes_per_row_));
}

void MapRows::draw(SvgWriter& svg, double left, double top, double width) {
  left_ = left;
  width_ = width;
  next_part_ = 0;
  for (int row = 0; row < count_; ++row) {
    const std::int64_t start = row * bytes_per_row_;
    const Strip strip{top + row * kRowStep, start, std::min<std::int64_t>(start + bytes_per_row_, map_.size)};
    svg.text(left - 10, strip.top + 15.5, size_text(start, 3), {.size = 10, .fill = "#6b7480", .anchor = "end"});
    draw_saves(svg, strip);
    draw_strip(svg, strip);
  }
}

void MapRows::draw_saves(SvgWriter& svg, const Strip& strip) {
  const std::vector<Revision>& saves = map_.scan.revisions;
  double reached = 0;  // thousands of updates in one row need no more boxes than it has pixels
  for (std::size_t i = 0; i < saves.size() && saves[i].start < strip.end; ++i) {
    const double to = x_of(strip, saves[i].end);
    if (saves[i].end <= strip.start || to - reached < 1)
      continue;
    const double from = std::max(x_of(strip, saves[i].start), reached);
    reached = to;
    const std::string name = i == 0 ? "first save" : "update " + count_text(static_cast<std::int64_t>(i));
    svg.rect(from, strip.top, to - from, kSaveHeight, revision_colour(i),
             name + ", " + size_text(std::int64_t{saves[i].end} - saves[i].start));
  }
}

void MapRows::draw_strip(SvgWriter& svg, const Strip& strip) {
  const std::vector<FilePart>& parts = map_.scan.parts;
  for (std::size_t i = next_part_; i < parts.size() && parts[i].start < strip.end; ++i) {
    if (parts[i].end <= strip.end)
      next_part_ = i + 1;
    if (parts[i].end <= strip.start)
      continue;
    if (x_of(strip, parts[i].end) - x_of(strip, parts[i].start) < kLeastWidth) {
      add_to_crowd(strip, parts[i]);
      if (crowd_.to - crowd_.from >= kCrowdWidth)
        draw_crowd(svg, strip);
      continue;
    }
    draw_crowd(svg, strip);
    draw_part(svg, strip, parts[i]);
  }
  draw_crowd(svg, strip);
}

std::string MapRows::part_title(const FilePart& part) const {
  std::string title = map_.name_of(part) + ": " + counted(std::int64_t{part.end} - part.start, "byte", "bytes") +
                      " at " + count_text(part.start);
  if (part.is_stream)
    title += part.filter != 0 ? ", " + map_.scan.filters[part.filter] : ", no filter";
  return part.unused ? title + "; nothing refers to it" : title;
}

double MapRows::label_width(const FilePart& part) const {
  return static_cast<double>(map_.name_of(part).size()) * kLetterWidth + 8;
}

// The name is at the part's beginning or, where that is too narrow, in the next row.
bool MapRows::is_labelled(const Strip& strip, const FilePart& part) const {
  const double room = label_width(part);
  if (x_of(strip, part.end) - x_of(strip, part.start) < room)
    return false;
  if (part.start >= strip.start)
    return true;
  const std::int64_t before = strip.start - part.start;
  return before < bytes_per_row_ && static_cast<double>(before) * width_ < room * static_cast<double>(bytes_per_row_);
}

void MapRows::draw_part(SvgWriter& svg, const Strip& strip, const FilePart& part) {
  const double from = x_of(strip, part.start);
  const double to = x_of(strip, part.end);
  // The seam shows where one object ends and its like begins.
  const double seam = to - from > kSeamWidth && part.end <= strip.end ? 1 : 0;
  svg.begin_group(part_title(part));
  svg.rect(from, strip.top + kPartTop, to - from - seam, kPartHeight, kind_colour(part.kind));
  if (part.unused)
    svg.rect(from, strip.top + kPartTop, to - from - seam, kPartHeight, kUnusedHatch);
  if (part.is_stream)
    svg.rect(from, strip.top + kFilterTop, to - from - seam, kFilterHeight,
             filter_colour(map_.scan.filters[part.filter]));
  if (is_labelled(strip, part)) {
    // Strokes would make the letters illegible.
    if (part.unused)
      svg.rect(from + 2, strip.top + kPartTop + 2, label_width(part) - 4, kPartHeight - 4, kind_colour(part.kind));
    svg.text(from + 4, strip.top + kPartTop + 10.5, map_.name_of(part),
             {.size = 8.5, .fill = is_dark(part.kind) ? "#ffffff" : "#1c2026"});
  }
  svg.end_group();
}

void MapRows::add_to_crowd(const Strip& strip, const FilePart& part) {
  const std::int64_t bytes =
      std::min<std::int64_t>(part.end, strip.end) - std::max<std::int64_t>(part.start, strip.start);
  if (crowd_.count == 0)
    crowd_.from = x_of(strip, part.start);
  crowd_.to = x_of(strip, part.end);
  crowd_.bytes[static_cast<std::size_t>(part.kind)][part.unused ? 1 : 0] += bytes;
  if (part.is_stream) {
    crowd_.filters[part.filter] += bytes;
    ++crowd_.streams;
  }
  ++crowd_.count;
  if (part.num != 0) {
    crowd_.first_num = crowd_.first_num != 0 ? std::min(crowd_.first_num, part.num) : part.num;
    crowd_.last_num = std::max(crowd_.last_num, part.num);
  }
}

std::string MapRows::crowd_title() const {
  std::string title = counted(crowd_.count, "part", "parts");
  if (crowd_.last_num != 0)
    title += ", objects " + count_text(crowd_.first_num) + " to " + count_text(crowd_.last_num);
  for (int kind = 0; kind < kPartKinds; ++kind) {
    const std::int64_t bytes = crowd_.bytes[kind][0] + crowd_.bytes[kind][1];
    if (bytes != 0)
      title += std::string("; ") + kind_name(static_cast<PartKind>(kind)) + " " + size_text(bytes);
  }
  return title;
}

// The kinds are stacked, each as high as its share.
void MapRows::draw_crowd(SvgWriter& svg, const Strip& strip) {
  if (crowd_.count == 0)
    return;
  const double width = std::max(crowd_.to - crowd_.from, 1.0);
  std::int64_t all = 0;
  for (const auto& kind : crowd_.bytes)
    all += kind[0] + kind[1];
  svg.begin_group(crowd_title());
  std::int64_t below = 0;
  for (int kind = 0; kind < kPartKinds; ++kind) {
    for (int unused = 0; unused < 2 && all != 0; ++unused) {
      const std::int64_t bytes = crowd_.bytes[kind][unused];
      const double top = strip.top + kPartTop + kPartHeight * static_cast<double>(below) / static_cast<double>(all);
      const double height = kPartHeight * static_cast<double>(bytes) / static_cast<double>(all);
      below += bytes;
      if (bytes == 0)
        continue;
      svg.rect(crowd_.from, top, width, height, kind_colour(static_cast<PartKind>(kind)));
      if (unused != 0)
        svg.rect(crowd_.from, top, width, height, kUnusedHatch);
    }
  }
  if (crowd_.streams != 0) {
    const auto most = std::max_element(crowd_.filters.begin(), crowd_.filters.end()) - crowd_.filters.begin();
    svg.rect(crowd_.from, strip.top + kFilterTop, width, kFilterHeight,
             filter_colour(map_.scan.filters[static_cast<std::size_t>(most)]));
  }
  svg.end_group();
  Crowd empty;
  empty.filters.assign(crowd_.filters.size(), 0);
  crowd_ = std::move(empty);
}

}  // namespace sheaf::tool
