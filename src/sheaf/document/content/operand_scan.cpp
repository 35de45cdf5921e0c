// Each function follows the rules of its token as far as they are simple, and gives up at the first byte that needs
// more.
#include "sheaf/document/content/operand_scan.h"

#include <algorithm>

#include "sheaf/base/chars.h"

namespace sheaf {

namespace {

constexpr std::size_t kNowhere = std::string_view::npos;
constexpr std::size_t kMostNestedHere = 16;

std::size_t end_of_digits(std::string_view text, std::size_t at) {
  while (at < text.size() && is_digit(text[at]))
    ++at;
  return at;
}

// What can hang on digits without being one.
bool goes_on_number(char c) {
  return c == '+' || c == '-' || c == '.' || c == 'e' || c == 'E';
}

std::size_t end_of_number(std::string_view text, std::size_t at) {
  const std::size_t first = text[at] == '-' ? at + 1 : at;
  std::size_t end = end_of_digits(text, first);
  bool has_digits = end > first;
  if (end < text.size() && text[end] == '.') {
    const std::size_t fraction = end + 1;
    end = end_of_digits(text, fraction);
    has_digits = has_digits || end > fraction;
  }
  return has_digits && end < text.size() && !goes_on_number(text[end]) ? end : kNowhere;
}

std::size_t end_of_string(std::string_view text, std::size_t at) {
  std::size_t depth = 1;
  for (++at; at < text.size(); ++at) {
    const char c = text[at];
    if (c == '\\')
      ++at;
    else if (c == '(')
      ++depth;
    else if (c == ')' && --depth == 0)
      return at + 1;
  }
  return kNowhere;
}

std::size_t end_of_hex_string(std::string_view text, std::size_t at) {
  for (++at; at < text.size() && (has_class(text[at], kHexDigit) || is_wide_space(text[at]));)
    ++at;
  return at < text.size() && text[at] == '>' ? at + 1 : kNowhere;
}

std::size_t end_of_name(std::string_view text, std::size_t at) {
  for (++at; at < text.size() && is_regular(text[at]);)
    ++at;
  return at < text.size() ? at : kNowhere;
}

bool is_double(std::string_view text, std::size_t at, char bracket) {
  return text[at] == bracket && at + 1 < text.size() && text[at + 1] == bracket;
}

// A token that is no bracket.
std::size_t end_of_scalar(std::string_view text, std::size_t at) {
  switch (text[at]) {
    case '/':
      return end_of_name(text, at);
    case '(':
      return end_of_string(text, at);
    case '<':
      return end_of_hex_string(text, at);
    default:
      return is_digit(text[at]) || text[at] == '-' || text[at] == '.' ? end_of_number(text, at) : kNowhere;
  }
}

// From the bracket that opens an array or a dictionary to the one that closes it.
std::size_t end_of_container(std::string_view text, std::size_t at) {
  bool is_dict[kMostNestedHere];
  std::size_t depth = 0;
  do {
    const bool opens_dict = is_double(text, at, '<');
    if (opens_dict || text[at] == '[') {
      if (depth == kMostNestedHere)
        return kNowhere;
      is_dict[depth++] = opens_dict;
      at += opens_dict ? 2 : 1;
    } else if (text[at] == ']' || is_double(text, at, '>')) {
      const bool closes_dict = text[at] != ']';
      if (is_dict[--depth] != closes_dict)
        return kNowhere;
      at += closes_dict ? 2 : 1;
      if (depth == 0)
        return at;
    } else if (at = end_of_scalar(text, at); at == kNowhere) {
      return kNowhere;
    }
    at = end_of_space(text, at);
  } while (at < text.size());
  return kNowhere;
}

}  // namespace

std::size_t end_of_operand(std::string_view text, std::size_t at) {
  return text[at] == '[' || is_double(text, at, '<') ? end_of_container(text, at) : end_of_scalar(text, at);
}

std::size_t end_of_space(std::string_view text, std::size_t at) {
  for (; at < text.size(); ++at) {
    if (text[at] == '%')
      at = std::min(text.find_first_of("\r\n", at), text.size() - 1);
    else if (!is_wide_space(text[at]))
      return at;
  }
  return text.size();
}

}  // namespace sheaf
