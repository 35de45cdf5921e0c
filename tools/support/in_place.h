// A file that is changed where it is: one process at a time, and as it was when the change does not come to its end.
#pragma once

#include <string>

#include "support/interrupts.h"

namespace sheaf::tool {

class InPlace {
public:
  InPlace() = default;
  InPlace(const InPlace&) = delete;
  InPlace& operator=(const InPlace&) = delete;
  ~InPlace();

  /// Locks the file against other processes that change it in place, until this object goes; the document is opened
  /// after that. Another's lock is waited for, or with `waits` false is a failure. A signal that ends the process
  /// cuts the file back to its present length. False, with a message, on failure.
  bool begin(const std::string& file, bool waits);
  /// Called when the document is closed: brings the bytes to the disk. `length` is what the file must have; another
  /// length cuts it back. False, with a message, on failure.
  bool finish(long long length);

private:
  bool lock(bool waits);
  bool is_still_there() const;

  std::string file_;
  int handle_ = -1;
  long long before_ = 0;
  CutOnSignal cut_;
};

}  // namespace sheaf::tool
