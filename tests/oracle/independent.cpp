// What another program reads of the document.
#include "oracle/independent.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "support/external_tool.h"

namespace oracle {

namespace {

using Kind = Value::Kind;

// What JSON needs of a parser here: the text comes from a program that prints it well.
class Json {
public:
  explicit Json(const std::string& text) : at_(text.data()), end_(text.data() + text.size()) {}

  bool failed() const { return failed_; }
  // Calls `item` with each key of an object, which has to take the value.
  template <class Item>
  void object(const Item& item) {
    if (!take('{'))
      return;
    while (!failed_ && !peek('}')) {
      const std::string key = string();
      take(':');
      item(key);
      if (!peek(','))
        break;
      take(',');
    }
    take('}');
  }
  template <class Item>
  void array(const Item& item) {
    if (!take('['))
      return;
    while (!failed_ && !peek(']')) {
      item();
      if (!peek(','))
        break;
      take(',');
    }
    take(']');
  }
  std::string string() {
    std::string out;
    if (!take('"'))
      return out;
    while (at_ < end_ && *at_ != '"') {
      if (*at_ != '\\') {
        out += *at_++;
        continue;
      }
      escape(out);
    }
    take('"');
    return out;
  }
  char first() {
    while (at_ < end_ && std::strchr(" \n\r\t", *at_) != nullptr)
      ++at_;
    return at_ < end_ ? *at_ : '\0';
  }
  bool peek(char c) { return first() == c; }
  std::string word() {
    first();
    std::string out;
    while (at_ < end_ && std::strchr(",]} \n\r\t", *at_) == nullptr)
      out += *at_++;
    return out;
  }
  void skip() {
    switch (first()) {
      case '{':
        return object([this](const std::string&) { skip(); });
      case '[':
        return array([this] { skip(); });
      case '"':
        string();
        return;
      default:
        word();
    }
  }

private:
  bool take(char c) {
    if (first() != c)
      failed_ = true;
    else
      ++at_;
    return !failed_;
  }
  void escape(std::string& out) {
    ++at_;
    const char c = at_ < end_ ? *at_++ : '\0';
    constexpr char kLetters[] = "bfnrt";
    constexpr char kMeant[] = "\b\f\n\r\t";
    if (const char* const hit = c != '\0' ? std::strchr(kLetters, c) : nullptr) {
      out += kMeant[hit - kLetters];
    } else if (c == 'u' && end_ - at_ >= 4) {
      put_utf8(out, std::strtoul(std::string(at_, at_ + 4).c_str(), nullptr, 16));
      at_ += 4;
    } else {
      out += c;
    }
  }
  // Control characters only: everything else is printed as it is.
  static void put_utf8(std::string& out, unsigned long code) {
    if (code < 0x80) {
      out += static_cast<char>(code);
      return;
    }
    if (code < 0x800) {
      out += static_cast<char>(0xC0 | (code >> 6));
    } else {
      out += static_cast<char>(0xE0 | (code >> 12));
      out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    }
    out += static_cast<char>(0x80 | (code & 0x3F));
  }

  const char* at_;
  const char* end_;
  bool failed_ = false;
};

int hex_digit(char c) {
  if (c >= '0' && c <= '9')
    return c - '0';
  return (c | 32) - 'a' + 10;
}

std::string from_hex(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2)
    out += static_cast<char>(hex_digit(text[i]) * 16 + hex_digit(text[i + 1]));
  return out;
}

std::string from_base64(const std::string& text) {
  static const auto kDigits = [] {
    constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::array<int, 256> digits;
    digits.fill(-1);
    for (int i = 0; i < 64; ++i)
      digits[static_cast<unsigned char>(kAlphabet[i])] = i;
    return digits;
  }();
  std::string out;
  out.reserve(text.size() / 4 * 3);
  unsigned bits = 0;
  int count = 0;
  for (const char c : text) {
    const int digit = kDigits[static_cast<unsigned char>(c)];
    if (digit < 0)
      break;
    bits = (bits << 6 | static_cast<unsigned>(digit)) & 0xFFFFFF;
    if ((count += 6) >= 8)
      out += static_cast<char>(bits >> (count -= 8));
  }
  return out;
}

// A name in PDF syntax.
std::string plain_name(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '#' && i + 2 < text.size()) {
      out += from_hex(text.substr(i + 1, 2));
      i += 2;
    } else {
      out += text[i];
    }
  }
  return out;
}

