// The PostScript tokens of character map files: as much of the language as the files use.
//
//   number   100  -1  1.009  16#FF       name      /WMode
//   string   <00A5>  (Adobe)             operator  begincidrange, def, ...
//   brackets [ ]; << >> { } are reported as operators without a name. Comments run from % to the line's end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace sheaf {

enum class CMapToken { kEnd, kNumber, kName, kString, kOperator, kArrayOpen, kArrayClose };

/// Reads the tokens of a block that the caller keeps. Work and memory are bounded by its length.
class CMapTokens {
public:
  CMapTokens(const void* bytes, std::size_t len)
      : at_(static_cast<const char*>(bytes)), end_(static_cast<const char*>(bytes) + len) {}

  /// The next token. For a string without an end it is the end of the input.
  CMapToken next();

  /// A name without its slash, an operator, or the bytes of a string, of which no more than
  /// kMostString are kept. Valid until the next token.
  std::string_view text() const { return text_; }
  /// The value of a number, cut towards zero and to 32 bits.
  std::int32_t number() const { return number_; }

  static constexpr std::size_t kMostString = 512;

private:
  void skip_space_and_comments();
  CMapToken read_hex_string();
  CMapToken read_literal_string();
  void read_escape();
  CMapToken read_regular();
  CMapToken bracket(CMapToken token, std::size_t len);
  void keep(char c);

  const char* at_;
  const char* end_;
  std::string_view text_;
  std::int32_t number_ = 0;
  std::size_t kept_ = 0;
  char buffer_[kMostString];
};

}  // namespace sheaf
