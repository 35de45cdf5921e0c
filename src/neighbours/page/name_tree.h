// Name trees (ISO 32000-1, 7.9.6), as far as they are added to.
#pragma once

#include "object/object.h"

class CPDFXRefTable;

/// Puts `value` under `name` into the tree whose root node `root` holds (a dictionary, empty for a
/// new tree). Nodes that are objects of their own are stored as changed objects; `root` itself is
/// the caller's to store. A name that is taken gets a number behind it; `name` becomes what was used.
/// False when the tree is damaged.
bool name_tree_insert(CPDFXRefTable& table, CPDFDictionary& root, PDF_String& name, const PDF_REF& value);
