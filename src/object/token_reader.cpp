#include <cstring>

#include "base/chars.h"
#include "object/token_reader_internal.h"

namespace {

constexpr unsigned kLookAhead = 64;       // for "N G R", "N G obj" and keywords
constexpr unsigned kFractionDigits = 10;  // beyond these a digit cannot change a QVFIX
constexpr QVFIX kLargestReal = INT64_MAX;
constexpr std::int64_t kIntegerLimit = std::int64_t{1} << (63 - kFixBits);  // integer part of a QVFIX

constexpr std::int64_t kPowersOfTen[kFractionDigits + 1] = {
    1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000, 10000000000};

// Digits of one number while they are read.
struct Digits {
  std::int64_t whole = 0;
  std::int64_t fraction = 0;
  unsigned fraction_digits = 0;

  void add_whole(char c) {
    if (whole < kIntegerLimit)
      whole = whole * 10 + (c - '0');
  }
  void add_fraction(char c) {
    if (fraction_digits == kFractionDigits)
      return;
    fraction = fraction * 10 + (c - '0');
    ++fraction_digits;
  }
  QVFIX real() const {
    if (whole >= kIntegerLimit)
      return kLargestReal;
    const std::int64_t scale = kPowersOfTen[fraction_digits];
    const QVFIX part = (fraction * kFixOne + scale / 2) / scale;
    const QVFIX base = fix_from_int(whole);
    return base > kLargestReal - part ? kLargestReal : base + part;
  }
};

constexpr bool is_number_start(char c) {
  return is_digit(c) || c == '+' || c == '-' || c == '.';
}

}  // namespace

int TokenReader::peek() {
  if (buf_.buf_pos >= buf_.buf_len) {
    buf_.buf_refill();
    if (buf_.buf_len == 0)
      return -1;
  }
  return static_cast<unsigned char>(buf_.buf_data[buf_.buf_pos]);
}

bool TokenReader::skip_space() {
  for (;;) {
    if (!buf_.buf_skip_ws(true))
      return false;
    if (buf_.buf_data[buf_.buf_pos] != '%')
      return true;
    for (int c = peek(); c != -1 && c != '\r' && c != '\n'; c = peek())
      take();
  }
}

bool TokenReader::at_keyword(const char* word) {
  const auto len = static_cast<unsigned>(std::strlen(word));
  buf_.buf_need(len + 1);
  const char* at = buf_.buf_data + buf_.buf_pos;
  return std::strncmp(at, word, len) == 0 && !is_regular(at[len]);
}

Token TokenReader::next(CPDFObj& value) {
  if (!skip_space())
    return Token::kEnd;
  const char c = buf_.buf_data[buf_.buf_pos];
  if (is_number_start(c)) {
    read_number(value);
    return Token::kValue;
  }
  switch (c) {
    case '/':
      read_name();
      return Token::kName;
    case '(':
      read_literal_string(value);
      return Token::kValue;
    case '[':
      take();
      return Token::kArrayOpen;
    case ']':
      take();
      return Token::kArrayClose;
    case '<':
      buf_.buf_need(2);
      if (buf_.buf_data[buf_.buf_pos + 1] == '<') {
        buf_.buf_pos += 2;
        return Token::kDictOpen;
      }
      read_hex_string(value);
      return Token::kValue;
    case '>':
      buf_.buf_need(2);
      if (buf_.buf_data[buf_.buf_pos + 1] == '>') {
        buf_.buf_pos += 2;
        return Token::kDictClose;
      }
      return read_stray();
    case '{':
    case '}':
    case ')':
      return read_stray();
    default:
      return read_keyword(value);
  }
}

// A delimiter that nothing opened counts as a keyword of one character.
Token TokenReader::read_stray() {
  keyword_pos_ = buf_.buf_pos;
  keyword[0] = buf_.buf_data[buf_.buf_pos];
  keyword[1] = 0;
  take();
  return Token::kKeyword;
}

Token TokenReader::read_keyword(CPDFObj& value) {
  buf_.buf_need(kLookAhead);
  keyword_pos_ = buf_.buf_pos;
  unsigned len = 0;
  for (int c = peek(); c != -1 && is_regular(static_cast<char>(c)); c = peek()) {
    if (len < kKeywordMost)
      keyword[len++] = static_cast<char>(c);
    take();
  }
  keyword[len] = 0;
  if (std::strcmp(keyword, "true") == 0 || std::strcmp(keyword, "false") == 0) {
    value.set_bool(keyword[0] == 't' ? 1 : 0);
    return Token::kValue;
  }
  if (std::strcmp(keyword, "null") == 0) {
    value.free();
    return Token::kValue;
  }
  return Token::kKeyword;
}

void TokenReader::read_number(CPDFObj& value) {
  bool negative = false;
  bool plain = true;  // nothing but digits, so that a reference can begin here
  int c = peek();
  for (; c == '+' || c == '-'; c = peek()) {
    // Of several signs a minus wins, as other readers have it.
    negative = negative || c == '-';
    plain = false;
    take();
  }
  Digits digits;
  for (; c != -1 && is_digit(static_cast<char>(c)); c = peek()) {
    digits.add_whole(static_cast<char>(c));
    take();
  }
  const bool real = c == '.';
  if (real) {
    take();
    for (c = peek(); c != -1 && (is_digit(static_cast<char>(c)) || c == '-'); c = peek()) {
      // A minus inside the digits is passed over.
      if (c != '-')
        digits.add_fraction(static_cast<char>(c));
      take();
    }
  }
  skip_number_rest();
  if (real || digits.whole > INT32_MAX) {
    if (!real && negative && digits.whole == -static_cast<std::int64_t>(INT32_MIN)) {
      value.set_int(INT32_MIN);
      return;
    }
    value.set_real(negative ? -digits.real() : digits.real());
    return;
  }
  const auto whole = static_cast<std::int32_t>(digits.whole);
  std::int32_t gen = 0;
  if (plain && take_after_number("R", 1, gen)) {
    value.set_ref({whole, gen});
    return;
  }
  value.set_int(negative ? -whole : whole);
}

