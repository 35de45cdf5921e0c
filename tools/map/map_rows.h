// The rows of a map: in each a strip of the file's bytes, with the saves above and the filters below.
#pragma once

#include "map/file_map.h"
#include "map/svg_writer.h"

namespace sheaf::tool {

class MapRows {
public:
  static constexpr double kRowStep = 27;  ///< From one row to the next, in pixels.

  explicit MapRows(const FileMap& map);

  std::int64_t bytes_per_row() const { return bytes_per_row_; }
  int count() const { return count_; }
  /// Draws all rows, labelled with their offsets, `width` pixels of bytes from `left` on.
  void draw(SvgWriter& svg, double left, double top, double width);

private:
  struct Strip {
    double top;
    std::int64_t start;
    std::int64_t end;
  };
  // Parts that are too small to be seen one by one.
  struct Crowd {
    double from = 0;
    double to = 0;
    std::int64_t bytes[kPartKinds][2] = {};  // by kind, referred to or not
    std::vector<std::int64_t> filters;
    std::int64_t streams = 0;
    std::int64_t count = 0;
    std::int32_t first_num = 0;
    std::int32_t last_num = 0;
  };

  void draw_saves(SvgWriter& svg, const Strip& strip);
  void draw_strip(SvgWriter& svg, const Strip& strip);
  double label_width(const FilePart& part) const;
  bool is_labelled(const Strip& strip, const FilePart& part) const;
  void draw_part(SvgWriter& svg, const Strip& strip, const FilePart& part);
  void add_to_crowd(const Strip& strip, const FilePart& part);
  void draw_crowd(SvgWriter& svg, const Strip& strip);
  std::string crowd_title() const;
  std::string part_title(const FilePart& part) const;
  double x_of(const Strip& strip, std::int64_t pos) const;

  const FileMap& map_;
  std::int64_t bytes_per_row_ = 0;
  int count_ = 0;
  double left_ = 0;
  double width_ = 0;
  std::size_t next_part_ = 0;  // the first one that reaches into the row
  Crowd crowd_;
};

}  // namespace sheaf::tool
