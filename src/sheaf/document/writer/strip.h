// Takes parts of a document out that its reader may do without.
#pragma once

#include <cstdint>

class CPDFDoc;

namespace sheaf {

class ObjectSurvey;

/// Takes what `wanted`, a set of PDF_STRIP, names out of the objects of `survey`, in memory. The result is the count of
/// values, -1 when there is no memory. What only they led to can no longer be reached.
std::int64_t strip_document(CPDFDoc& doc, const ObjectSurvey& survey, std::uint32_t wanted);

}  // namespace sheaf
