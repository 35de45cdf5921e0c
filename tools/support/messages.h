// What the tool says besides its data: messages to standard error, reports of what was done, and how much of it is
// wanted. Whatever comes from a document or a file name is made harmless for terminals on its way.
#pragma once

#include <string>
#include <string_view>

namespace sheaf::tool {

/// When a line of progress is shown.
enum class ProgressWhen { kAuto, kAlways, kNever };

/// How much is said, as the options that every command has set it.
struct Manner {
  bool quiet = false;    ///< No warnings, reports of what was done, progress.
  bool verbose = false;  ///< Also what was left out by design.
  ProgressWhen progress = ProgressWhen::kAuto;
};
Manner& manner();

/// `text` with control characters, marks that turn the direction of text, and bytes that are no UTF-8 written as
/// \xHH or \u{H}, so that a terminal shows them instead of obeying.
std::string shown(std::string_view text);
/// The same, but lines and tabs stay.
std::string shown_lines(std::string_view text);
/// A file's name for a message: "standard input" for "-".
std::string input_name(const std::string& file);
std::string output_name(const std::string& file);

/// A message to standard error: "sheaf: FILE: what; what to do".
void complain(const std::string& file, const std::string& message);
/// The same for what needs no mending; not with --quiet.
void warn(const std::string& file, const std::string& message);
/// The same with --verbose only.
void remark(const std::string& file, const std::string& message);
/// A line on what was done, to standard output, or to standard error when a document goes to standard output. Not
/// with --quiet.
void report(const std::string& line);
/// Says that a document or data go to standard output, so that reports must not.
void claim_standard_output();

/// Writes out standard output. False, with a message, when anything of it could not be written.
bool finish_standard_output();

}  // namespace sheaf::tool
