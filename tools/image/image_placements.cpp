// Follows the matrices of a page's content and of its forms to each image.
#include "image/image_placements.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "sheaf/base/chars.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/object/array.h"

namespace sheaf::tool {

namespace {

constexpr int kMostContent = 16 << 20;                       // of one stream
constexpr std::int64_t kMostWork = std::int64_t{256} << 20;  // bytes of content, forms as often as they are shown
constexpr int kMostDepth = 8;                                // of forms within forms

using Matrix = std::array<double, 6>;

Matrix product(const Matrix& m, const Matrix& n) {
  return {m[0] * n[0] + m[1] * n[2], m[0] * n[1] + m[1] * n[3],        m[2] * n[0] + m[3] * n[2],
          m[2] * n[1] + m[3] * n[3], m[4] * n[0] + m[5] * n[2] + n[4], m[4] * n[1] + m[5] * n[3] + n[5]};
}

// The operators of a content stream with the last name and the last six numbers in front of each.
// Strings, arrays, dictionaries and the data of inline images are passed over.
class ContentReader {
public:
  explicit ContentReader(std::string_view text) : text_(text) {}

  /// The next operator; empty at the end.
  std::string_view next() {
    count_ = 0;
    name_ = {};
    while (pos_ < text_.size()) {
      const char c = text_[pos_];
      if (c == '%') {
        pos_ = std::min(text_.find_first_of("\r\n", pos_), text_.size());
      } else if (c == '(') {
        pass_string();
      } else if (c == '<' && pos_ + 1 < text_.size() && text_[pos_ + 1] != '<') {
        pos_ = text_.find('>', pos_);
        pos_ = pos_ == std::string_view::npos ? text_.size() : pos_ + 1;
      } else if (!is_regular(c) && c != '/') {
        ++pos_;
      } else if (const std::string_view token = take_token(); token[0] == '/') {
        name_ = token.substr(1);
      } else if (!take_number(token)) {
        if (token == "ID")
          pass_inline_data();
        return token;
      }
    }
    return {};
  }
  std::string_view name() const { return name_; }
  bool matrix(Matrix& matrix) const {
    for (std::size_t i = 0; i < matrix.size(); ++i)
      matrix[i] = numbers_[(count_ - matrix.size() + i) % numbers_.size()];
    return count_ >= matrix.size();
  }

private:
  static bool is_regular(char c) {
    return !is_wide_space(c) && std::string_view("()<>[]{}/%").find(c) == std::string_view::npos;
  }

  std::string_view take_token() {
    const std::size_t start = pos_++;
    while (pos_ < text_.size() && is_regular(text_[pos_]))
      ++pos_;
    return text_.substr(start, pos_ - start);
  }

  bool take_number(std::string_view token) {
    if (token.find_first_not_of("+-.0123456789") != std::string_view::npos)
      return false;
    char text[32] = {};
    token.copy(text, sizeof(text) - 1);
    numbers_[count_++ % numbers_.size()] = std::strtod(text, nullptr);
    return true;
  }

  void pass_string() {
    int depth = 0;
    for (; pos_ < text_.size(); ++pos_) {
      if (text_[pos_] == '\\')
        ++pos_;
      else if (text_[pos_] == '(')
        ++depth;
      else if (text_[pos_] == ')' && --depth == 0)
        break;
    }
    pos_ = std::min(pos_ + 1, text_.size());
  }

  void pass_inline_data() {
    const auto is_space = [this](std::size_t at) { return at >= text_.size() || is_wide_space(text_[at]); };
    for (std::size_t at = text_.find("EI", pos_); at != std::string_view::npos; at = text_.find("EI", at + 1)) {
      if (is_space(at - 1) && is_space(at + 2)) {
        pos_ = at + 2;
        return;
      }
    }
    pos_ = text_.size();
  }

  std::string_view text_;
  std::size_t pos_ = 0;
  std::string_view name_;
  std::array<double, 6> numbers_ = {};
  std::size_t count_ = 0;
};

}  // namespace

class ImagePlacements::Walk {
public:
  Walk(CPDFXRefTable& table, ImagePlacements& placements) : table_(table), placements_(placements) {}

