// Draws the picture twice: once to measure its height, once into the file.
#include "map/map_picture.h"

#include <algorithm>

#include "map/map_legend.h"
#include "map/map_rows.h"
#include "map/map_style.h"

namespace sheaf::tool {

namespace {

constexpr double kWidth = 1320;
constexpr double kMargin = 36;
constexpr double kRowsLeft = 110;
constexpr double kRowsWidth = 820;
constexpr double kLegendLeft = 974;
constexpr double kTop = 104;
constexpr double kTitleLetter = 13;  // of the title's size, bold

// Red strokes that leave the colour below visible.
constexpr char kHatch[] =
    "<defs><pattern id=\"unused\" width=\"5\" height=\"5\" patternUnits=\"userSpaceOnUse\" "
    "patternTransform=\"rotate(45)\"><rect width=\"2\" height=\"5\" fill=\"#d00000\" fill-opacity=\"0.75\"/>"
    "</pattern></defs>\n";

// The end of a long title says more than its beginning.
std::string fitting(const std::string& title) {
  const auto room = static_cast<std::size_t>((kWidth - 2 * kMargin) / kTitleLetter);
  if (title.size() <= room)
    return title;
  std::size_t from = title.size() - room;
  while (from < title.size() && (static_cast<unsigned char>(title[from]) & 0xC0) == 0x80)
    ++from;
  return "\xE2\x80\xA6" + title.substr(from);
}

double draw_all(const FileMap& map, const MapHeading& heading, SvgWriter& svg, double height) {
  svg.define(kHatch);
  svg.rect(0, 0, kWidth, height, "#ffffff");
  svg.text(kMargin, 48, fitting(heading.title), {.size = 22, .bold = true});
  svg.text(kMargin, 72, heading.facts, {.size = 13, .fill = "#6b7480"});
  MapRows rows(map);
  rows.draw(svg, kRowsLeft, kTop, kRowsWidth);
  const double below = kTop + rows.count() * MapRows::kRowStep + 18;
  svg.text(kRowsLeft, below,
           "A row is " + size_text(rows.bytes_per_row()) +
               ". The line above it shows which save wrote the bytes, the line below how streams are packed.",
           {.size = 11, .fill = "#6b7480"});
  MapLegend legend(map, kLegendLeft, kWidth - kMargin - kLegendLeft);
  return std::max(below + 12, legend.draw(svg, kTop + 10));
}

}  // namespace

std::string draw_file_map(const FileMap& map, const MapHeading& heading) {
  // The height is known when all has been drawn, so that the first drawing only measures.
  SvgWriter measure(kWidth, kWidth);
  const double height = draw_all(map, heading, measure, kWidth) + 24;
  SvgWriter svg(kWidth, height);
  draw_all(map, heading, svg, height);
  return svg.finish();
}

}  // namespace sheaf::tool
