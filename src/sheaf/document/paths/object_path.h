// Finding a value by its way from the trailer or from an object, such as "trailer/Root/Pages/Kids/0" or "12/Font/F1".
#pragma once

#include <cstddef>
#include <string_view>

#include "sheaf/object/object.h"

class CPDFDictionary;
class CPDFDoc;

namespace sheaf {

/// Where a path led.
struct PathResult {
  bool found = false;
  PDF_REF object{0, 0};    ///< The last object on the way; number 0: it is still in the trailer.
  std::size_t passed = 0;  ///< Bytes of the path up to the end of the last step that was found.
};

/// Puts the values of the trailer that the document goes by under their keys.
void read_trailer(CPDFDoc& doc, CPDFDictionary& trailer);

/// The value at `path`, references followed at every step. Steps are parted by "/": the first is "trailer" or the
/// number of an object, the others are keys of dictionaries or streams, in which #XX stands for a byte as in names, or
/// indices of arrays from 0. `out` is released first.
PathResult find_path(CPDFDoc& doc, std::string_view path, CPDFObj& out);

}  // namespace sheaf
