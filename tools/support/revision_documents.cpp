// A revision is the file up to its end, opened as a document of its own.
#include "support/revision_documents.h"

#include "sheaf/base/stream_blocks.h"
#include "support/inputs.h"
#include "support/tool_support.h"

namespace sheaf::tool {

bool RevisionDocument::open(const std::string& file, long long end, const std::string& name,
                            const PasswordOptions& password) {
  std::string path;
  if (!input_path(file, path))
    return false;
  if (!file_.Open(path.c_str())) {
    complain(name, "cannot be opened; check the path and its permissions");
    return false;
  }
  prefix_ = std::make_unique<PrefixStream>(file_, end);
  return open_document_stream(doc_, *prefix_, name, password);
}

bool read_revisions(const std::string& file, GrowArray<long long>& ends) {
  std::string path;
  CQVStreamBlocks stream;
  if (!input_path(file, path))
    return false;
  if (stream.Open(path.c_str()) && list_revisions(stream, ends))
    return true;
  complain(input_name(file), "cannot be opened; check the path and its permissions");
  return false;
}

}  // namespace sheaf::tool
