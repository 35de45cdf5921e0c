// Looking at a whole document: every object, every stream, and what cannot be read.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sheaf/document/doc.h"

namespace sheaf::tool {

struct Problem {
  std::int32_t object;  ///< 0: the document.
  std::string what;
};

struct CheckResult {
  const char* status = "clean";
  std::int64_t pages = 0;
  std::int64_t objects = 0;
  std::int64_t streams = 0;
  std::int64_t decoded_bytes = 0;
  std::vector<Problem> problems;
};

/// Reads every object and decodes every stream of a readable document. All counts, the status and the
/// problems are those of `result` then.
void check_document(CPDFDoc& doc, CheckResult& result);

/// The same, after reading the content of every page, and of the forms that it draws. What is wrong there is a problem
/// of the stream that it is in, after the others.
void check_document_and_contents(CPDFDoc& doc, CheckResult& result);

/// What a new file, written from `source` with its object numbers, lacks of what can be reached there:
/// objects, pages, and content of pages, by decoded bytes.
std::vector<Problem> find_losses(CPDFDoc& source, CPDFDoc& copy);

}  // namespace sheaf::tool
