// Reading of a filter's parameters. A missing or unusable value gives the default; references are
// followed when there is a table.
#pragma once

#include <cstdint>

class CPDFDictionary;
class CPDFStream;
class CPDFXRefTable;

namespace sheaf {

/// An integer, or a real rounded (halves up). `parms` and `table` may be null.
std::int32_t parm_number(CPDFXRefTable* table, const CPDFDictionary* parms, const char* key, std::int32_t fallback);

/// A boolean; false for anything else.
bool parm_flag(CPDFXRefTable* table, const CPDFDictionary* parms, const char* key);

/// Makes one decoder over `data`, which it takes over also on failure (null).
using DecoderMaker = CPDFStream* (*)(CPDFXRefTable* table, unsigned char* data, int len, const CPDFDictionary* parms);

/// The maker of the decoder with that name, in its long or short form, or null; also for null.
DecoderMaker find_decoder(const char* name);

}  // namespace sheaf
