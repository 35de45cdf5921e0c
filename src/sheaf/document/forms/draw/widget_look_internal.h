// How a widget looks around its value: its size and rotation, its border and background (ISO 32000-1, 12.5.4,
// 12.5.6.19). Everything is measured in the widget's own space, whose origin is its lower left corner as one reads it.
#pragma once

#include <cstdint>

#include "sheaf/base/fixed.h"
#include "sheaf/document/forms/draw/default_appearance_internal.h"
#include "sheaf/object/dictionary.h"

class CPDFXRefTable;

namespace sheaf {

struct WidgetLook {
  double width = 0;   ///< Points, as one reads the value.
  double height = 0;  ///< Points.
  int rotation = 0;   ///< 0, 90, 180 or 270 degrees, counterclockwise.
  double border = 1;  ///< Width of the border in points; 0 when none is drawn.
  char style = 'S';   ///< Solid, Dashed, Beveled, Inset or Underline, by their first letter.
  double dash[2] = {3, 3};
  DeviceColour border_colour;
  DeviceColour background;
  char mark = 0;  ///< The caption's character when there is just one, by which buttons name their mark.

  /// Reads the widget's dictionary. False when it has no area to draw on.
  bool read(CPDFXRefTable& table, const CPDFDictionary& widget);
  /// How far what is inside the border keeps from the edge.
  double inset() const { return style == 'B' || style == 'I' ? 2 * border : border; }
  /// Draws background and border; `round`: as circles.
  void draw(ContentWriter& out, bool round) const;
  /// The box and, where the widget is rotated, the matrix of its appearance.
  void put_geometry(CPDFDictionary& dict) const;

private:
  void read_border(CPDFXRefTable& table, const CPDFDictionary& widget);
  void draw_background(ContentWriter& out, bool round) const;
  void draw_border(ContentWriter& out, bool round) const;
  void draw_edges(ContentWriter& out) const;
};

/// Appends a circle of four curves.
void put_circle(ContentWriter& out, double centre_x, double centre_y, double radius);

}  // namespace sheaf
