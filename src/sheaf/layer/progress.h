// How long work is followed and stopped.
#pragma once

#include <functional>

namespace sheaf {

struct Progress {
  const char* what = "";  ///< "open", "save", "merge", "flatten" or "images".
  double done = 0;        ///< Of `total`, in a unit of the operation's own.
  double total = 0;       ///< 0: nobody knows.
};

/// Asked every few milliseconds of work, in the thread that works; false stops the operation, which then gives
/// Code::kCancelled. It must not use the document. A document whose change was stopped is good for closing only.
using ProgressFunction = std::function<bool(const Progress&)>;

}  // namespace sheaf
