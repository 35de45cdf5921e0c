// Reads the operators Tf, g, rg and k; of several the last one counts.
#include <algorithm>
#include <cmath>
#include <string_view>

#include "sheaf/base/chars.h"
#include "sheaf/document/content/content_writer.h"
#include "sheaf/document/forms/draw/default_appearance_internal.h"

namespace sheaf {

namespace {

constexpr int kMostOperands = 8;
constexpr double kMostSize = 1000;  // points

// The tokens of the string, with the numbers before an operator kept.
class Tokens {
public:
  explicit Tokens(std::string_view text) : text_(text) {}

  /// The next token; empty at the end.
  std::string_view next() {
    while (at_ < text_.size() && is_wide_space(text_[at_]))
      ++at_;
    const std::size_t start = at_;
    if (at_ < text_.size() && text_[at_] == '/')
      ++at_;
    while (at_ < text_.size() && is_regular(text_[at_]))
      ++at_;
    if (at_ == start && at_ < text_.size())
      ++at_;  // a delimiter, which has no place here
    return text_.substr(start, at_ - start);
  }

private:
  std::string_view text_;
  std::size_t at_ = 0;
};

bool read_number(std::string_view token, double& value) {
  double sign = 1;
  if (!token.empty() && (token[0] == '-' || token[0] == '+')) {
    sign = token[0] == '-' ? -1 : 1;
    token.remove_prefix(1);
  }
  double number = 0;
  double scale = 0;  // 0 before the point
  bool has_digit = false;
  for (const char c : token) {
    if (c == '.' && scale == 0) {
      scale = 1;
    } else if (is_digit(c)) {
      has_digit = true;
      number = number * 10 + (c - '0');
      scale *= 10;
    } else {
      return false;
    }
  }
  value = sign * (scale > 1 ? number / scale : number);
  return has_digit && std::isfinite(value);
}

// A name with its escapes undone, as far as there is room.
void copy_name(std::string_view token, char (&out)[DefaultAppearance::kNameSize]) {
  std::size_t used = 0;
  for (std::size_t i = 1; i < token.size() && used + 1 < sizeof(out); ++i) {
    char c = token[i];
    if (c == '#' && i + 2 < token.size() && hex_value(token[i + 1]) >= 0 && hex_value(token[i + 2]) >= 0) {
      c = static_cast<char>(hex_value(token[i + 1]) * 16 + hex_value(token[i + 2]));
      i += 2;
    }
    out[used++] = c;
  }
  out[used] = 0;
}

}  // namespace

void DeviceColour::put(ContentWriter& out, bool stroking) const {
  for (int i = 0; i < count; ++i)
    out.number(values[i]);
  if (count == 1)
    out.op(stroking ? "G" : "g");
  else if (count == 3)
    out.op(stroking ? "RG" : "rg");
  else if (count == 4)
    out.op(stroking ? "K" : "k");
}

bool DefaultAppearance::read(const PDF_String& text) {
  Tokens tokens(text.data != nullptr ? std::string_view(text.data, static_cast<std::size_t>(text.len)) : "");
  double operands[kMostOperands];
  int count = 0;
  std::string_view name;
  for (std::string_view token = tokens.next(); !token.empty(); token = tokens.next()) {
    double value = 0;
    if (token[0] == '/') {
      name = token;
      count = 0;
      continue;
    }
    if (read_number(token, value)) {
      if (count < kMostOperands)
        operands[count++] = value;
      continue;
    }
    if (token == "Tf" && !name.empty() && count > 0) {
      copy_name(name, font);
      size = std::clamp(std::fabs(operands[count - 1]), 0.0, kMostSize);
    }
    const int components = token == "g" ? 1 : token == "rg" ? 3 : token == "k" ? 4 : 0;
    if (components != 0 && count >= components) {
      colour.count = components;
      std::copy(operands + count - components, operands + count, colour.values);
    }
    count = 0;
  }
  return font[0] != 0;
}

}  // namespace sheaf
