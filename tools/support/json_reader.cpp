// A recursive descent with a limit on the depth.
#include "support/json_reader.h"

#include <algorithm>

#include "sheaf/base/utf.h"

namespace sheaf::tool {

namespace {

constexpr int kMostDepth = 1100;  // values of PDF, nested 512 times, take two levels each

class Reader {
public:
  explicit Reader(std::string_view text) : text_(text) {}

  bool document(JsonValue& value) {
    if (text_.substr(0, 3) == "\xEF\xBB\xBF")
      at_ = 3;
    if (!read(value, 0))
      return false;
    skip_space();
    return at_ == text_.size();
  }
  std::string place() const {
    const std::string_view read = text_.substr(0, at_);
    return "line " + std::to_string(1 + std::count(read.begin(), read.end(), '\n'));
  }

private:
  void skip_space() {
    while (at_ < text_.size() && std::string_view(" \t\r\n").find(text_[at_]) != std::string_view::npos)
      ++at_;
  }
  bool take(char c) {
    skip_space();
    if (at_ == text_.size() || text_[at_] != c)
      return false;
    ++at_;
    return true;
  }
  bool take_word(std::string_view word) {
    if (text_.substr(at_, word.size()) != word)
      return false;
    at_ += word.size();
    return true;
  }

  bool read(JsonValue& value, int depth) {
    skip_space();
    if (at_ == text_.size() || depth > kMostDepth)
      return false;
    switch (text_[at_]) {
      case '{':
        return read_object(value, depth);
      case '[':
        return read_array(value, depth);
      case '"':
        value.kind = JsonValue::Kind::kText;
        return read_text(value.text);
      case 'n':
        return take_word("null");
      case 't':
      case 'f':
        value.kind = JsonValue::Kind::kFlag;
        value.flag = text_[at_] == 't';
        return take_word(value.flag ? "true" : "false");
      default:
        return read_number(value);
    }
  }

  bool read_object(JsonValue& value, int depth) {
    value.kind = JsonValue::Kind::kObject;
    ++at_;
    if (take('}'))
      return true;
    do {
      skip_space();
      std::string name;
      if (at_ == text_.size() || text_[at_] != '"' || !read_text(name) || !take(':'))
        return false;
      value.items.emplace_back();
      value.items.back().name = std::move(name);
      if (!read(value.items.back(), depth + 1))
        return false;
    } while (take(','));
    return take('}');
  }

  bool read_array(JsonValue& value, int depth) {
    value.kind = JsonValue::Kind::kArray;
    ++at_;
    if (take(']'))
      return true;
    do {
      value.items.emplace_back();
      if (!read(value.items.back(), depth + 1))
        return false;
    } while (take(','));
    return take(']');
  }

  bool read_number(JsonValue& value) {
    const std::size_t start = at_;
    at_ = std::min(text_.find_first_not_of("+-.0123456789eE", at_), text_.size());
    value.kind = JsonValue::Kind::kNumber;
    value.text = text_.substr(start, at_ - start);
    return at_ > start && value.text.find_first_of("0123456789") != std::string::npos;
  }

  bool read_text(std::string& out) {
    for (++at_; at_ < text_.size() && text_[at_] != '"'; ++at_) {
      if (static_cast<unsigned char>(text_[at_]) < ' ')
        return false;
      if (text_[at_] != '\\')
        out += text_[at_];
      else if (!read_escape(out))
        return false;
    }
    return at_++ < text_.size();
  }

  // Stands on the last character of the escape afterwards.
  bool read_escape(std::string& out) {
    constexpr std::string_view kLetters = "\"\\/bfnrt";
    constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
    if (++at_ == text_.size())
      return false;
    if (const std::size_t letter = kLetters.find(text_[at_]); letter != std::string_view::npos) {
      out += kMeanings[letter];
      return true;
    }
    std::uint32_t code = 0;
    if (text_[at_] != 'u' || !read_unit(code))
      return false;
    std::uint32_t low = 0;
    if (is_high_surrogate(code)) {
      if (text_.substr(at_ + 1, 2) != "\\u")
        return false;
      at_ += 2;
      if (!read_unit(low) || !is_low_surrogate(low))
        return false;
      code = from_surrogates(code, low);
    }
    append_utf8(out, code);
    return true;
  }

  bool read_unit(std::uint32_t& unit) {
    unit = 0;
    for (int i = 0; i < 4; ++i) {
      const std::size_t digit =
          ++at_ < text_.size() ? std::string_view("0123456789abcdefABCDEF").find(text_[at_]) : std::string_view::npos;
      if (digit == std::string_view::npos)
        return false;
      unit = unit * 16 + static_cast<std::uint32_t>(digit < 16 ? digit : digit - 6);
    }
    return true;
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

}  // namespace

const JsonValue* JsonValue::member(std::string_view wanted) const {
  if (kind != Kind::kObject)
    return nullptr;
  const auto found =
      std::find_if(items.rbegin(), items.rend(), [&wanted](const JsonValue& item) { return item.name == wanted; });
  return found != items.rend() ? &*found : nullptr;
}

bool read_json(std::string_view text, JsonValue& value, std::string& trouble) {
  Reader reader(text);
  if (reader.document(value))
    return true;
  trouble = reader.place();
  return false;
}

}  // namespace sheaf::tool
