// Only Flate has to look at what follows the last byte; the others note it as they decode.
#include "sheaf/filters/early_end.h"

#include "sheaf/filters/flate.h"

namespace sheaf {

CPDFEarlyEnd early_end(CPDFStream& stream) {
  const bool is_flate = stream.filter_type == kFilterFlate;
  if (stream.early_end == kEarlyEndNone && is_flate && !static_cast<CPDFStreamFlate&>(stream).reached_end())
    stream.early_end = kEarlyEndData;
  return stream.early_end;
}

}  // namespace sheaf
