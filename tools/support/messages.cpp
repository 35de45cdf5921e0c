// Every text that a document or a file name can bring in is made harmless here.
#include "support/messages.h"

#include <algorithm>
#include <cstdio>

#include "support/utf8_steps.h"

namespace sheaf::tool {

namespace {

bool output_is_claimed = false;

void say(const char* kind, const std::string& file, const std::string& message) {
  std::fprintf(stderr, "sheaf: %s: %s%s\n", shown(file).c_str(), kind, shown(message).c_str());
}

}  // namespace

Manner& manner() {
  static Manner chosen;
  return chosen;
}

std::string shown(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const Utf8Step step = utf8_step(text.substr(at));
    char code[16] = "";
    if (!step.is_valid)
      std::snprintf(code, sizeof(code), "\\x%02X", static_cast<unsigned char>(text[at]));
    else if (step.character < 0x80 && is_unprintable(step.character))
      std::snprintf(code, sizeof(code), "\\x%02X", static_cast<unsigned>(step.character));
    else if (is_unprintable(step.character))
      std::snprintf(code, sizeof(code), "\\u{%X}", static_cast<unsigned>(step.character));
    if (code[0] != 0)
      out += code;
    else
      out += text.substr(at, step.bytes);
    at += step.bytes;
  }
  return out;
}

std::string shown_lines(std::string_view text) {
  std::string out;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find_first_of("\n\t", at), text.size());
    out += shown(text.substr(at, end - at));
    if (end < text.size())
      out += text[end];
    at = end + 1;
  }
  return out;
}

std::string input_name(const std::string& file) {
  return file == "-" ? "standard input" : file;
}

std::string output_name(const std::string& file) {
  return file == "-" ? "standard output" : file;
}

void complain(const std::string& file, const std::string& message) {
  say("", file, message);
}

void warn(const std::string& file, const std::string& message) {
  if (!manner().quiet)
    say("warning: ", file, message);
}

void remark(const std::string& file, const std::string& message) {
  if (manner().verbose)
    say("", file, message);
}

void claim_standard_output() {
  output_is_claimed = true;
}

void report(const std::string& line) {
  if (!manner().quiet)
    std::fprintf(output_is_claimed ? stderr : stdout, "%s\n", shown(line).c_str());
}

bool finish_standard_output() {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
    return true;
  complain("standard output", "could not be written to its end; is its reader gone, or the disk full?");
  return false;
}

}  // namespace sheaf::tool
