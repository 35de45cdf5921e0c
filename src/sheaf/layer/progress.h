// How long work is followed and stopped.
#pragma once

#include <functional>

namespace sheaf {

struct Progress {
  const char* what = "";  ///< "open", "save", "merge", "flatten" or "images".
  double done = 0;   ///< Of `total`: bytes of a scan, objects of a save, pages of a merge or when flattening, rows.
  double total = 0;  ///< 0: not known yet.
};

/// Asked every few milliseconds of work, in the thread that works; false stops the operation, which then gives
/// Code::kCancelled. It must not use the document. A document whose change was stopped can only be closed.
using ProgressFunction = std::function<bool(const Progress&)>;

}  // namespace sheaf
