// Images of one bit a pixel under CCITT Group 4, where that takes less room than what they have.
#pragma once

#include "sheaf/object/dictionary.h"

class CPDFXRefTable;

namespace sheaf {

class StreamCoder;

/// Gives the image `rec` of the document, if it is one of one bit a pixel, CCITT data through `coder` when they are
/// smaller and decode to the same rows. True when it did.
bool pack_bilevel_image(CPDFXRefTable& table, StreamCoder& coder, CPDFStreamRec& rec);

}  // namespace sheaf
