// A value of a document. It borrows: the document owns it, copies are cheap, and what is changed through
// one copy is seen through all others. References are followed by themselves.
//
//   sheaf::Value form = doc.root()["AcroForm"];
//   form.set("NeedAppearances", false);
//   for (sheaf::Value field : form["Fields"].elements())
//     use(field.get<std::string>("T"));
//
// What is not there is a null value, of which anything can be asked. A value may outlive its document, and then goes on
// saying what was read, but for the data of streams. It is used by the thread that uses the document.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

#include "sheaf/layer/object.h"
#include "sheaf/layer/result.h"
#include "sheaf/object/array.h"

namespace sheaf {

enum class Kind : std::int32_t {
  kNull = 0,
  kBool = 1,
  kInteger = 2,
  kReal = 3,
  kString = 4,
  kName = 5,
  kArray = 6,
  kDictionary = 7,
  kStream = 9,
};

/// How the bytes of a stream are stored.
enum class Coding { kFlate, kPlain };

class Entries;
class Elements;

namespace layer {

class Core;
struct Node;

/// What every value asks of its document: whether the table was changed below the layer.
struct TableState {
  const std::uint64_t* changes = nullptr;  ///< The table's count of changes.
  std::uint64_t seen = 0;                  ///< What it was when the nodes were last compared.
};

/// An object of a document, as far as the values that point into it look at it.
struct NodeHead {
  TableState* state = nullptr;
  Core* core = nullptr;
  std::int32_t users = 0;   ///< Values that point into it; 1 more while it waits among the changed.
  std::int32_t num = 0;     ///< Object number; 0: the trailer holds it.
  std::uint32_t epoch = 0;  ///< How often the object was read anew.
  CPDFObj obj{};
};

/// Called when nothing points into `node` any more.
void release_node(NodeHead* node);
/// Compares the nodes of the document with its table.
void refresh_nodes(Core& core);

}  // namespace layer

class Value {
public:
  Value() = default;  ///< Null.
  Value(const Value& other)
      : node_(other.node_), place_(other.place_), content_(other.content_), index_(other.index_), epoch_(other.epoch_) {
    if (node_ != nullptr)
      ++node_->users;
  }
  Value(Value&& other) noexcept
      : node_(std::exchange(other.node_, nullptr)),
        place_(other.place_),
        content_(other.content_),
        index_(other.index_),
        epoch_(other.epoch_) {}
  Value& operator=(const Value& other) {
    Value copy(other);
    swap(copy);
    return *this;
  }
  Value& operator=(Value&& other) noexcept {
    swap(other);
    return *this;
  }
  ~Value() {
    if (node_ != nullptr && --node_->users == 0)
      layer::release_node(node_);
  }

  Kind kind() const;
  bool is_null() const { return raw().is_null(); }
  explicit operator bool() const { return !is_null(); }
  bool is_number() const { return raw().is_number(); }
  bool is_string() const { return raw().tag == kTagString; }
  bool is_name() const { return raw().tag == kTagName; }
  bool is_name(const char* name) const { return raw().is_name(name); }
  bool is_array() const { return raw().tag == kTagArray; }
  bool is_dictionary() const { return raw().tag == kTagDict; }
  bool is_stream() const { return raw().tag == kTagStream; }
  /// Number of the object that is, or holds, the value; 0 where the trailer holds it.
  std::int32_t number() const { return node_ != nullptr ? node_->num : 0; }
  /// Whether it is an object of its own, which others refer to by its number.
  bool is_object() const { return node_ != nullptr && place_ == &node_->obj && node_->num != 0; }

  /// The entry `key` of a dictionary or of a stream's dictionary; null for anything else.
  Value operator[](const char* key) const;
  Value operator[](std::string_view key) const;
  /// Element `index` of an array, from 0, or null.
  Value operator[](std::int32_t index) const;
  bool has(std::string_view key) const { return !(*this)[key].is_null(); }
  /// Elements of an array, entries of a dictionary; else 0.
  std::int32_t size() const;
  /// The number that a reference under `key` bears; 0 where there is no reference.
  std::int32_t reference(std::string_view key) const;
  std::int32_t reference(std::int32_t index) const;
  /// All elements of an array, in order.
  Elements elements() const;
  /// All entries of a dictionary, by key.
  Entries entries() const;

  /// The value as a number, flag, text or bytes; `fallback` where it is of another kind. A text is UTF-8; a
  /// `std::string_view` gives the bytes of a string or name as they are, valid until the object changes.
  template <class T>
  T as(T fallback = {}) const;
  /// The same of an entry or an element.
  template <class T>
  T get(std::string_view key, T fallback = {}) const {
    return (*this)[key].template as<T>(std::move(fallback));
  }
  template <class T>
  T get(std::int32_t index, T fallback = {}) const {
    return (*this)[index].template as<T>(std::move(fallback));
  }
  /// A string's text or a name as UTF-8; "" for anything else.
  std::string text() const;
  /// A string's bytes or a name. Borrowed; valid until the object changes.
  std::string_view bytes() const;
  /// The value in PDF syntax, references as they are.
  std::string print() const;

  /// Changes go into the document with its next save. The result is false where that is impossible, and the document
  /// keeps the first such failure: its saves then refuse, so that no change is lost unseen. An object is put in by
  /// reference, any other value as a copy. Null takes the key away.
  bool set(std::string_view key, Object value);
  bool set(std::string_view key, const Value& value);
  bool set(std::int32_t index, Object value);
  bool set(std::int32_t index, const Value& value);
  bool append(Object value);
  bool append(const Value& value);
  /// Before element `index`, or after the last one.
  bool insert(std::int32_t index, Object value);
  bool insert(std::int32_t index, const Value& value);
  bool remove(std::string_view key);
  bool remove(std::int32_t index);

