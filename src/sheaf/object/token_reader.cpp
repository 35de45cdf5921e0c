// Tokens are read in the buffer as far as they lie in it, and collected byte by byte at its end.
#include "sheaf/object/token_reader_internal.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "sheaf/base/chars.h"
#include "sheaf/base/stream.h"
#include "sheaf/object/number_digits_internal.h"

namespace sheaf {

namespace {

constexpr unsigned kFewDigits = 9;  // so many can never leave 32 bits

constexpr bool is_number_start(char c) {
  return is_digit(c) || c == '+' || c == '-' || c == '.';
}

// Whether a number that `c` follows ends there for certain.
constexpr bool ends_number(char c) {
  return !is_number_start(c) && c != 'e' && c != 'E';
}

// The characters of a literal string that stand for more than themselves.
constexpr std::array<bool, 256> kStringMarks = []() {
  std::array<bool, 256> table{};
  for (const char c : {'(', ')', '\\', '\r'})
    table[static_cast<unsigned char>(c)] = true;
  return table;
}();

constexpr std::array<std::int8_t, 256> kHexValues = []() {
  std::array<std::int8_t, 256> table{};
  for (unsigned c = 0; c < table.size(); ++c)
    table[c] = static_cast<std::int8_t>(hex_value(static_cast<char>(c)));
  return table;
}();

// The end of "endobj", and what is in a header: no digits, so that a string that holds it was not closed.
constexpr std::string_view kObjectWord = "obj";

bool begins_object_word(const char* at, const char* end) {
  return *at == kObjectWord[0] && end - at >= static_cast<std::ptrdiff_t>(kObjectWord.size()) &&
         std::memcmp(at, kObjectWord.data(), kObjectWord.size()) == 0;
}

// Hexadecimal digits on their way to bytes, no more of them at a time than one buffer holds.
struct HexDigits {
  char piece[CPDFBuf::kFill / 2 + 1];
  char* out = piece;
  int high = -1;           // the digit that waits for its second
  char* word_out = piece;  // both as they were after the last white space
  int word_high = -1;

