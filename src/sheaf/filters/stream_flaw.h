// Whether a decoder gave all that was encoded, and as it was.
#pragma once

#include "sheaf/filters/stream_filter.h"

namespace sheaf {

/// For a decoder that was read to its end: what was wrong with its data or those of a stage before it.
CPDFStreamFlaw find_flaw(CPDFStream& stream);

}  // namespace sheaf
