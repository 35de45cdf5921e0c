// The page as a file: its head, data in pieces that a browser reads only when they are asked for, and its script.
#pragma once

#include <cstdint>
#include <string>

#include "support/safe_output.h"

namespace sheaf::tool {

class PageWriter {
public:
  /// `out` is borrowed; the page is to have `most_bytes` at most.
  PageWriter(SafeOutput& out, std::int64_t most_bytes) : out_(out), left_(most_bytes) {}

  /// The page up to its data. All that write give false, without a message, when the output fails.
  bool begin();
  /// A script element that holds `json` and is no script to the browser. Whatever could end the element is escaped.
  bool put_data(const char* name, const std::string& json);
  /// The rest of the page.
  bool finish();
  /// How many bytes may follow in front of the rest of the page; below 0 when there are too many already.
  std::int64_t left() const;
  /// How long `json` becomes as data.
  static std::int64_t data_size(const std::string& json);

private:
  bool put(const std::string& text);

  SafeOutput& out_;
  std::int64_t left_;
};

}  // namespace sheaf::tool