  void add(char c) {
    const int digit = kHexValues[static_cast<unsigned char>(c)];  // NOLINT(bugprone-signed-char-misuse,cert-str34-c)
    if (digit < 0) {                                              // white space and junk
      if (is_wide_space(c)) {
        word_out = out;
        word_high = high;
      }
      return;
    }
    if (high < 0) {
      high = digit;
      return;
    }
    *out++ = static_cast<char>(high * 16 + digit);
    high = -1;
  }
  // Takes back the digits of a word that turned out to be "endobj", or the numbers before "obj".
  void drop_word() {
    out = word_out;
    high = word_high;
  }
};

const char* skip_digits(const char* at) {
  while (is_digit(*at))
    ++at;
  return at;
}

}  // namespace

// Makes `count` bytes contiguous, as far as there are so many. The source is not asked again when
// it had no more: at the end of a file each question is a call of the system.
void TokenReader::need(unsigned count) {
  if (buf_.buf_pos + count <= buf_.buf_len || drained_)
    return;
  buf_.buf_need(count);
  drained_ = buf_.buf_pos + count > buf_.buf_len;
}

int TokenReader::peek() {
  if (buf_.buf_pos >= buf_.buf_len) {
    if (!drained_)
      buf_.buf_refill();
    if (drained_ || buf_.buf_len == 0)
      return -1;
  }
  return static_cast<unsigned char>(buf_.buf_data[buf_.buf_pos]);
}

bool TokenReader::skip_space() {
  for (;;) {
    const char* at = here();
    while (at < limit() && is_wide_space(*at))
      ++at;
    move_to(at);
    if (at >= limit() && !buf_.buf_skip_ws(true))
      return false;
    if (*here() != '%')
      return true;
    for (int c = peek(); c != -1 && c != '\r' && c != '\n'; c = peek())
      take();
  }
}

bool TokenReader::at_keyword(std::string_view word) {
  need(static_cast<unsigned>(word.size()) + 1);
  const char* const at = here();
  return std::strncmp(at, word.data(), word.size()) == 0 && !is_regular(at[word.size()]);
}

Token TokenReader::next(CPDFObj& value) {
  if (!skip_space())
    return Token::kEnd;
  const char c = *here();
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
      need(2);
      if (here()[1] == '<') {
        buf_.buf_pos += 2;
        return Token::kDictOpen;
      }
      read_hex_string(value);
      return Token::kValue;
    case '>':
      need(2);
      if (here()[1] == '>') {
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
  keyword = {here(), 1};
  take();
  return Token::kKeyword;
}

Token TokenReader::read_keyword(CPDFObj& value) {
  need(kLookAhead);
  keyword_pos_ = buf_.buf_pos;
  const char* at = here();
  while (is_regular(*at))
    ++at;
  keyword = {here(), static_cast<std::size_t>(at - here())};
  move_to(at);
  if (keyword == "true" || keyword == "false") {
    value.set_bool(keyword.size() == 4 ? 1 : 0);
    return Token::kValue;
  }
  if (keyword == "null") {
    value.free();
    return Token::kValue;
  }
  if (keyword.size() < kLookAhead)
    return Token::kKeyword;
  // So long a keyword has no meaning; what is left of it must not be taken for another one.
  keyword = {};
  for (int c = peek(); c != -1 && is_regular(static_cast<char>(c)); c = peek())
    take();
  return Token::kKeyword;
}

// The forms that nearly all numbers have, in one piece: an optional minus, a few digits, a point
// and a few digits more.
void TokenReader::read_number(CPDFObj& value) {
  need(kLookAhead);
  const char* const start = here();
  const bool negative = *start == '-';
  const char* const first = start + (negative ? 1 : 0);
  const char* at = first;
  std::uint32_t whole = 0;
  for (; is_digit(*at); ++at)
    whole = whole * 10 + static_cast<std::uint32_t>(*at - '0');
  if (at == first || at > first + kFewDigits)
    return read_odd_number(value);
  if (*at == '.') {
    const char* const point = at;
    NumberDigits digits{whole, 0, 0};
    for (++at; is_digit(*at); ++at)
      digits.add_fraction(*at);
    if (at > point + kFewDigits || at == limit() || !ends_number(*at))
      return read_odd_number(value);
    move_to(at);
    value.set_real(digits.real(negative));
    return;
  }
  if (at == limit() || !ends_number(*at))
    return read_odd_number(value);
  move_to(at);
  std::int32_t gen = 0;
  if (!negative && take_after_number("R", gen))
    value.set_ref({static_cast<std::int32_t>(whole), gen});
  else
    value.set_int(static_cast<std::int32_t>(negative ? 0 - whole : whole));
}

void TokenReader::read_odd_number(CPDFObj& value) {
  bool negative = false;
  bool plain = true;  // nothing but digits, so that a reference can begin here
  int c = peek();
  for (; c == '+' || c == '-'; c = peek()) {
    // Of several signs a minus wins, as other readers have it.
    negative = negative || c == '-';
    plain = false;
    take();
  }
  NumberDigits digits;
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
  const std::int64_t most = negative ? -std::int64_t{INT32_MIN} : INT32_MAX;
  if (real || digits.whole > most) {
    value.set_real(digits.real(negative));
    return;
  }
  const auto whole = static_cast<std::int32_t>(negative ? -digits.whole : digits.whole);
  std::int32_t gen = 0;
  if (plain && take_after_number("R", gen))
    value.set_ref({whole, gen});
  else
    value.set_int(whole);
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
    need(3);
    const char* const at = here();
    const bool exponent = is_digit(at[1]) || ((at[1] == '+' || at[1] == '-') && is_digit(at[2]));
    if (!exponent)
      return;
    buf_.buf_pos += 2;
  }
}

// Passes white space, a number and `word`, when they are at the position.
bool TokenReader::take_after_number(std::string_view word, std::int32_t& gen) {
  const auto skip_gap = [this](const char* at) {
    while (at < limit() && is_wide_space(*at))
      ++at;
    return at;
  };
  need(kLookAhead);
  const char* number = skip_gap(here());
  if (!is_digit(*number) && number != limit())
    return false;
  const char* at = skip_gap(skip_digits(number));
  if (limit() - at < static_cast<std::ptrdiff_t>(word.size()) && !drained_) {
    // So wide gaps are rare, but the white space of a buffer is no limit to a reference.
    need(CPDFBuf::kFill);
    number = skip_gap(here());
    at = skip_gap(skip_digits(number));
  }
  if (number == here() || !is_digit(*number))
    return false;
  if (limit() - at < static_cast<std::ptrdiff_t>(word.size()) || std::memcmp(at, word.data(), word.size()) != 0)
    return false;
  // "R" must be a word of its own; what follows "obj" is not looked at.
  at += word.size();
  if (word.size() == 1 && is_regular(*at))
    return false;
  // Objects are found by their numbers alone, so a generation out of range does no harm.
  std::int64_t value = 0;
  for (; is_digit(*number); ++number)
    value = std::min<std::int64_t>(value * 10 + (*number - '0'), INT32_MAX);
  gen = static_cast<std::int32_t>(value);
  move_to(at);
  return true;
}

void TokenReader::read_name() {
  take();
  const char* const start = here();
  const char* at = start;
  while (is_regular(*at) && *at != '#')
    ++at;
  if (at >= limit() || *at == '#') {
    collect_name();
    return;
  }
  name = {start, static_cast<std::size_t>(at - start)};
  move_to(at);
}

void TokenReader::collect_name() {
  text_.clear();
  for (int c = peek(); c != -1 && is_regular(static_cast<char>(c)); c = peek()) {
    if (c != '#') {
      text_.push(static_cast<char>(c));
      take();
      continue;
    }
    need(3);
    const int high = hex_value(here()[1]);
    const int low = high < 0 ? -1 : hex_value(here()[2]);
    // A name cannot hold a NUL, and a "#" without two digits stands for itself.
    const bool coded = low >= 0 && high * 16 + low != 0;
    text_.push(coded ? static_cast<char>(high * 16 + low) : '#');
    buf_.buf_pos += coded ? 3 : 1;
  }
  name = {text_.data(), text_.size()};
}

void TokenReader::keep_text(CPDFObj& value, const char* bytes, std::size_t count) const {
  if (texts_)
    value.set_string(bytes, static_cast<int>(count));
  else
    value.free();
}

// Whether strings must not run on: in a file where many have no end, each would be read up to the
// end of the file.
bool TokenReader::is_wary() const {
  const CQVStream* const file = buf_.get_stream();
  return file != nullptr && file->has_unclosed_strings;
}

// A string that began at `start` ran on to the end of the data.
void TokenReader::note_unclosed(std::uint32_t start) {
  constexpr long long kFree = 64 * 1024;
  constexpr long long kTimes = 4;
  CQVStream* const file = buf_.get_stream();
  if (file == nullptr)
    return;
  const std::uint32_t end = buf_.position();
  file->unclosed_bytes += end - start;
  file->has_unclosed_strings = file->unclosed_bytes > kFree + kTimes * end;
}

void TokenReader::read_literal_string(CPDFObj& value) {
  const std::uint32_t first = buf_.position();
  const bool wary = is_wary();
  std::uint64_t depth = 1;
  take();
  text_.clear();
  while (depth > 0 && peek() != -1) {
    const char* const start = here();
    const char* const end = limit();
    const char* at = start;
    for (; at < end; ++at) {
      const auto c = static_cast<unsigned char>(*at);
      if (!kStringMarks[c] && !(wary && c == '\n'))
        continue;
      if (c == '(')
        ++depth;
      else if (c != ')' || --depth == 0)
        break;
    }
    move_to(at);
    if (depth == 0 && text_.size() == 0) {
      keep_text(value, start, static_cast<std::size_t>(at - start));
      take();
      return;
    }
    if (texts_)
      text_.append(start, static_cast<std::size_t>(at - start));
    if (at == end)
      continue;
    const char mark = *at;
    take();
    if (mark == '\\' && !read_escape())
      break;
    if (mark == '\r' || mark == '\n') {
      // Any line end inside a string reads as a line feed.
      text_.push('\n');
      if (mark == '\r' && peek() == '\n')
        take();
      if (wary && at_keyword("endobj"))
        break;
    }
  }
  if (depth > 0)
    note_unclosed(first);
  keep_text(value, text_.data(), text_.size());
}

// After a backslash. False at the end of the data.
bool TokenReader::read_escape() {
  const int c = peek();
  if (c == -1)
    return false;
  take();
  switch (c) {
    case 'n':
      text_.push('\n');
      return true;
    case 'r':
      text_.push('\r');
      return true;
    case 't':
      text_.push('\t');
      return true;
    case 'b':
      text_.push('\b');
      return true;
    case 'f':
      text_.push('\f');
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
        text_.push(static_cast<char>(c));
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
  text_.push(static_cast<char>(code & 0xFF));
}

// Digits in pieces, up to the closing bracket. One that was left out is not looked for beyond the object: a string
// that goes on to the end of the file, in each of many objects, would read the file once for each.
void TokenReader::read_hex_string(CPDFObj& value) {
  take();
  text_.clear();
  HexDigits digits;
  for (bool open = true; open && peek() != -1;) {
    need(kObjectWord.size());  // the word is whole unless the data end in it
    const char* at = here();
    const char* const end = limit();
    digits.out = digits.piece;
    digits.word_out = digits.piece;
    digits.word_high = digits.high;
    for (; at < end && *at != '>' && !begins_object_word(at, end); ++at)
      digits.add(*at);
    const bool ended_early = at < end && *at != '>';
    if (ended_early)
      digits.drop_word();
    open = at == end;
    move_to(open || ended_early ? at : at + 1);
    if (texts_)
      text_.append(digits.piece, static_cast<std::size_t>(digits.out - digits.piece));
  }
  if (digits.high >= 0)
    text_.push(static_cast<char>(digits.high * 16));
  keep_text(value, text_.data(), text_.size());
}

}  // namespace sheaf
