// Prints objects for people: one key a line, containers indented.
#pragma once

#include "sheaf/object/object.h"

class CPDFDictionary;
class CPDFXRefTable;
class CQVStream;

namespace sheaf {

/// Prints `obj`, an object of `table`, under `num`, in clear. False, with nothing printed, when the bytes of a stream
/// cannot be had that way.
bool print_readable(CPDFXRefTable& table, const CPDFObj& obj, CQVStream& out, std::int32_t num);
/// Prints a dictionary the same way.
void print_readable(const CPDFDictionary& dict, CQVStream& out);

}  // namespace sheaf
