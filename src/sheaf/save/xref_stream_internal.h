// Printing of a cross-reference stream, shared by the update section and the complete file.
#pragma once

#include <cstdint>

#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"

class CQVStream;

namespace sheaf {

/// The keys that every cross-reference stream has, with "W" [1 `offset_width` `gen_width`].
void fill_xref_stream_dict(CPDFDictionary& dict, std::int32_t size, const CPDFArray& index, int offset_width,
                           int gen_width);

/// Prints the stream as object `num`; it is never encrypted. `data` is borrowed for the call.
void write_xref_stream(CQVStream& out, std::int32_t num, const CPDFDictionary& dict, std::uint8_t* data,
                       std::uint32_t len);

}  // namespace sheaf
