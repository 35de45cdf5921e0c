// The operators of a content stream, one after the other, with their operands (ISO 32000-1, 7.8.2).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/object.h"
#include "sheaf/object/parse_buf.h"

namespace sheaf {

/// What is wrong with an operator; the reader goes on after it.
enum class ContentFault : std::uint8_t {
  kNone,
  kStray,            ///< A bracket that closes nothing, before the operator.
  kUnclosed,         ///< An array, a dictionary or a string that the text ends in.
  kNoOperator,       ///< Operands at the end of the text that no operator follows; `op` is then empty.
  kTooManyOperands,  ///< More than kMostOperands: the first ones were dropped.
  kImage,            ///< An inline image without ID or EI.
};

/// Reads a text that the caller keeps. Every byte of the text belongs to one operator or to the space between two, so
/// that who copies `begin` to `end` of each operator, and what lies between, copies the text. An inline image is one
/// operator, "BI", whose operand is the image's dictionary. Damaged content is read as far as it makes sense.
class ContentReader {
public:
  static constexpr std::int32_t kMostOperands = 4096;  ///< The operands of "SCN" and of a "TJ" are far fewer.

  explicit ContentReader(std::string_view text);

  /// Reads the next operator. False at the end of the text.
  bool next();

  std::string_view text() const { return text_; }
  /// The operator's name. Borrowed from the text.
  std::string_view op() const { return op_; }
  bool is(std::string_view name) const { return op_ == name; }
  /// What precedes the operator, in its order. Valid until the next call. Values are made when this is asked for.
  const CPDFArray& operands() const;
  /// How many they are, which needs no values.
  std::int32_t operand_count() const {
    return has_values_ ? operands_.count : static_cast<std::int32_t>(starts_.size());
  }
  /// Operand `index` from the last one on, which is 0; null when there are fewer.
  const CPDFObj* operand_from_end(std::int32_t index) const { return operands().get(operands().count - 1 - index); }
  /// The same for a name, mostly without making values: false for other operands. Borrowed; valid until the next call.
  bool name_from_end(std::int32_t index, std::string_view& name) const;
  /// Where the first operand begins in the text, and where the operator ends.
  std::size_t begin() const { return begin_; }
  std::size_t end() const { return end_; }
  ContentFault fault() const { return fault_; }

  /// The data of an inline image between ID and EI, as they are stored; empty for other operators.
  std::string_view image_data() const { return image_data_; }

private:
  bool read_plain();
  void read_carefully();
  bool skip_space();
  void read_operand();
  bool read_operator();
  void take_operator(std::size_t at, std::string_view word);
  void read_image();
  void read_image_entries(CPDFDictionary& image);
  void find_image_end(const CPDFDictionary& image);
  std::size_t search_image_end(std::size_t start);
  void move_to(std::size_t position) const;
  std::size_t here() const { return buf_.position(); }
  void clear_operands();

  std::string_view text_;
  mutable CPDFBufMem buf_;
  mutable Cleared<CPDFArray> operands_;
  mutable bool has_values_ = true;   // operands_ holds the operands; otherwise they are where starts_ says
  GrowArray<std::uint32_t> starts_;  // where each operand begins
  std::string_view op_;
  std::string_view image_data_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  std::size_t no_sure_end_from_ = std::string_view::npos;  // an inline image from here on has no end that is sure
  ContentFault fault_ = ContentFault::kNone;
};

}  // namespace sheaf
