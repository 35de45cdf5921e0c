// The tokens of PDF syntax (ISO 32000-1, 7.2), read from a parse buffer:
//
//   value    number | (literal string) | <hex string> | /name | true | false | null | N G R
//   open     [  <<
//   close    ]  >>
//   keyword  any other run of regular characters, and stray delimiters
//
// What real writers produce is read as far as it makes sense: several signs, trailing dots,
// exponents (cut off), integers beyond 32 bits (which become reals), strings without an end.
#pragma once

#include "object/byte_collector_internal.h"
#include "object/object.h"
#include "object/parse_buf.h"

enum class Token { kEnd, kValue, kName, kArrayOpen, kArrayClose, kDictOpen, kDictClose, kKeyword };

class TokenReader {
public:
  explicit TokenReader(CPDFBuf& buf) : buf_(buf) {}

  /// The next token. A kValue stands in `value`, the text of a kName in `text`, and that of a
  /// kKeyword in `keyword` (cut at kKeywordMost characters).
  Token next(CPDFObj& value);
  /// Puts the keyword read last back in front of the buffer's position.
  void unread_keyword() { buf_.buf_pos = keyword_pos_; }
  /// With the number N read last: passes " G obj" or " G R" and tells so, with `gen` set.
  bool take_header(std::int32_t& gen) { return take_after_number("obj", 3, gen); }
  /// Passes white space and comments. False at the end of the data.
  bool skip_space();
  /// Whether `text` stands at the position, as a whole word.
  bool at_keyword(const char* text);

  static constexpr unsigned kKeywordMost = 31;
  char keyword[kKeywordMost + 1];
  ByteCollector text;

private:
  int peek();
  void take() { ++buf_.buf_pos; }

  Token read_keyword(CPDFObj& value);
  Token read_stray();
  void read_number(CPDFObj& value);
  void skip_number_rest();
  void read_name();
  void read_literal_string(CPDFObj& value);
  bool read_escape();
  void read_octal(int first);
  void read_hex_string(CPDFObj& value);
  bool take_after_number(const char* word, unsigned len, std::int32_t& gen);

  CPDFBuf& buf_;
  std::uint32_t keyword_pos_ = 0;
};