  /// Why a change of this value came to nothing: the failure that the document keeps.
  Error refusal() const;

  /// A stream's data with all filters taken off. Damaged data give what can be decoded.
  Expected<Data> decoded() const;
  /// A stream's data as they are stored, decryption taken off.
  Expected<Data> stored() const;
  /// Gives a stream new data; "Filter" and "DecodeParms" follow. A dictionary that is an object becomes a stream.
  bool write(std::string_view data, Coding coding = Coding::kFlate);

  /// The layer below. Borrowed; valid until the object changes.
  const CPDFObj& raw() const {
    static constexpr CPDFObj kNull{};
    if (node_ == nullptr)
      return kNull;
    if (*node_->state->changes != node_->state->seen) [[unlikely]]
      layer::refresh_nodes(*node_->core);
    const CPDFObj* const there =
        index_ < 0 ? static_cast<const CPDFObj*>(place_) : static_cast<const CPDFArray*>(place_)->get(index_);
    if (content_ != 0 && (there == nullptr || there->value != content_)) [[unlikely]]
      return moved();
    return there != nullptr ? *there : kNull;
  }

  /// Whether both are the same place of the same document.
  friend bool operator==(const Value& a, const Value& b) {
    return a.node_ == b.node_ && (a.node_ == nullptr || &a.raw() == &b.raw());
  }

private:
  friend class layer::Core;
  friend class Entries;
  friend class Elements;

  Value(layer::NodeHead* node, void* place, std::int32_t index) : node_(node), place_(place), index_(index) {
    ++node_->users;
    epoch_ = node_->epoch;
  }
  // An element or an entry of `outer`.
  Value(const Value& outer, const CPDFObj& item, void* place, std::int32_t index)
      : node_(outer.node_),
        place_(place),
        content_(item.tag == kTagArray || item.tag == kTagDict ? item.value : 0),
        index_(index),
        epoch_(outer.place_ == &node_->obj ? node_->epoch : outer.epoch_) {
    ++node_->users;
  }
  void swap(Value& other) noexcept {
    std::swap(node_, other.node_);
    std::swap(place_, other.place_);
    std::swap(content_, other.content_);
    std::swap(index_, other.index_);
    std::swap(epoch_, other.epoch_);
  }
  Value follow(CPDFObj* item) const;
  Value missing() const;
  const CPDFObj& moved() const;
  CPDFObj* begin_change();
  CPDFDictionary* change_dictionary();
  CPDFArray* change_array();
  CPDFObj* change_element(std::int32_t index);
  void end_change();
  void keep_replaced(CPDFObj& old);
  layer::Node& node() const;
  bool fits(const Value& value, Object& as_object) const;
  bool refuse(Code code, const char* message) const;

  layer::NodeHead* node_ = nullptr;
  void* place_ = nullptr;      // the value, or the array of which it is an element
  std::uint64_t content_ = 0;  // an array's or dictionary's own address: it is followed where it moves to
  std::int32_t index_ = -1;    // of the element
  std::uint32_t epoch_ = 0;
};

template <class T>
T Value::as(T fallback) const {
  const CPDFObj& value = raw();
  if constexpr (std::same_as<T, bool>)
    return value.tag == kTagBool ? value.as_bool() : fallback;
  else if constexpr (std::integral<T>)
    return value.is_number() ? static_cast<T>(value.to_int()) : fallback;
  else if constexpr (std::floating_point<T>)
    return value.is_number() ? static_cast<T>(to_double(value.to_real())) : fallback;
  else if constexpr (std::same_as<T, std::string_view>)
    return value.as_text() != nullptr || value.tag == kTagString ? bytes() : fallback;
  else {
    static_assert(std::same_as<T, std::string>, "a value is a bool, a number, std::string or std::string_view");
    return value.as_text() != nullptr || value.tag == kTagString ? text() : fallback;
  }
}

/// One entry of a dictionary. The key is borrowed; valid until the dictionary changes.
struct Entry {
  std::string_view key;
  Value value;
};

namespace layer {

/// Counts through what a value holds.
template <class Range, class Item>
class Counting {
public:
  using value_type = Item;
  using difference_type = std::ptrdiff_t;
  Counting() = default;
  Counting(const Range* range, std::int32_t index) : range_(range), index_(index) {}
  Item operator*() const { return range_->at(index_); }
  Counting& operator++() {
    ++index_;
    return *this;
  }
  Counting operator++(int) {
    Counting before = *this;
    ++index_;
    return before;
  }
  friend bool operator==(const Counting& a, const Counting& b) { return a.index_ == b.index_; }

private:
  const Range* range_ = nullptr;
  std::int32_t index_ = 0;
};

}  // namespace layer

/// The elements of an array. The count is that of the beginning; elements that were removed since are null.
class Elements {
public:
  using iterator = layer::Counting<Elements, Value>;
  explicit Elements(Value array) : array_(std::move(array)), count_(array_.is_array() ? array_.size() : 0) {}
  Value at(std::int32_t index) const { return array_[index]; }
  iterator begin() const { return {this, 0}; }
  iterator end() const { return {this, count_}; }
  std::int32_t size() const { return count_; }

private:
  Value array_;
  std::int32_t count_;
};

/// The entries of a dictionary.
class Entries {
public:
  using iterator = layer::Counting<Entries, Entry>;
  explicit Entries(Value holder);
  Entry at(std::int32_t index) const;
  iterator begin() const { return {this, 0}; }
  iterator end() const { return {this, count_}; }
  std::int32_t size() const { return count_; }

private:
  Value holder_;
  std::int32_t count_;
};

inline Elements Value::elements() const {
  return Elements(*this);
}
inline Entries Value::entries() const {
  return Entries(*this);
}

}  // namespace sheaf
