// The tokens of PDF syntax (ISO 32000-1, 7.2), read from a parse buffer:
//
//   value    number | (literal string) | <hex string> | true | false | null | N G R
//   name     /name
//   open     [  <<
//   close    ]  >>
//   keyword  any other run of regular characters, and stray delimiters
//
// What real writers produce is read as far as it makes sense: several signs, trailing dots,
// exponents (cut off), integers beyond 32 bits (which become reals), strings without an end.
// A token that lies whole in the buffer is taken from there; only others are collected first.
#pragma once

#include <string_view>

#include "sheaf/object/byte_collector_internal.h"
#include "sheaf/object/object.h"
#include "sheaf/object/parse_buf.h"

namespace sheaf {

enum class Token { kEnd, kValue, kName, kArrayOpen, kArrayClose, kDictOpen, kDictClose, kKeyword };

class TokenReader {
public:
  /// `texts` false: strings come as null values, which spares their bytes the way to the heap.
  explicit TokenReader(CPDFBuf& buf, bool texts = true) : buf_(buf), texts_(texts) {}

  /// The next token. A kValue is in `value`, the text of a kName in `name`, and that of a
  /// kKeyword in `keyword`.
  Token next(CPDFObj& value);
  /// Puts the keyword read last back before the buffer's position. Only for keywords of less
  /// than kLookAhead characters.
  void unread_keyword() { buf_.buf_pos = keyword_pos_; }
  /// With the number N read last: passes " G obj" and returns true, with `gen` set.
  bool take_header(std::int32_t& gen) { return take_after_number("obj", gen); }
  /// Passes white space and comments. False at the end of the data.
  bool skip_space();
  /// Whether `word` comes next, as a whole word.
  bool at_keyword(std::string_view word);

  /// Both are valid until the next call; keywords may be cut at kLookAhead characters.
  std::string_view name;
  std::string_view keyword;

  static constexpr unsigned kLookAhead = 64;  ///< For "N G R", "N G obj" and keywords.

private:
  const char* here() const { return buf_.buf_data + buf_.buf_pos; }
  const char* limit() const { return buf_.buf_data + buf_.buf_len; }
  void move_to(const char* at) { buf_.buf_pos = static_cast<std::uint32_t>(at - buf_.buf_data); }
  void take() { ++buf_.buf_pos; }
  void need(unsigned count);
  int peek();

  Token read_keyword(CPDFObj& value);
  Token read_stray();
  void read_number(CPDFObj& value);
  void read_odd_number(CPDFObj& value);
  void skip_number_rest();
  void read_name();
  void collect_name();
  void read_literal_string(CPDFObj& value);
  bool read_escape();
  void read_octal(int first);
  void read_hex_string(CPDFObj& value);
  bool is_wary() const;
  void note_unclosed(std::uint32_t start);
  void keep_text(CPDFObj& value, const char* bytes, std::size_t count) const;
  bool take_after_number(std::string_view word, std::int32_t& gen);

  CPDFBuf& buf_;
  const bool texts_;
  std::uint32_t keyword_pos_ = 0;
  bool drained_ = false;  // the source has no more than the buffer holds
  ByteCollector text_;
};

}  // namespace sheaf
