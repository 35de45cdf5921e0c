// The same file as another program reads it: qpdf's JSON form of every object, streams with their data
// as they are stored, decrypted.
#pragma once

#include <set>
#include <string>

#include "oracle/model.h"

namespace oracle {

/// Whether qpdf is installed; asked once.
bool has_independent_reader();

/// Reads the file. False when the other program cannot; `warnings` gets the kinds of its complaints.
bool read_independently(const std::string& path, const std::string& password, Snapshot& found,
                        std::set<std::string>& warnings);

}  // namespace oracle
