// Image files, read whole and embedded byte for byte.
#pragma once

#include <cstdint>

#include "sheaf/object/object.h"

class CPDFXRefTable;

namespace sheaf {

struct ImageItems;

/// The bytes of the file in a block of the QVAlloc family, which the caller owns. Null when it cannot
/// be opened, is no file of at most 2 GiB, or when there is no memory.
std::uint8_t* load_file(const char* path, std::int32_t& len);

/// Stores `data`, which it takes over, as a new image; its length is the items'.
PDF_REF embed_image(CPDFXRefTable& table, std::uint8_t* data, const ImageItems& items);

}  // namespace sheaf
