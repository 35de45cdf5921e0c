// Content streams as operators with their operands, and the way back.
//
//   sheaf::ContentAppender kept;
//   for (const sheaf::Operator& op : *page.content()) {
//     if (op.name() != "Do")
//       kept.add(op);
//   }
//   kept.add("rg", 1, 0, 0);
//   page.set_content(kept);
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "sheaf/document/content/content_reader.h"
#include "sheaf/layer/object.h"
#include "sheaf/layer/result.h"

namespace sheaf {

/// One operator of a content stream, borrowed from the iterator that is at it. An inline image is one operator, "BI",
/// whose operand is its dictionary.
class Operator {
public:
  Operator(const ContentReader& reader, std::string_view text) : reader_(&reader), text_(text) {}
  std::string_view name() const { return reader_->op(); }
  std::int32_t size() const { return reader_->operands().count; }
  /// Operand `index`; null when there are fewer.
  const CPDFObj& operand(std::int32_t index) const;
  double number(std::int32_t index, double fallback = 0) const;
  /// A name or the bytes of a string; "" for anything else.
  std::string_view bytes(std::int32_t index) const;
  /// An operand as a value of its own, to be put into a document.
  Object copy(std::int32_t index) const;
  /// The data of an inline image, as they are stored.
  std::string_view image_data() const { return reader_->image_data(); }
  /// The operator with its operands, byte for byte.
  std::string_view source() const { return text_.substr(reader_->begin(), reader_->end() - reader_->begin()); }
  /// Where that begins.
  std::size_t offset() const { return reader_->begin(); }
  ContentFault fault() const { return reader_->fault(); }

private:
  const ContentReader* reader_;
  std::string_view text_;
};

/// The operators of decoded content, which it owns.
class Content {
public:
  class iterator {
  public:
    using value_type = Operator;
    using difference_type = std::ptrdiff_t;
    using reference = Operator;
    using pointer = void;
    using iterator_category = std::input_iterator_tag;
    explicit iterator(std::string_view text) : reader_(std::make_unique<ContentReader>(text)), text_(text) { ++*this; }
    Operator operator*() const { return {*reader_, text_}; }
    iterator& operator++() {
      more_ = reader_->next();
      return *this;
    }
    void operator++(int) { ++*this; }
    friend bool operator==(const iterator& a, std::default_sentinel_t) { return !a.more_; }

  private:
    std::unique_ptr<ContentReader> reader_;
    std::string_view text_;
    bool more_ = false;
  };

  explicit Content(Data data) : data_(std::move(data)) {}
  iterator begin() const& { return iterator(data_.text()); }
  std::default_sentinel_t end() const& { return {}; }
  /// All bytes. Borrowed; valid as long as this lives.
  std::string_view text() const& { return data_.text(); }
  std::string_view text() const&& = delete;

private:
  Data data_;
};

/// Puts operators one after the other.
class ContentAppender {
public:
  /// The operator, byte for byte.
  ContentAppender& add(const Operator& op) {
    text_.append(op.source()) += '\n';
    return *this;
  }
  /// An operator of that name after operands: numbers, `Name`, `Bytes`, arrays.
  template <class... Operands>
  ContentAppender& add(std::string_view name, Operands&&... operands) {
    (put(Object(std::forward<Operands>(operands))), ...);
    text_.append(name) += '\n';
    return *this;
  }
  /// Content as it is.
  ContentAppender& add_raw(std::string_view text) {
    text_.append(text) += '\n';
    return *this;
  }
  const std::string& data() const { return text_; }

private:
  void put(const Object& operand);

  std::string text_;
};

}  // namespace sheaf
