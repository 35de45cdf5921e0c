// What the commands share: opening with messages, and values as text.
#pragma once

#include <string>

#include "commands.h"
#include "neighbours/page/doc.h"

/// A message to standard error: "sheaf: FILE: what; what to do".
void complain(const std::string& file, const std::string& message);

/// Opens `file` and says so when that fails. False: the command ends with kExitFailed. With
/// `needs_password` false an encrypted document that waits for its password counts as open.
bool open_document(CPDFDoc& doc, const std::string& file, const PasswordOptions& password, bool needs_password = true);

/// Opens `path` for reading and writing; messages name `shown`.
bool open_document_for_update(CPDFDoc& doc, const std::string& path, const std::string& shown,
                              const PasswordOptions& password);

/// Why an encrypted document cannot be read.
std::string password_trouble(const CPDFDoc& doc);

/// A PDF text string as UTF-8.
std::string utf8_text(const PDF_String& text);
/// Bytes in hexadecimal.
std::string hex_text(const PDF_String& text);
/// A value in PDF syntax.
std::string syntax_text(const CPDFObj& value);
/// A fixed-point number as a double, for printing.
double to_double(QVFIX value);
