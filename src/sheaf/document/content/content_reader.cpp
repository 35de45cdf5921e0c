// Values are read by the grammar of objects; what is no value is an operator. Plain operands are only passed over, and
// read when they are asked for.
#include "sheaf/document/content/content_reader.h"

#include <algorithm>
#include <new>

#include "sheaf/base/chars.h"
#include "sheaf/document/content/operand_scan.h"

namespace sheaf {

namespace {

constexpr std::size_t kMostText = UINT32_MAX;  // positions in a parse buffer have 32 bits
constexpr std::size_t kNowhere = std::string_view::npos;

bool begins_value(char c) {
  return is_digit(c) || c == '/' || c == '(' || c == '[' || c == '<' || c == '-' || c == '.' || c == '+';
}

std::size_t end_of_word(std::string_view text, std::size_t at) {
  while (at < text.size() && is_regular(text[at]))
    ++at;
  return at;
}

bool is_value_word(std::string_view word) {
  return word.size() > 3 && (word == "true" || word == "false" || word == "null");  // operators are shorter
}

// The value of an inline image's entry by its short or its long key.
const CPDFObj* entry_of(const CPDFDictionary& image, const char* brief, const char* full) {
  const CPDFObj* const item = image.get_item(brief);
  return item != nullptr ? item : image.get_item(full);
}

// Samples in a pixel, by the name of a colour space; 0 for one that is not a name of the standard's.
int components_of(const CPDFObj* space) {
  if (space == nullptr)
    return 0;
  for (const char* name : {"G", "DeviceGray", "CalGray"}) {
    if (space->is_name(name))
      return 1;
  }
  if (space->is_name("RGB") || space->is_name("DeviceRGB"))
    return 3;
  if (space->is_name("CMYK") || space->is_name("DeviceCMYK"))
    return 4;
  const CPDFArray* const list = space->as_array();
  const CPDFObj* const kind = list != nullptr ? list->get(0) : nullptr;
  return kind != nullptr && (kind->is_name("I") || kind->is_name("Indexed")) ? 1 : 0;
}

// How many bytes the samples of an image without filters take; kNowhere when that cannot be known.
std::size_t plain_size(const CPDFDictionary& image) {
  if (const CPDFObj* const length = entry_of(image, "L", "Length"); length != nullptr && length->as_int() > 0)
    return static_cast<std::size_t>(length->as_int());
  const CPDFObj* const width = entry_of(image, "W", "Width");
  const CPDFObj* const height = entry_of(image, "H", "Height");
  if (entry_of(image, "F", "Filter") != nullptr || width == nullptr || height == nullptr)
    return kNowhere;
  const CPDFObj* const mask = entry_of(image, "IM", "ImageMask");
  const CPDFObj* const depth = entry_of(image, "BPC", "BitsPerComponent");
  const bool is_mask = mask != nullptr && mask->as_bool();
  const int components = is_mask ? 1 : components_of(entry_of(image, "CS", "ColorSpace"));
  const int bits = is_mask ? 1 : (depth != nullptr ? depth->to_int() : 0);
  constexpr int kMostBits = 16;
  if (components == 0 || bits < 1 || bits > kMostBits || width->to_int() < 1 || height->to_int() < 1)
    return kNowhere;
  const std::int64_t row = (std::int64_t{width->to_int()} * components * bits + 7) / 8;
  return static_cast<std::size_t>(row) * static_cast<std::size_t>(height->to_int());
}

bool has_word_end(std::string_view text, std::size_t at) {
  return at >= text.size() || !is_regular(text[at]);
}

// Whether EI is at `at`, as a word.
bool is_end_word(std::string_view text, std::size_t at) {
  return text.substr(at, 2) == "EI" && has_word_end(text, at + 2);
}

// Whether the bytes from `at` on can be content: those of an image soon have one that cannot.
bool looks_like_content(std::string_view text, std::size_t at) {
  constexpr std::size_t kLooked = 32;
  constexpr char kFirstPrintable = 0x20;
  constexpr char kLastPrintable = 0x7E;
  const std::string_view sample = text.substr(std::min(at, text.size()), kLooked);
  return std::all_of(sample.begin(), sample.end(),
                     [](char c) { return is_wide_space(c) || (c >= kFirstPrintable && c <= kLastPrintable); });
}

}  // namespace

ContentReader::ContentReader(std::string_view text) : text_(text.substr(0, kMostText)) {
  buf_.buf_init_mem(text_.data(), static_cast<std::uint32_t>(text_.size()));
}

bool ContentReader::next() {
  clear_operands();
  op_ = image_data_ = {};
  fault_ = ContentFault::kNone;
  begin_ = end_of_space(text_, end_);
  if (begin_ >= text_.size())
    return false;
  if (!read_plain())
    read_carefully();
  return true;
}

// Passes operands up to an operator. False when something on the way is not plain: nothing is taken then.
bool ContentReader::read_plain() {
  has_values_ = false;
  for (std::size_t at = begin_; at < text_.size(); at = end_of_space(text_, at)) {
    const char c = text_[at];
    std::size_t stop = kNowhere;
    if (begins_value(c)) {
      stop = end_of_operand(text_, at);
    } else if (is_regular(c)) {
      stop = end_of_word(text_, at);
      const std::string_view word = text_.substr(at, stop - at);
      if ((word[0] == 'R' && word.size() == 1) ||
          (word[0] == 'o' && word.substr(0, 3) == "obj"))  // the numbers before it are no operands
        return false;
      if (!is_value_word(word)) {
        take_operator(at, word);
        return true;
      }
    }
    if (stop == kNowhere || starts_.size() == kMostOperands || !starts_.push(static_cast<std::uint32_t>(at)))
      return false;
    at = stop;
  }
  return false;
}

void ContentReader::read_carefully() {
  clear_operands();
  move_to(begin_);
  while (skip_space()) {
    const std::size_t at = here();
    const char c = text_[at];
    if (begins_value(c)) {
      read_operand();
    } else if (is_regular(c)) {
      if (read_operator())
        return;
    } else {
      fault_ = ContentFault::kStray;
      move_to(at + 1);
    }
  }
  end_ = text_.size();
  if (fault_ == ContentFault::kNone)
    fault_ = ContentFault::kNoOperator;
}

const CPDFArray& ContentReader::operands() const {
  if (has_values_)
    return operands_;
  has_values_ = true;
  for (const std::uint32_t start : starts_) {
    Freed<CPDFObj> value;
    move_to(start);
    value.read(&buf_, nullptr);
    operands_.append_moved(value);
  }
  return operands_;
}

bool ContentReader::name_from_end(std::int32_t index, std::string_view& name) const {
  if (has_values_ || index < 0 || index >= operand_count()) {
    const CPDFObj* const operand = operand_from_end(index);
    const char* const text = operand != nullptr ? operand->as_name() : nullptr;
    name = text != nullptr ? text : std::string_view();
    return text != nullptr;
  }
  const std::size_t start = starts_[starts_.size() - 1 - static_cast<std::size_t>(index)];
  if (text_[start] != '/')
    return false;
  name = text_.substr(start + 1, end_of_operand(text_, start) - start - 1);
  return name.find('#') == kNowhere || (operands(), name_from_end(index, name));
}

// White space and comments.
bool ContentReader::skip_space() {
  while (buf_.buf_skip_ws(true)) {
    if (buf_.buf_data[buf_.buf_pos] != '%')
      return true;
    move_to(std::min(text_.find_first_of("\r\n", here()), text_.size()));
  }
  return false;
}

void ContentReader::read_operand() {
  const bool is_container = text_[here()] == '[' || text_[here()] == '<';
  Freed<CPDFObj> value;
  value.read(&buf_, nullptr);
  if (is_container && here() >= text_.size() && text_.back() != ']' && text_.back() != '>')
    fault_ = ContentFault::kUnclosed;
  if (operands_.count == kMostOperands) {
    clear_operands();
    fault_ = ContentFault::kTooManyOperands;
  }
  operands_.append_moved(value);
}

// False for a word that is a value.
bool ContentReader::read_operator() {
  const std::size_t at = here();
  const std::string_view word = text_.substr(at, end_of_word(text_, at) - at);
  if (is_value_word(word)) {
    read_operand();
    return false;
  }
  take_operator(at, word);
  return true;
}

void ContentReader::take_operator(std::size_t at, std::string_view word) {
  op_ = word;
  end_ = at + word.size();
  if (word != "BI")
    return;
  move_to(end_);
  read_image();
  end_ = here();
}

void ContentReader::read_image() {
  Freed<CPDFObj> image;
  auto* const entries = new (std::nothrow) CPDFDictionary;
  if (entries == nullptr)
    return;
  image.take_dict(entries);
  read_image_entries(*entries);
  if (fault_ != ContentFault::kImage)
    find_image_end(*entries);
  clear_operands();
  operands_.append_moved(image);
}

// Keys and values up to ID, which is passed with the one white-space character after it.
void ContentReader::read_image_entries(CPDFDictionary& image) {
  while (skip_space()) {
    const std::size_t at = here();
    if (text_.substr(at, 2) == "ID" && has_word_end(text_, at + 2)) {
      const bool two = text_.substr(at + 2, 2) == "\r\n";
      return move_to(std::min(at + (two ? 4 : 3), text_.size()));
    }
    if (text_[at] != '/')
      break;
    Freed<CPDFObj> key;
    Freed<CPDFObj> value;
    key.read(&buf_, nullptr);
    if (!skip_space())
      break;
    value.read(&buf_, nullptr);
    if (value.tag == kTagNoValue)
      break;
    image.move_item(key.as_name(), value);
  }
  fault_ = ContentFault::kImage;
}

void ContentReader::find_image_end(const CPDFDictionary& image) {
  const std::size_t start = here();
  const std::size_t size = plain_size(image);
  std::size_t at = kNowhere;
  if (size <= text_.size() - start) {
    at = start + size;
    while (at < text_.size() && is_wide_space(text_[at]))
      ++at;
    if (!is_end_word(text_, at))
      at = kNowhere;
  }
  if (at == kNowhere)
    at = search_image_end(start);
  if (at == kNowhere) {
    fault_ = ContentFault::kImage;
    image_data_ = text_.substr(start);
    return move_to(text_.size());
  }
  const std::size_t stop = at > start && is_wide_space(text_[at - 1]) ? at - 1 : at;
  image_data_ = text_.substr(start, stop - start);
  move_to(at + 2);
}

// The first EI that white space precedes and content follows; failing that, the first EI of all.
std::size_t ContentReader::search_image_end(std::size_t start) {
  std::size_t first = kNowhere;
  for (std::size_t at = text_.find("EI", start); at != kNowhere; at = text_.find("EI", at + 1)) {
    if (!is_end_word(text_, at))
      continue;
    first = std::min(first, at);
    if (start >= no_sure_end_from_)
      return first;
    if ((at == start || is_wide_space(text_[at - 1])) && looks_like_content(text_, at + 2))
      return at;
  }
  no_sure_end_from_ = std::min(no_sure_end_from_, start);  // so that the text is searched to its end only once
  return first;
}

void ContentReader::move_to(std::size_t position) const {
  const auto wanted = static_cast<std::uint32_t>(position);
  const std::uint32_t held_from = buf_.buf_end - buf_.buf_len;
  if (wanted >= held_from && wanted < buf_.buf_end) {
    buf_.buf_pos = wanted - held_from;
    return;
  }
  buf_.buf_end = buf_.mem_pos = wanted;
  buf_.buf_pos = buf_.buf_len = 0;
  buf_.buf_refill();
}

void ContentReader::clear_operands() {
  for (std::int32_t i = 0; i < operands_.count; ++i)
    operands_.items[i].free();
  operands_.count = 0;
  starts_.clear();
  has_values_ = true;
}

}  // namespace sheaf
