// A new document that grows in memory and a temporary file by merging, until it is written.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "sheaf/document/merge/doc_merge.h"
#include "support/encryption.h"

namespace sheaf::tool {

struct Assembly {
  Assembly();
  /// Completes the document and writes it to `path`, encrypted as `protection` is when that is not null, or as asked
  /// for. False, with a message, on failure.
  bool write(const std::string& path, CPDFDoc* protection);
  bool write(const std::string& path, const EncryptionOptions& encryption);
  /// Whether objects that belong to the pages could not be read.
  bool has_unreadable() const;

  CQVStreamMem start;
  CPDFDoc doc;
  std::unique_ptr<CPDFDocMerge> merge;
  std::vector<std::int32_t> order;  ///< Of the pages in the file, by their former places; empty: as they come.
  long long size = 0;               ///< Bytes written.

private:
  bool has_record(const char* entry) const;
  bool write_by(const std::string& path, bool encrypts, const std::function<bool(CQVStream& out)>& save);
};

}  // namespace sheaf::tool
