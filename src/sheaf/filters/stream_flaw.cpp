// Only Flate has to look at what follows the last byte; the others note what they meet as they decode.
#include "sheaf/filters/stream_flaw.h"

#include "sheaf/filters/flate.h"

namespace sheaf {

CPDFStreamFlaw find_flaw(CPDFStream& stream) {
  if (stream.flaw == kFlawNone && stream.filter_type == kFilterFlate)
    stream.flaw = static_cast<CPDFStreamFlate&>(stream).flaw_at_end();
  return stream.flaw;
}

}  // namespace sheaf
