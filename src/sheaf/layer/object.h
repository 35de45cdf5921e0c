// Values that a program makes and owns, before they go into a document.
//
//   sheaf::Object note = sheaf::Object::dictionary("Type", sheaf::Name("Annot"), "Contents", "Oulu",
//                                                  "Rect", sheaf::Object::array(10, 10, 40, 40));
//
// An owner moves and does not copy; a value of a document is a Value, which borrows.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "sheaf/object/object.h"

namespace sheaf {

class Value;

/// A name of PDF, without its slash.
struct Name {
  explicit Name(std::string_view name) : text(name) {}
  std::string_view text;
};

/// Bytes of a string that are no text.
struct Bytes {
  explicit Bytes(std::string_view view) : bytes(view) {}
  explicit Bytes(std::span<const std::uint8_t> view) : bytes(reinterpret_cast<const char*>(view.data()), view.size()) {}
  std::string_view bytes;
};

/// A value on its own.
class Object {
public:
  Object() = default;  ///< Null.
  Object(std::nullptr_t) {}
  Object(std::same_as<bool> auto flag) { value_.set_bool(flag ? 1 : 0); }
  Object(std::integral auto number) requires(!std::same_as<decltype(number), bool>) {
    set_number(static_cast<std::int64_t>(number));
  }
  Object(std::floating_point auto number) { set_real(static_cast<double>(number)); }
  Object(const char* text) { set_text(text); }         ///< A text in UTF-8.
  Object(std::string_view text) { set_text(text); }    ///< A text in UTF-8.
  Object(const std::string& text) { set_text(text); }  ///< A text in UTF-8.
  Object(Name name) { set_name(name.text); }
  Object(Bytes bytes) { set_bytes(bytes.bytes); }
  /// A copy of a value without its document: references in it are numbers of that document still.
  explicit Object(const Value& value);
  Object(Object&& other) noexcept
      : value_(std::exchange(other.value_, CPDFObj{})), is_whole_(std::exchange(other.is_whole_, true)) {}
  Object& operator=(Object&& other) noexcept {
    value_.move_from(other.value_);
    is_whole_ = std::exchange(other.is_whole_, true);
    return *this;
  }
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  ~Object() { value_.free(); }

  /// An array of the elements given.
  template <class... Elements>
  static Object array(Elements&&... elements) {
    Object made = empty_array();
    (made.append(Object(std::forward<Elements>(elements))), ...);
    return made;
  }
  /// A dictionary of the keys and values given, one after the other.
  template <class... Pairs>
  static Object dictionary(Pairs&&... pairs) {
    static_assert(sizeof...(Pairs) % 2 == 0, "each key needs a value");
    Object made = empty_dictionary();
    made.set_pairs(std::forward<Pairs>(pairs)...);
    return made;
  }
  /// A reference to an object by its number.
  static Object reference(std::int32_t number);
  /// The value that a text in PDF syntax says, such as "[1 2 /Fit]"; null where it says none.
  static Object parse(std::string_view syntax);

  bool is_null() const { return value_.is_null(); }
  /// False where there was no memory for all of it. Documents do not take such a value.
  bool is_whole() const { return is_whole_; }
  /// Stores `value` under `key`. Without effect where this is no dictionary.
  Object& set(std::string_view key, Object value);
  /// Appends `value`. Without effect where this is no array.
  Object& append(Object value);
  /// The value in PDF syntax.
  std::string print() const;

  /// The layer below. Borrowed; valid until the object changes.
  const CPDFObj& raw() const { return value_; }
  CPDFObj& raw() { return value_; }

private:
  static Object empty_array();
  static Object empty_dictionary();
  void set_number(std::int64_t number);
  void set_real(double number);
  void set_name(std::string_view name);
  void set_text(std::string_view text);
  void set_bytes(std::string_view bytes);
  void set_pairs() {}
  template <class V, class... Rest>
  void set_pairs(std::string_view key, V&& value, Rest&&... rest) {
    set(key, Object(std::forward<V>(value)));
    set_pairs(std::forward<Rest>(rest)...);
  }

  CPDFObj value_{};
  bool is_whole_ = true;
};

}  // namespace sheaf
