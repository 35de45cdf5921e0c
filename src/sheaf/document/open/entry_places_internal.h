// Whether the entries of a table lead to the headers of their objects.
#pragma once

class CPDFXRefTable;
struct PDF_REF;

namespace sheaf {

/// Whether the header of the object `ref` is where its entry says. True for a direct object, and
/// for one in an object stream.
bool header_stands_at(const CPDFXRefTable& table, const PDF_REF& ref);
/// Whether entries of a sample lead into the middle of numbers, as in a file whose offsets are all off
/// by a little: each object would then be searched for, and some would be taken for others.
bool entries_mislead(const CPDFXRefTable& table);

}  // namespace sheaf
