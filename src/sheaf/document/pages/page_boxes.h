// The five boxes of a page (ISO 32000-1, 14.11.2) and its rotation: as they are, and set.
#pragma once

#include <cstdint>

#include "sheaf/base/fixed.h"

class CPDFDoc;
class CPDFPage;

namespace sheaf {

constexpr const char* kPageBoxes[] = {"MediaBox", "CropBox", "BleedBox", "TrimBox", "ArtBox"};
constexpr int kMediaBox = 0;
constexpr int kCropBox = 1;
constexpr int kPageBoxCount = 5;

/// The box number `which` of a loaded page, sides in order: its own, an inherited one, or the one
/// that takes its place where it is not there. False for such a one.
bool read_page_box(CPDFDoc& doc, const CPDFPage& page, int which, _QVRECTF& box);
/// Gives the pages (from 0) that box; a page that is listed twice is one page. The change waits for a save. False when
/// there is no such page, or no memory.
bool set_page_box(CPDFDoc& doc, std::int32_t page, int which, const _QVRECTF& box);
/// Turns a page clockwise to `degrees`, a multiple of 90.
bool set_page_rotation(CPDFDoc& doc, std::int32_t page, int degrees);

}  // namespace sheaf
