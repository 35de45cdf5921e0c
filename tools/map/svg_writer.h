// A small writer of SVG 1.1 pictures: rectangles and texts, with tooltips. Coordinates are pixels.
#pragma once

#include <string>
#include <string_view>

namespace sheaf::tool {

class SvgWriter {
public:
  SvgWriter(double width, double height);

  /// A definition to be named by url(#...), already in SVG.
  void define(std::string_view svg) { out_ += svg; }
  /// `title` is shown as a tooltip; empty: none.
  void rect(double x, double y, double width, double height, std::string_view fill, std::string_view title = {});
  struct TextStyle {
    double size = 12;
    const char* fill = "#2b2f36";
    const char* anchor = "start";  ///< Or "middle", "end".
    bool bold = false;
  };
  /// `text` is UTF-8; invalid bytes are shown as question marks.
  void text(double x, double y, std::string_view text, const TextStyle& style);
  /// Everything up to `end_group` has this tooltip.
  void begin_group(std::string_view title);
  void end_group() { out_ += "</g>\n"; }
  /// Closes the picture.
  const std::string& finish();

private:
  void put(std::string_view text) { out_ += text; }
  void number(double value);
  void attribute(const char* name, double value);
  void escaped(std::string_view text);

  std::string out_;
};

}  // namespace sheaf::tool