// What hangs on a number without belonging to it: further dots, signs and digits, an exponent. A
// letter that is no exponent begins the next token, as in "5endobj".
void TokenReader::skip_number_rest() {
  for (;;) {
    const int c = peek();
    if (c == -1)
      return;
    if (is_number_start(static_cast<char>(c))) {
      take();
      continue;
    }
    if (c != 'e' && c != 'E')
      return;
    buf_.buf_need(3);
    const char* at = buf_.buf_data + buf_.buf_pos;
    const bool exponent = is_digit(at[1]) || ((at[1] == '+' || at[1] == '-') && is_digit(at[2]));
    if (!exponent)
      return;
    buf_.buf_pos += 2;
  }
}

bool TokenReader::take_after_number(const char* word, unsigned len, std::int32_t& gen) {
  if (buf_.buf_pos + kLookAhead > buf_.buf_len)
    buf_.buf_need(kLookAhead);
  const char* at = buf_.buf_data + buf_.buf_pos;
  const char* const end = buf_.buf_data + buf_.buf_len;
  const char* const start = at;
  while (at < end && is_wide_space(*at))
    ++at;
  if (at == start || at == end || !is_digit(*at))
    return false;
  std::uint32_t number = 0;
  for (; at < end && is_digit(*at); ++at)
    number = number * 10 + static_cast<std::uint32_t>(*at - '0');
  while (at < end && is_wide_space(*at))
    ++at;
  if (static_cast<std::size_t>(end - at) < len || std::memcmp(at, word, len) != 0)
    return false;
  // "R" must be a word of its own; what follows "obj" is not looked at.
  if (len == 1 && at + 1 < end && is_regular(at[1]))
    return false;
  gen = static_cast<std::int32_t>(number);
  buf_.buf_pos = static_cast<std::uint32_t>(at + len - buf_.buf_data);
  return true;
}

void TokenReader::read_name() {
  take();
  text.clear();
  for (int c = peek(); c != -1 && is_regular(static_cast<char>(c)); c = peek()) {
    if (c != '#') {
      text.push(static_cast<char>(c));
      take();
      continue;
    }
    buf_.buf_need(3);
    const int high = hex_value(buf_.buf_data[buf_.buf_pos + 1]);
    const int low = high < 0 ? -1 : hex_value(buf_.buf_data[buf_.buf_pos + 2]);
    // A name cannot hold a NUL, and a "#" without two digits stands for itself.
    const bool coded = low >= 0 && high * 16 + low != 0;
    text.push(coded ? static_cast<char>(high * 16 + low) : '#');
    buf_.buf_pos += coded ? 3 : 1;
  }
}

void TokenReader::read_literal_string(CPDFObj& value) {
  take();
  text.clear();
  int depth = 1;
  for (int c = peek(); c != -1; c = peek()) {
    take();
    if (c == '\\') {
      if (!read_escape())
        break;
      continue;
    }
    if (c == '(')
      ++depth;
    if (c == ')' && --depth == 0)
      break;
    if (c == '\r') {
      // Any line end inside a string reads as a line feed.
      if (peek() == '\n')
        take();
      c = '\n';
    }
    text.push(static_cast<char>(c));
  }
  value.set_string(text.data(), static_cast<int>(text.size()));
}

// Behind a backslash. False at the end of the data.
bool TokenReader::read_escape() {
  const int c = peek();
  if (c == -1)
    return false;
  take();
  switch (c) {
    case 'n':
      text.push('\n');
      return true;
    case 'r':
      text.push('\r');
      return true;
    case 't':
      text.push('\t');
      return true;
    case 'b':
      text.push('\b');
      return true;
    case 'f':
      text.push('\f');
      return true;
    case '\r':
      if (peek() == '\n')
        take();
      return true;
    case '\n':
      return true;
    default:
      if (c >= '0' && c <= '7')
        read_octal(c);
      else
        text.push(static_cast<char>(c));
      return true;
  }
}

void TokenReader::read_octal(int first) {
  int code = first - '0';
  for (int i = 0; i < 2; ++i) {
    const int c = peek();
    if (c < '0' || c > '7')
      break;
    code = code * 8 + (c - '0');
    take();
  }
  text.push(static_cast<char>(code & 0xFF));
}

void TokenReader::read_hex_string(CPDFObj& value) {
  take();
  text.clear();
  int high = -1;
  for (int c = peek(); c != -1; c = peek()) {
    take();
    if (c == '>')
      break;
    const int digit = hex_value(static_cast<char>(c));
    if (digit < 0)
      continue;  // white space and junk
    if (high < 0) {
      high = digit;
      continue;
    }
    text.push(static_cast<char>(high * 16 + digit));
    high = -1;
  }
  if (high >= 0)
    text.push(static_cast<char>(high * 16));
  value.set_string(text.data(), static_cast<int>(text.size()));
}
