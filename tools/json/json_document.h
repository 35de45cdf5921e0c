// A whole document as JSON, and a document made of such JSON.
#pragma once

#include <string>

#include "json/exact_values.h"
#include "sheaf/document/doc.h"
#include "support/safe_output.h"

namespace sheaf::tool {

/// Where the bytes of streams go.
enum class JsonStreams { kInline, kApart, kNone };

struct JsonManner {
  JsonForm form = JsonForm::kOwn;
  JsonStreams streams = JsonStreams::kInline;
  std::string folder;  ///< For streams apart.
};

/// Writes every object of a readable document but those that hold its file together (cross-reference and object
/// streams), decrypted, streams with their filters. The result is an ExitCode: kExitProblems, with messages, when
/// streams could not be read; kExitFailed when `output` came short.
int write_json_document(CPDFDoc& doc, const std::string& file, const JsonManner& manner, SafeOutput& output);

/// Writes a document of the objects in `json`, under the same numbers, to `output`. False, with a message that names
/// `file`.
bool write_pdf_of_json(const JsonValue& json, const std::string& file, CQVStream& output);

}  // namespace sheaf::tool
