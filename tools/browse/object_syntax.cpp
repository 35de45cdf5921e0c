// What is short stays on one line.
#include "browse/object_syntax.h"

#include <algorithm>

#include "sheaf/base/scope_guard.h"
#include "support/tool_support.h"
#include "support/utf8_steps.h"

namespace sheaf::tool {

namespace {

constexpr int kMostDepth = 256;
constexpr std::size_t kLineWidth = 92;
constexpr std::int32_t kMostStringBytes = 2048;

bool is_container(const CPDFObj& value) {
  return value.tag == kTagDict || value.tag == kTagArray;
}

bool is_shown(char32_t character) {
  return character == '\n' || character == '\r' || character == '\t' || !is_unprintable(character);
}

// The characters of a string that is a text; false for other bytes. PDFDocEncoding has a character for nearly every
// byte, so that its letters above ASCII have to be few.
bool read_characters(const PDF_String& string, std::string& characters) {
  const auto byte = [&string](std::int32_t i) {
    return i < string.len ? static_cast<unsigned char>(string.data[i]) : 0;
  };
  const bool has_mark = (byte(0) == 0xFE && byte(1) == 0xFF) || (byte(0) == 0xFE && byte(1) == 0xFE) ||
                        (byte(0) == 0xEF && byte(1) == 0xBB && byte(2) == 0xBF);
  const auto high = std::count_if(string.data, string.data + string.len, [](char c) { return (c & 0x80) != 0; });
  if (!has_mark && high * 3 > string.len)
    return false;
  characters = utf8_text(string);
  for (std::size_t at = 0; at < characters.size();) {
    const Utf8Step step = utf8_step(std::string_view(characters).substr(at));
    if (!has_mark && (!step.is_valid || !is_shown(step.character)))
      return false;
    at += step.bytes;
  }
  return true;
}

std::string name_syntax(const char* name) {
  Freed<CPDFObj> value;
  value.set_name(name);
  return syntax_text(value);
}

}  // namespace

void SyntaxPrinter::put_line(int depth) {
  text_ += '\n';
  line_ = text_.size();
  text_.append(static_cast<std::size_t>(std::min(depth, 40)) * 2, ' ');
}

void SyntaxPrinter::print(const CPDFObj& value, int depth) {
  if (is_full())
    return;
  if (depth == kMostDepth) {
    text_ += "% nested too deep";
    return;
  }
  if (const CPDFDictionary* const dict = value.as_dict_or_stream())
    print_dict(*dict, depth);
  else if (const CPDFArray* const array = value.as_array())
    print_array(*array, depth);
  else if (value.tag == kTagString)
    print_string(value.as_string(), depth);
  else
    text_ += syntax_text(value);
}

void SyntaxPrinter::print_dict(const CPDFDictionary& dict, int depth) {
  const bool is_short = dict.count == 0 || (depth > 0 && dict.count == 1 && !is_container(*dict.items[0]));
  text_ += "<<";
  for (std::int32_t i = 0; i < dict.count && !is_full(); ++i) {
    if (is_short)
      text_ += ' ';
    else
      put_line(depth + 1);
    text_ += name_syntax(dict.items[i]->key()) + ' ';
    print(*dict.items[i], depth + 1);
  }
  if (is_short)
    text_ += ' ';
  else
    put_line(depth);
  text_ += ">>";
}

void SyntaxPrinter::print_array(const CPDFArray& array, int depth) {
  const bool has_containers = std::any_of(array.items, array.items + array.count, is_container);
  text_ += '[';
  for (std::int32_t i = 0; i < array.count && !is_full(); ++i) {
    if (has_containers || text_.size() - line_ > kLineWidth)
      put_line(depth + 1);
    else if (i > 0)
      text_ += ' ';
    print(array.items[i], depth + 1);
  }
  if (has_containers)
    put_line(depth);
  text_ += ']';
}

void SyntaxPrinter::print_string(const PDF_String& string, int depth) {
  PDF_String shown = string;
  shown.len = std::min(shown.len, kMostStringBytes);
  std::string characters;
  if (read_characters(shown, characters))
    print_literal(characters);
  else
    text_ += '<' + hex_text(shown) + '>';
  if (shown.len == string.len)
    return;
  text_ += " % the start of " + std::to_string(string.len) + " bytes";
  put_line(depth);
}

void SyntaxPrinter::print_literal(std::string_view characters) {
  text_ += '(';
  while (!characters.empty()) {
    const std::string_view next = characters.substr(0, utf8_step(characters).bytes);
    const char c = next[0];
    if (c == '(' || c == ')' || c == '\\')
      text_ += '\\';
    if (c == '\n' || c == '\r' || c == '\t')
      text_ += c == '\n' ? "\\n" : c == '\r' ? "\\r" : "\\t";
    else
      text_ += shown(next);
    characters.remove_prefix(next.size());
  }
  text_ += ')';
}

}  // namespace sheaf::tool
