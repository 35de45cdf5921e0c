// Values in PDF syntax for people: a line for each key, texts as characters instead of bytes.
#pragma once

#include <string>
#include <string_view>

#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/object.h"

namespace sheaf::tool {

/// Prints values as UTF-8. Strings that hold text are literal strings of its characters, others are hexadecimal;
/// what is very long is cut, and a comment says so. Characters that cannot be seen are written as \u{H}.
class SyntaxPrinter {
public:
  /// Stops behind `most` bytes.
  explicit SyntaxPrinter(std::size_t most) : most_(most) {}

  void print(const CPDFObj& value) { print(value, 0); }
  const std::string& text() const { return text_; }
  bool is_cut() const { return is_cut_; }

private:
  void print(const CPDFObj& value, int depth);
  void print_dict(const CPDFDictionary& dict, int depth);
  void print_array(const CPDFArray& array, int depth);
  void print_string(const PDF_String& string, int depth);
  void print_literal(std::string_view characters);
  void put_line(int depth);
  bool is_full() {
    is_cut_ = is_cut_ || text_.size() > most_;
    return is_cut_;
  }

  std::string text_;
  std::size_t most_;
  std::size_t line_ = 0;  // where the last line begins
  bool is_cut_ = false;
};

}  // namespace sheaf::tool