bool is_reference(const std::string& text, int& num, int& gen) {
  int used = 0;
  return std::sscanf(text.c_str(), "%d %d R%n", &num, &gen, &used) == 2 && used == static_cast<int>(text.size());
}

Value from_text(const std::string& text) {
  Value value;
  if (text.rfind("u:", 0) == 0) {
    value = Value::string(text.substr(2));
    value.is_utf8 = true;
  } else if (text.rfind("b:", 0) == 0) {
    value = Value::string(from_hex(text.substr(2)));
  } else if (text.rfind("n:/", 0) == 0) {
    value = Value::name(plain_name(text.substr(3)));
  } else if (text.rfind('/', 0) == 0) {
    value = Value::name(text.substr(1));
  } else if (is_reference(text, value.num, value.gen)) {
    value.kind = Kind::kRef;
  }
  return value;
}

std::string key_name(const std::string& key) {
  return from_text(key).text;
}

Value read_value(Json& json) {
  Value value;
  switch (json.first()) {
    case '{':
      value = Value::dict();
      json.object([&](const std::string& key) { value.keys[key_name(key)] = read_value(json); });
      return value;
    case '[':
      value = Value::array();
      json.array([&] { value.items.push_back(read_value(json)); });
      return value;
    case '"':
      return from_text(json.string());
    default:
      break;
  }
  const std::string word = json.word();
  if (word == "true" || word == "false") {
    value.kind = Kind::kBool;
    value.flag = word == "true";
  } else if (word != "null") {
    value = Value::of(std::strtod(word.c_str(), nullptr));
    value.has_point = word.find('.') != std::string::npos;
  }
  return value;
}

void read_entry(Json& json, const std::string& key, Snapshot& found) {
  Object object;
  int num = 0;
  const bool is_object = std::sscanf(key.c_str(), "obj:%d %d R", &num, &object.gen) == 2;
  json.object([&](const std::string& part) {
    if (part == "value") {
      object.value = read_value(json);
      return;
    }
    if (part != "stream")
      return json.skip();
    object.body = std::make_shared<std::string>();
    json.object([&](const std::string& piece) {
      if (piece == "dict")
        object.value = read_value(json);
      else if (piece == "data")
        object.body = std::make_shared<std::string>(from_base64(json.string()));
      else
        json.skip();
    });
    object.value.keys.erase("Length");
  });
  if (is_object)
    found.objects[num] = object;
  else if (key == "trailer")
    found.trailer = object.value;
}

// A complaint without its numbers and names, so that two of one kind are one.
std::string kind_of(const std::string& line) {
  std::string kind;
  for (const char c : line.substr(line.find(": ") == std::string::npos ? 0 : line.rfind(": "))) {
    const bool digit = c >= '0' && c <= '9';
    if (!digit || kind.empty() || kind.back() != '#')
      kind += digit ? '#' : c;
  }
  return kind;
}

std::string quoted(const std::string& text) {
  std::string out = "'";
  for (const char c : text)
    out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

}  // namespace

bool has_independent_reader() {
  static const bool has = has_program("qpdf");
  return has;
}

bool read_independently(const std::string& path, const std::string& password, Snapshot& found,
                        std::set<std::string>& warnings) {
  const std::string messages = path + ".messages";
  const RunResult run = run_command("qpdf --json=2 --json-key=qpdf --json-stream-data=inline --decode-level=none " +
                                    (password.empty() ? "" : "--password=" + quoted(password) + " ") + quoted(path) +
                                    " 2>" + quoted(messages));
  std::istringstream lines(read_file(messages));
  std::filesystem::remove(messages);
  for (std::string line; std::getline(lines, line);) {
    if (line.find("WARNING") != std::string::npos)
      warnings.insert(kind_of(line));
  }
  if (run.code != 0 && run.code != 3)
    return false;
  Json json(run.output);
  json.object([&](const std::string& key) {
    if (key != "qpdf")
      return json.skip();
    int part = 0;
    json.array([&] {
      if (part++ != 1)
        return json.skip();
      json.object([&](const std::string& entry) { read_entry(json, entry, found); });
    });
  });
  return !json.failed();
}

}  // namespace oracle
