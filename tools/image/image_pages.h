// Pages made of image files.
#pragma once

#include <string>
#include <vector>

#include "sheaf/document/doc.h"

namespace sheaf::tool {

/// Appends a page for each file, of the size that the image's resolution gives (72 dots an inch when
/// it states none), and an outline with an entry for each. False, with a message, when a file is no
/// image or the document cannot take it.
bool append_image_pages(CPDFDoc& doc, const std::vector<std::string>& files);

}  // namespace sheaf::tool
