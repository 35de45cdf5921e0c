// The references that a value holds, without the value: for walks that ask only what leads where.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/object/object.h"

class CPDFBuf;

namespace sheaf {

/// Numbers of objects, in the order in which they are referred to.
using ReferenceList = GrowArray<std::int32_t>;

/// Passes one value of `buf`, as CPDFObj::read does, and appends what it refers to, directly or from
/// within containers. Makes no value, so that nothing but `found` takes memory. A key that occurs
/// twice in a dictionary counts twice, where a value keeps only the last. The tag says what was
/// passed: kTagNoValue for a keyword that is no value, anything else has no meaning. ISO 32000-1, 7.3.10.
CPDFTag read_references(CPDFBuf& buf, ReferenceList& found);

/// Appends what `value` refers to.
void collect_references(const CPDFObj& value, ReferenceList& found);
/// The same for what a container holds; either may be null.
void collect_references(const CPDFArray* array, const CPDFDictionary* dict, ReferenceList& found);

}  // namespace sheaf
