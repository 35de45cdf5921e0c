// Tokens are views of the file, except strings, which are decoded into a buffer of the reader.
#include "sheaf/neighbours/fonts/cmap_tokens.h"

#include <algorithm>

#include "sheaf/base/chars.h"

namespace sheaf {

namespace {

constexpr std::int64_t kMostNumber = INT32_MAX;
constexpr int kMostRadix = 36;

// The value of a digit of any radix; kMostRadix for anything else.
int radix_digit(char c) {
  if (is_digit(c))
    return c - '0';
  const char lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'z' ? lower - 'a' + 10 : kMostRadix;
}

std::int64_t add_digit(std::int64_t value, int radix, int digit) {
  const std::int64_t more = value * radix + digit;
  return more > kMostNumber ? kMostNumber : more;
}

// The digits of `text` in `radix` from `at` on; `at` stops after them.
std::int64_t read_digits(std::string_view text, std::size_t& at, int radix) {
  std::int64_t value = 0;
  for (; at < text.size() && radix_digit(text[at]) < radix; ++at)
    value = add_digit(value, radix, radix_digit(text[at]));
  return value;
}

// Whether `text` is a number as a whole: an integer, a real without exponent, or RADIX#DIGITS.
bool parse_number(std::string_view text, std::int32_t& number) {
  constexpr int kDecimal = 10;
  const bool is_signed = text[0] == '-' || text[0] == '+';
  const std::size_t start = is_signed ? 1 : 0;
  std::size_t at = start;
  std::int64_t value = read_digits(text, at, kDecimal);
  std::size_t digits = at - start;
  if (at < text.size() && text[at] == '#' && !is_signed && value >= 2 && value <= kMostRadix) {
    const auto radix = static_cast<int>(value);
    digits = text.size() - ++at;
    value = read_digits(text, at, radix);
  } else if (at < text.size() && text[at] == '.') {
    const std::size_t point = at++;
    read_digits(text, at, kDecimal);
    digits += at - point - 1;
  }
  if (digits == 0 || at != text.size())
    return false;
  number = static_cast<std::int32_t>(text[0] == '-' ? -value : value);
  return true;
}

}  // namespace

CMapToken CMapTokens::next() {
  skip_space_and_comments();
  if (at_ == end_)
    return CMapToken::kEnd;
  const bool doubled = at_ + 1 < end_ && at_[1] == at_[0];
  switch (*at_) {
    case '<':
      return doubled ? bracket(CMapToken::kOperator, 2) : read_hex_string();
    case '>':
      return bracket(CMapToken::kOperator, doubled ? 2 : 1);
    case '(':
      return read_literal_string();
    case '[':
      return bracket(CMapToken::kArrayOpen, 1);
    case ']':
      return bracket(CMapToken::kArrayClose, 1);
    case ')':
    case '{':
    case '}':
      return bracket(CMapToken::kOperator, 1);
    default:
      return read_regular();
  }
}

void CMapTokens::skip_space_and_comments() {
  for (; at_ < end_; ++at_) {
    if (*at_ == '%') {
      while (at_ < end_ && *at_ != '\n' && *at_ != '\r')
        ++at_;
      if (at_ == end_)
        return;
    }
    if (!is_wide_space(*at_))
      return;
  }
}

CMapToken CMapTokens::bracket(CMapToken token, std::size_t len) {
  at_ += len;
  text_ = {};
  return token;
}

void CMapTokens::keep(char c) {
  if (kept_ < kMostString)
    buffer_[kept_++] = c;
}

// What is no digit is passed over; an odd last digit counts as followed by 0. Another < ends the
// string too: its own end was lost, and the next string need not be.
CMapToken CMapTokens::read_hex_string() {
  const char* at = at_ + 1;  // locals, as the bytes written could otherwise be these members
  std::size_t digits = 0;
  unsigned value = 0;
  for (; at < end_ && *at != '>' && *at != '<'; ++at) {
    const int digit = hex_value(*at);
    if (digit < 0)
      continue;
    value = value << 4 | static_cast<unsigned>(digit);
    if (digits % 2 != 0 && digits / 2 < kMostString)
      buffer_[digits / 2] = static_cast<char>(value);
    ++digits;
  }
  at_ = at;
  if (at == end_)
    return CMapToken::kEnd;
  if (digits % 2 != 0 && digits / 2 < kMostString)
    buffer_[digits / 2] = static_cast<char>(value << 4);
  if (*at == '>')
    ++at_;
  text_ = {buffer_, std::min((digits + 1) / 2, kMostString)};
  return CMapToken::kString;
}

CMapToken CMapTokens::read_literal_string() {
  kept_ = 0;
  std::size_t open = 1;
  for (++at_; at_ < end_; ++at_) {
    if (*at_ == '\\') {
      read_escape();
      continue;
    }
    open += *at_ == '(' ? 1 : 0;
    open -= *at_ == ')' ? 1 : 0;
    if (open == 0) {
      ++at_;
      text_ = {buffer_, kept_};
      return CMapToken::kString;
    }
    keep(*at_);
  }
  return CMapToken::kEnd;
}

// Begins at the backslash and stops at the last character of the escape.
void CMapTokens::read_escape() {
  if (at_ + 1 == end_)
    return;
  const char c = *++at_;
  constexpr std::string_view kNames = "nrtbf";
  constexpr char kValues[] = {'\n', '\r', '\t', '\b', '\f'};
  if (const std::size_t place = kNames.find(c); place != std::string_view::npos) {
    keep(kValues[place]);
    return;
  }
  if (c == '\n' || c == '\r') {  // the line goes on
    if (c == '\r' && at_ + 1 < end_ && at_[1] == '\n')
      ++at_;
    return;
  }
  constexpr int kMostDigits = 3;
  unsigned value = 0;
  int digits = 0;
  for (; digits < kMostDigits && at_ + digits < end_ && at_[digits] >= '0' && at_[digits] <= '7'; ++digits)
    value = value * 8 + static_cast<unsigned>(at_[digits] - '0');
  if (digits == 0) {
    keep(c);
    return;
  }
  at_ += digits - 1;
  keep(static_cast<char>(value));
}

CMapToken CMapTokens::read_regular() {
  const bool is_name = *at_ == '/';
  if (is_name)
    ++at_;
  const char* const start = at_;
  while (at_ < end_ && is_regular(*at_))
    ++at_;
  text_ = {start, static_cast<std::size_t>(at_ - start)};
  if (is_name)
    return CMapToken::kName;
  return parse_number(text_, number_) ? CMapToken::kNumber : CMapToken::kOperator;
}

}  // namespace sheaf
