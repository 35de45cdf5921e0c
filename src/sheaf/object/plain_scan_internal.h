// A pass over one value in the form that nearly all writers print: sound syntax, numbers of few digits,
// no comments, no hexadecimal junk, all of it in one buffer. It takes a fraction of what the reader of tokens
// takes, which must be ready for anything. Whatever is not plain is refused, and for that reader to read.
// What is accepted means the same to both. A sink has, each false when it refuses:
//
//   name(text), key(text), string(bytes)    as they stand in the text; a key belongs to the dictionary on top
//   hex_string()
//   integer(value), real(value), reference(ref), word(text)   "true", "false" or "null"
//   open(dict), close(dict)
#pragma once

#include <cstdint>
#include <string_view>

#include "sheaf/base/chars.h"
#include "sheaf/base/stream.h"
#include "sheaf/object/number_digits_internal.h"
#include "sheaf/object/object.h"
#include "sheaf/object/parse_buf.h"

namespace sheaf {

template <class Sink>
class PlainScan {
public:
  PlainScan(const CPDFBuf& buf, Sink& sink)
      : at_(buf.buf_data + buf.buf_pos), end_(buf.buf_data + buf.buf_len), sink_(sink) {}

  /// Passes "N G obj". False, with nothing passed, when it does not come next.
  bool header() {
    const char* const start = at_;
    std::int32_t number = 0;
    skip_space();
    if (digits(number) && gap() && digits(number)) {
      skip_space();
      if (end_ - at_ > 3 && at_[0] == 'o' && at_[1] == 'b' && at_[2] == 'j') {
        at_ += 3;
        return true;
      }
    }
    at_ = start;
    return false;
  }

  /// Passes one value. False when it is not plain; the sink may then have been given some of it.
  bool value() {
    do {
      skip_space();
      if (!token())
        return false;
    } while (depth_ != 0);
    return true;
  }

  void skip_space() {
    while (is_strict_space(*at_))
      ++at_;
  }
  /// Behind what was passed. The buffer ends in a NUL, which nothing passes.
  const char* at() const { return at_; }

private:
  static constexpr unsigned kMostDepth = 60;  // one bit for each level
  static constexpr std::ptrdiff_t kFewDigits = 9;
  static constexpr std::ptrdiff_t kFewFractionDigits = 8;

  // Whether a token ends in front of `c`: not in front of the end of the buffer, behind which it may go on.
  static bool ends_token(char c) { return has_class(c, kStrictSpace | kDelimiter); }

  bool is_dict() const { return (dicts_ >> depth_ & 1) != 0; }
  bool after_value(bool accepted) {
    wants_key_ = is_dict();
    return accepted;
  }

  bool token() {
    const char c = *at_;
    if (c == '/')
      return name();
    if (c == '>')
      return at_[1] == '>' && wants_key_ && close(2);
    if (wants_key_)
      return false;
    switch (c) {
      case '<':
        return at_[1] == '<' ? open(true, 2) : hex_string();
      case '[':
        return open(false, 1);
      case ']':
        return depth_ != 0 && !is_dict() && close(1);
      case '(':
        return literal_string();
      case 't':
        return word("true");
      case 'f':
        return word("false");
      case 'n':
        return word("null");
      default:
        return number();
    }
  }

  bool open(bool dict, unsigned size) {
    if (depth_ == kMostDepth)
      return false;
    at_ += size;
    ++depth_;
    dicts_ = (dicts_ & ~(std::uint64_t{1} << depth_)) | std::uint64_t{dict} << depth_;
    wants_key_ = dict;
    return sink_.open(dict);
  }
  bool close(unsigned size) {
    at_ += size;
    const bool accepted = sink_.close(is_dict());
    --depth_;
    return after_value(accepted);
  }

  bool name() {
    const char* const start = ++at_;
    while (is_regular(*at_))
      ++at_;
    if (at_ == start || !ends_token(*at_))
      return false;
    const std::string_view text(start, static_cast<std::size_t>(at_ - start));
    if (!wants_key_)
      return after_value(sink_.name(text));
    wants_key_ = false;
    return sink_.key(text);
  }

  bool word(std::string_view text) {
    if (end_ - at_ <= static_cast<std::ptrdiff_t>(text.size()) || std::string_view(at_, text.size()) != text ||
        !ends_token(at_[text.size()]))
      return false;
    at_ += text.size();
    return after_value(sink_.word(text));
  }

  bool literal_string() {
    const char* const start = at_ + 1;
    unsigned open = 1;
    for (at_ = start; at_ < end_; ++at_) {
      if (*at_ == ')') {
        if (--open != 0)
          continue;
        const std::string_view bytes(start, static_cast<std::size_t>(at_ - start));
        ++at_;
        return after_value(sink_.string(bytes));
      }
      if (*at_ == '(')
        ++open;
      else if (*at_ == '\\')
        ++at_;
    }
    return false;
  }

  bool hex_string() {
    ++at_;
    while (has_class(*at_, kHexDigit | kStrictSpace))
      ++at_;
    if (*at_ != '>')
      return false;
    ++at_;
    return after_value(sink_.hex_string());
  }

  // At most nine digits, of which there is one at least.
  bool digits(std::int32_t& value) {
    const char* const start = at_;
    std::uint32_t sum = 0;
    for (; is_digit(*at_); ++at_)
      sum = sum * 10 + static_cast<std::uint32_t>(*at_ - '0');
    value = static_cast<std::int32_t>(sum);
    return at_ != start && at_ - start <= kFewDigits;
  }
  bool gap() {
    const char* const start = at_;
    skip_space();
    return at_ != start;
  }

  bool number() {
    const bool negative = *at_ == '-';
    at_ += negative ? 1 : 0;
    std::int32_t whole = 0;
    const bool has_whole = digits(whole);
    if (*at_ == '.')
      return has_whole && fraction(negative, whole);
    if (!has_whole || !ends_token(*at_))
      return false;
    if (negative)
      return after_value(sink_.integer(-whole));
    return integer_or_reference(whole);
  }

  bool fraction(bool negative, std::int32_t whole) {
    NumberDigits sum{whole, 0, 0};
    const char* const first = ++at_;
    for (; is_digit(*at_); ++at_)
      sum.add_fraction(*at_);
    return at_ - first <= kFewFractionDigits && ends_token(*at_) && after_value(sink_.real(sum.real(negative)));
  }

  bool integer_or_reference(std::int32_t whole) {
    const char* const behind = at_;
    std::int32_t gen = 0;
    if (gap() && is_digit(*at_)) {
      if (!digits(gen))
        return false;
      skip_space();
      if (*at_ == 'R' && ends_token(at_[1])) {
        ++at_;
        return after_value(sink_.reference({whole, gen}));
      }
    }
    // The end of the buffer may have hidden a reference.
    if (at_ >= end_ || *at_ == 0 || *at_ == 'R')
      return false;
    at_ = behind;
    return after_value(sink_.integer(whole));
  }

  const char* at_;
  const char* const end_;
  Sink& sink_;
  std::uint64_t dicts_ = 0;  // a bit for each level, set where it is a dictionary
  unsigned depth_ = 0;
  bool wants_key_ = false;
};

/// Whether the plain form means the same in this file: where many strings have no end, they do not run on.
inline bool reads_plainly(CPDFBuf& buf) {
  const CQVStream* const file = buf.get_stream();
  return file == nullptr || !file->has_unclosed_strings;
}

}  // namespace sheaf
