// Whether a decoder came to the end of its data.
#pragma once

#include "sheaf/filters/stream_filter.h"

namespace sheaf {

/// For a decoder that was read to its end: why it ended in front of the end of what was encoded, in it
/// or in a stage before it. kEarlyEndNone when it did not.
CPDFEarlyEnd early_end(CPDFStream& stream);

}  // namespace sheaf