  void page(const CPDFPage& page) {
    Freed<CPDFObj> resources;
    Freed<CPDFObj> contents;
    table_.resolve(resources, page.dict.get_item(CPDFDictionary::sm_tag_res));
    if (resources.as_dict() == nullptr && page.inherited != nullptr && page.inherited->resources.num != 0)
      table_.get_entity(resources, page.inherited->resources);
    table_.resolve(contents, page.dict.get_item("Contents"));
    std::string text;
    const CPDFArray* parts = contents.as_array();
    for (std::int32_t i = 0; i < (parts != nullptr ? parts->count : 1); ++i) {
      Freed<CPDFObj> part;
      table_.resolve(part, parts != nullptr ? parts->get(i) : &contents);
      text += content(part) + '\n';
    }
    show(text, resources.as_dict(), {1, 0, 0, 1, 0, 0}, 0);
  }

private:
  std::string content(const CPDFObj& obj) {
    if (obj.as_stream() == nullptr || work_ > kMostWork)
      return "";
    const std::unique_ptr<CPDFStream> decoder(table_.make_stream(obj.as_stream()));
    int len = 0;
    const HeapBlock<std::uint8_t> block(decoder ? decoder->buffer_load(decoder->most_text(kMostContent), len)
                                                : nullptr);
    return block ? std::string(reinterpret_cast<const char*>(block.get()), static_cast<std::size_t>(len)) : "";
  }

  void show(std::string_view text, const CPDFDictionary* resources, Matrix matrix, int depth) {
    Freed<CPDFObj> objects;
    table_.resolve(objects, resources != nullptr ? resources->get_item(CPDFDictionary::sm_tag_xobj) : nullptr);
    if (objects.as_dict() == nullptr)
      return;
    work_ += static_cast<std::int64_t>(text.size());
    std::vector<Matrix> saved;
    ContentReader reader(text);
    for (std::string_view op = reader.next(); !op.empty() && work_ <= kMostWork; op = reader.next()) {
      Matrix change;
      if (op == "q") {
        saved.push_back(matrix);
      } else if (op == "Q" && !saved.empty()) {
        matrix = saved.back();
        saved.pop_back();
      } else if (op == "cm" && reader.matrix(change)) {
        matrix = product(change, matrix);
      } else if (op == "Do") {
        show_object(objects.as_dict()->get_item(std::string(reader.name()).c_str()), resources, matrix, depth);
      }
    }
  }

  void show_object(const CPDFObj* item, const CPDFDictionary* resources, const Matrix& matrix, int depth) {
    constexpr std::int64_t kLeastWork = 64;
    const PDF_REF ref = item != nullptr ? item->as_ref() : PDF_REF{0, 0};
    work_ += kLeastWork;
    if (ref.num < 1 || depth > kMostDepth || placements_.places_.count(ref.num) != 0)
      return;
    Freed<CPDFObj> obj;
    Freed<CPDFObj> kind;
    table_.get_entity(obj, ref);
    const CPDFDictionary* dict = obj.as_dict_or_stream();
    table_.resolve(kind, dict != nullptr ? dict->get_item(CPDFDictionary::sm_tag_subtype) : nullptr);
    if (kind.is_name("Image"))
      placements_.places_[ref.num] = {std::hypot(matrix[0], matrix[1]), std::hypot(matrix[2], matrix[3])};
    if (!kind.is_name("Form"))
      return;
    Freed<CPDFObj> own;
    table_.resolve(own, dict->get_item(CPDFDictionary::sm_tag_res));
    show(content(obj), own.as_dict() != nullptr ? own.as_dict() : resources, product(form_matrix(*dict), matrix),
         depth + 1);
  }

  Matrix form_matrix(const CPDFDictionary& dict) {
    Matrix matrix = {1, 0, 0, 1, 0, 0};
    Freed<CPDFObj> list;
    table_.resolve(list, dict.get_item("Matrix"));
    for (std::size_t i = 0; list.as_array() != nullptr && i < matrix.size(); ++i) {
      Freed<CPDFObj> number;
      table_.resolve(number, list.as_array()->get(static_cast<std::int32_t>(i)));
      matrix[i] = to_double(number.to_real());
    }
    return matrix;
  }

  CPDFXRefTable& table_;
  ImagePlacements& placements_;
  std::int64_t work_ = 0;
};

ImagePlacements::ImagePlacements(CPDFDoc& doc) {
  Walk walk(doc.table(), *this);
  const int count = doc.page_count();
  for (int index = 0; index < count; ++index) {
    CPDFPage page;
    if (doc.load_page(index, page))
      walk.page(page);
  }
}

Dots ImagePlacements::dots_of(std::int32_t num, std::int32_t width, std::int32_t height) const {
  constexpr double kPointsPerInch = 72;
  constexpr double kLeastPoints = 0.01;
  const auto found = places_.find(num);
  if (found == places_.end() || found->second.width < kLeastPoints || found->second.height < kLeastPoints)
    return {};
  return {width * kPointsPerInch / found->second.width, height * kPointsPerInch / found->second.height};
}

}  // namespace sheaf::tool
