// The legend beside a map: the colours with what they mean and its sum, and the saves.
#pragma once

#include "map/file_map.h"
#include "map/svg_writer.h"

namespace sheaf::tool {

class MapLegend {
public:
  MapLegend(const FileMap& map, double left, double width) : map_(map), left_(left), right_(left + width) {}

  /// Draws downwards from `top`. The result is where the legend ends.
  double draw(SvgWriter& svg, double top);

private:
  struct Entry {
    std::string colour;
    std::string name;
    std::string count;
    std::int64_t bytes;
    bool hatched = false;
  };
  void heading(SvgWriter& svg, const char* text);
  void entry(SvgWriter& svg, const Entry& entry, std::int64_t all);
  void draw_kinds(SvgWriter& svg);
  void draw_unused(SvgWriter& svg);
  void draw_filters(SvgWriter& svg);
  void draw_saves(SvgWriter& svg);

  const FileMap& map_;
  double left_;
  double right_;
  double y_ = 0;
};

}  // namespace sheaf::tool
