// Opening a document as it was in one of its revisions.
#pragma once

#include <memory>
#include <string>

#include "sheaf/base/stream_blocks.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/revisions/revisions.h"
#include "support/password_options.h"

namespace sheaf::tool {

class RevisionDocument {
public:
  /// Opens `file` as it was when it ended before byte `end`, counted from its first one. False, with a message
  /// that names `name`.
  bool open(const std::string& file, long long end, const std::string& name, const PasswordOptions& password);
  CPDFDoc& doc() { return doc_; }

private:
  CQVStreamBlocks file_;
  std::unique_ptr<PrefixStream> prefix_;
  CPDFDoc doc_;  // closes before the streams that it reads
};

/// The ends of the revisions of a file. False, with a message.
bool read_revisions(const std::string& file, GrowArray<long long>& ends);

}  // namespace sheaf::tool
