// Character maps, as the object layer shares them.
#pragma once

#include <cstdint>

/// From character codes to CIDs.
class CPDFCMap {
public:
  std::int32_t ref_count = 0;  ///< One for every hand-out.
};

/// From character codes to text.
class CPDFCMapToUnicode {
public:
  std::int32_t ref_count = 0;  ///< One for every hand-out.
};
