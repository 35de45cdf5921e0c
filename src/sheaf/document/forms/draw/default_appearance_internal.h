// The default appearance string of a field (ISO 32000-1, 12.7.3.3): which font, which size, which colour.
#pragma once

#include "sheaf/object/object.h"

namespace sheaf {

class ContentWriter;

/// A colour in one of the device colour spaces; `count` is that of its components, 0 for none (transparent).
struct DeviceColour {
  int count = 0;
  double values[4]{};

  /// Sets the colour for filling, or for stroking. Without components nothing is set.
  void put(ContentWriter& out, bool stroking) const;
};

struct DefaultAppearance {
  static constexpr int kNameSize = 128;

  char font[kNameSize]{};  ///< Name in the resources, without its slash; empty: none.
  double size = 0;         ///< Points; 0: as large as fits.
  DeviceColour colour{1, {0}};

  /// Reads the string. What is no font and no colour plays no part in appearances. False when it names no font.
  bool read(const PDF_String& text);
};

}  // namespace sheaf
