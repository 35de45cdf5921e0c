// Values of the model are the same when they mean the same: 1 and 1.0, a text in two encodings.
#include "oracle/value.h"

#include <algorithm>
#include <cmath>

#include "sheaf/base/heap.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/object.h"
#include "sheaf/object/text_utf8.h"

namespace oracle {

namespace {

using Kind = Value::Kind;

std::string utf8_of(const Value& value) {
  if (value.is_utf8)
    return value.text;
  const PDF_String text{static_cast<std::int32_t>(value.text.size()), const_cast<char*>(value.text.data())};
  std::size_t len = 0;
  char* const block = sheaf::text_to_utf8(text, len);
  std::string out(block != nullptr ? block : "", len);
  QVFree(block);
  return out;
}

bool same_text(const Value& a, const Value& b) {
  return a.is_utf8 || b.is_utf8 ? utf8_of(a) == utf8_of(b) : a.text == b.text;
}

// Integers of more than 31 bits have to stay integers.
bool same_number(const Value& a, const Value& b) {
  constexpr double kSmall = 2147483648.0;
  if (std::fabs(a.number) >= kSmall && a.has_point != b.has_point)
    return false;
  return std::fabs(a.number - b.number) <= 1e-6 * std::max(1.0, std::fabs(a.number));
}

bool counts_as_null(const Value& value, const Exists& exists) {
  return value.kind == Kind::kNull || (value.kind == Kind::kRef && !exists(value.num, value.gen));
}

bool same_items(const Value& a, const Value& b, const Exists& exists, std::string& where) {
  if (a.items.size() != b.items.size()) {
    where += "[count]";
    return false;
  }
  for (std::size_t i = 0; i < a.items.size(); ++i) {
    std::string inner;
    if (!same(a.items[i], b.items[i], exists, inner)) {
      where += "[" + std::to_string(i) + "]" + inner;
      return false;
    }
  }
  return true;
}

bool same_keys(const Value& a, const Value& b, const Exists& exists, std::string& where) {
  const Value null;
  const auto covers = [&](const Value& one, const Value& other) {
    for (const auto& [key, value] : one.keys) {
      const Value* found = other.find(key);
      std::string inner;
      if (!same(value, found != nullptr ? *found : null, exists, inner)) {
        where += "/" + key + inner;
        return false;
      }
    }
    return true;
  };
  return covers(a, b) && covers(b, a);
}

std::string hex(const std::string& bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string out;
  for (const char c : bytes) {
    out += kDigits[static_cast<unsigned char>(c) >> 4];
    out += kDigits[static_cast<unsigned char>(c) & 15];
  }
  return out;
}

std::string number_text(double number) {
  char text[64];
  if (number == std::floor(number))
    std::snprintf(text, sizeof(text), "%.0f", number);
  else
    std::snprintf(text, sizeof(text), "%.6f", number);
  return text;
}

}  // namespace

Value Value::of(double number) {
  Value value;
  value.kind = Kind::kNumber;
  value.number = number;
  return value;
}

Value Value::string(const std::string& bytes) {
  Value value;
  value.kind = Kind::kString;
  value.text = bytes;
  return value;
}

Value Value::name(const std::string& text) {
  Value value;
  value.kind = Kind::kName;
  value.text = text;
  return value;
}

Value Value::ref(int num, int gen) {
  Value value;
  value.kind = Kind::kRef;
  value.num = num;
  value.gen = gen;
  return value;
}

Value Value::array(std::vector<Value> items) {
  Value value;
  value.kind = Kind::kArray;
  value.items = std::move(items);
  return value;
}

Value Value::dict(std::map<std::string, Value> keys) {
  Value value;
  value.kind = Kind::kDict;
  value.keys = std::move(keys);
  return value;
}

const Value* Value::find(const std::string& key) const {
  const auto found = keys.find(key);
  return found != keys.end() ? &found->second : nullptr;
}

bool same(const Value& a, const Value& b, const Exists& exists, std::string& where) {
  const bool null_a = counts_as_null(a, exists);
  const bool null_b = counts_as_null(b, exists);
  if (null_a || null_b)
    return null_a && null_b;
  if (a.kind != b.kind)
    return false;
  switch (a.kind) {
    case Kind::kNull:
      return true;
    case Kind::kBool:
      return a.flag == b.flag;
    case Kind::kNumber:
      return same_number(a, b);
    case Kind::kString:
      return same_text(a, b);
    case Kind::kName:
      return a.text == b.text;
    case Kind::kRef:
      return a.num == b.num && a.gen == b.gen;
    case Kind::kArray:
      return same_items(a, b, exists, where);
    case Kind::kDict:
      return same_keys(a, b, exists, where);
  }
  return false;
}

std::string syntax(const Value& value) {
  std::string out;
  switch (value.kind) {
    case Kind::kNull:
      return "null";
    case Kind::kBool:
      return value.flag ? "true" : "false";
    case Kind::kNumber:
      return number_text(value.number);
    case Kind::kString:
      return "<" + hex(value.text) + ">";
    case Kind::kName:
      return "/" + value.text;
    case Kind::kRef:
      return std::to_string(value.num) + " " + std::to_string(value.gen) + " R";
    case Kind::kArray:
      for (const Value& item : value.items)
        out += " " + syntax(item);
      return "[" + out + " ]";
    case Kind::kDict:
      for (const auto& [key, item] : value.keys)
        out += "/" + key + " " + syntax(item) + " ";
      return "<<" + out + ">>";
  }
  return out;
}

Value from_library(const CPDFObj& obj) {
  switch (obj.tag) {
    case kTagBool: {
      Value value;
      value.kind = Kind::kBool;
      value.flag = obj.as_bool();
      return value;
    }
    case kTagInt:
      return Value::of(obj.as_int());
    case kTagReal: {
      Value value = Value::of(sheaf::to_double(obj.as_real()));
      value.has_point = value.number != std::floor(value.number);  // whole ones are integers of many bits
      return value;
    }
    case kTagString: {
      const PDF_String text = obj.as_string();
      return Value::string(std::string(text.data != nullptr ? text.data : "", static_cast<std::size_t>(text.len)));
    }
    case kTagName:
      return Value::name(obj.as_name() != nullptr ? obj.as_name() : "");
    case kTagRef:
      return Value::ref(obj.as_ref().num, obj.as_ref().gen);
    case kTagArray: {
      Value value = Value::array();
      for (std::int32_t i = 0; i < obj.as_array()->count; ++i)
        value.items.push_back(from_library(obj.as_array()->items[i]));
      return value;
    }
    case kTagDict:
    case kTagStream: {
      Value value = Value::dict();
      const CPDFDictionary& dict = *obj.as_dict_or_stream();
      for (std::int32_t i = 0; i < dict.count; ++i)
        value.keys[dict.items[i]->key()] = from_library(*dict.items[i]);
      if (obj.tag == kTagStream)
        value.keys.erase("Length");
      return value;
    }
    default:
      return Value{};
  }
}

void each_reference(const Value& value, const std::function<void(int num, int gen)>& visit) {
  if (value.kind == Kind::kRef)
    visit(value.num, value.gen);
  for (const Value& item : value.items)
    each_reference(item, visit);
  for (const auto& [key, item] : value.keys)
    each_reference(item, visit);
}

}  // namespace oracle
