// What the commands share: opening with messages, and values as text.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "sheaf/document/doc.h"
#include "support/exit_codes.h"
#include "support/json_writer.h"
#include "support/messages.h"
#include "support/password_options.h"

namespace sheaf::tool {

/// Reads the password now, so that it can be used for several documents. False, with a message, when its
/// file cannot be read.
bool fix_password(PasswordOptions& options);

/// Opens `file` and says so when that fails. False: the command ends with kExitFailed. With
/// `needs_password` false an encrypted document that waits for its password counts as open.
bool open_document(CPDFDoc& doc, const std::string& file, const PasswordOptions& password, bool needs_password = true);

/// The same for a document on a stream that the caller keeps; messages name `name`.
bool open_document_stream(CPDFDoc& doc, CQVStream& stream, const std::string& name, const PasswordOptions& password);

/// Reads the passwords on the lines of a file, "-" for standard input. False, with a message, when it cannot be read.
bool read_password_lines(const std::string& file, std::vector<std::string>& passwords);

/// Opens `path` for reading and writing; messages name `shown_name`.
bool open_document_for_update(CPDFDoc& doc, const std::string& path, const std::string& shown_name,
                              const PasswordOptions& password);

/// The reference to object `num`. False, with a message, when its generation is not `gen`; -1 asks for
/// none.
bool find_reference(CPDFDoc& doc, const std::string& file, std::int32_t num, std::int32_t gen, PDF_REF& ref);

/// Whether the document was where its sections say, as far as it was read. False, with a message, when
/// something of it was healed; asked at the end of a command, which then ends with kExitProblems.
bool was_sound(CPDFDoc& doc, const std::string& file);

/// What was healed, as the member "repairs": code, object, offset, action.
void put_repairs(JsonWriter& json, CPDFDoc& doc);

/// Why an encrypted document cannot be read.
std::string password_trouble(const CPDFDoc& doc);

/// Reads a decoder to its end in pieces and hands them to `sink`, which gives false to stop. CCITT
/// images are read by rows, as many as the image has: their data have no end of their own. What
/// decodes to more than kMostDecoded is cut. The result is the count of bytes, -1 when stopped.
constexpr std::int64_t kMostDecoded = std::int64_t{1} << 30;
std::int64_t drain(CPDFXRefTable& table, const CPDFStreamRec& rec, CPDFStream& decoder,
                   const std::function<bool(const unsigned char*, int)>& sink);

/// A PDF text string as UTF-8.
std::string utf8_text(const PDF_String& text);
/// Bytes in hexadecimal.
std::string hex_text(const PDF_String& text);
/// A value in PDF syntax.
std::string syntax_text(const CPDFObj& value);

}  // namespace sheaf::tool
