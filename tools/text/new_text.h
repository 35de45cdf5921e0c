// Text set into pages: lines and pages are broken where they are full, and a character that one font
// lacks is taken from the next.
#pragma once

#include <string>
#include <vector>

#include "sheaf/document/doc.h"

namespace sheaf::tool {

struct TextOptions {
  std::string file;                  ///< UTF-8; empty: no text.
  std::vector<std::string> fonts;    ///< Family, full or PostScript names, in order; empty: common ones.
  std::vector<std::string> folders;  ///< Further folders of fonts.
  bool bold = false;
  bool italic = false;
  bool no_embed = false;
  bool embed_restricted = false;
  bool vertical = false;
  bool no_kerning = false;
  double size = 12;  ///< Points.
};

/// Appends the pages of a text. The result is an exit code, with a message unless it is
/// kExitClean: problems are characters that no font has, and bytes that are no UTF-8.
int add_text_pages(CPDFDoc& doc, const TextOptions& options);

}  // namespace sheaf::tool
