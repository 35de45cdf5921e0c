// Whether a document is what the model says.
#pragma once

#include <set>
#include <string>

#include "oracle/model.h"

class CPDFDoc;

namespace oracle {

/// All that the library finds in the document, by the numbers of `model`.
Snapshot read_by_library(CPDFDoc& doc, const Model& model);

/// What differs between the model and what was found; empty when nothing does. `dropped` gets the objects
/// that are not there any more though nothing needs them, where `complete` says that only what is needed
/// was written.
std::string difference(const Model& model, const Snapshot& found, bool complete, std::set<int>& dropped);

/// The numbers of the objects that were not found as the model has them.
std::set<int> differing(const Model& model, const Snapshot& found);

}  // namespace oracle
