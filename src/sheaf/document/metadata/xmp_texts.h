// A document's packet of metadata (ISO 16684-1): its bytes, what it says beside the document information, and another
// packet in its place.
#pragma once

#include <cstddef>

#include "sheaf/base/grow_array.h"

class CPDFDoc;

namespace sheaf {

/// The keys of the document information that XMP has properties for.
constexpr const char* kMetadataKeys[] = {"Title",   "Author",   "Subject",      "Keywords",
                                         "Creator", "Producer", "CreationDate", "ModDate"};

/// Reads the packet of a readable document. False when it has none.
bool read_xmp(CPDFDoc& doc, GrowArray<char>& bytes);

/// What the packet says for a key of the document information, as UTF-8 and, for dates, as XMP writes them; the authors
/// are parted by "; ". False when the packet cannot be read.
bool read_xmp_text(const GrowArray<char>& packet, const char* key, GrowArray<char>& text);
/// What the document information says, in the same form.
void read_info_text(CPDFDoc& doc, const char* key, GrowArray<char>& text);

/// Makes these bytes the document's packet, and the document information say the same for all texts that it has. The
/// change waits for a save. False when they are no packet, or when the catalogue cannot be changed.
bool replace_xmp(CPDFDoc& doc, const void* packet, std::size_t size);

}  // namespace sheaf
