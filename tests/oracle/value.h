// A value of a document in the oracle's own terms: nothing of the library is in it, so that a fault of
// the library cannot hide in the model.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

struct CPDFObj;

namespace oracle {

struct Value {
  enum class Kind { kNull, kBool, kNumber, kString, kName, kArray, kDict, kRef };

  Kind kind = Kind::kNull;
  bool flag = false;
  bool is_utf8 = false;    ///< Of a string: `text` is what it says, not the bytes that say it.
  bool has_point = false;  ///< Of a number: it is written as a real, which no reader takes for an offset.
  double number = 0;
  int num = 0;  ///< Of a reference.
  int gen = 0;
  std::string text;  ///< Of a string or name.
  std::vector<Value> items;
  std::map<std::string, Value> keys;

  static Value of(double number);
  static Value string(const std::string& bytes);
  static Value name(const std::string& text);
  static Value ref(int num, int gen = 0);
  static Value array(std::vector<Value> items = {});
  static Value dict(std::map<std::string, Value> keys = {});

  bool is_dict() const { return kind == Kind::kDict; }
  bool is_name(const std::string& wanted) const { return kind == Kind::kName && text == wanted; }
  /// The value of a key, or null.
  const Value* find(const std::string& key) const;
};

/// Whether an object is there and not null: a reference to one that is not counts as null.
using Exists = std::function<bool(int num, int gen)>;

/// Whether two values say the same; `where` gets the way to the first difference.
bool same(const Value& a, const Value& b, const Exists& exists, std::string& where);

/// The value in PDF syntax.
std::string syntax(const Value& value);

/// What the library holds, in the oracle's terms. The dictionary of a stream comes without "Length".
Value from_library(const CPDFObj& obj);

/// Calls `visit` with every reference in the value.
void each_reference(const Value& value, const std::function<void(int num, int gen)>& visit);

}  // namespace oracle
