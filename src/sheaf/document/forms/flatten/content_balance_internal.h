// How a page's content leaves the stack of graphics states: what is drawn after it must begin where the page began.
#pragma once

struct CPDFObj;
class CPDFXRefTable;

namespace sheaf {

/// The states that a content saves and does not restore.
struct ContentBalance {
  int depth = 0;   ///< At the end; below 0 when more were restored than saved.
  int lowest = 0;  ///< On the way; 0 or less.
};

/// The balance of a page's "Contents": a stream, an array of streams or a reference.
ContentBalance balance_of(CPDFXRefTable& table, const CPDFObj* contents);

}  // namespace sheaf
