// Follows the matrices of a page's content and of its forms to each image.
#include "image/image_placements.h"

#include <array>
#include <cmath>
#include <vector>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/content/content_reader.h"
#include "sheaf/document/content/content_text.h"
#include "sheaf/document/pages/inherited_resources.h"
#include "sheaf/object/array.h"

namespace sheaf::tool {

namespace {

constexpr std::size_t kMostContent = 16 << 20;               // of one page or form
constexpr std::int64_t kMostWork = std::int64_t{256} << 20;  // bytes of content, forms as often as they are shown
constexpr int kMostDepth = 8;                                // of forms within forms

using Matrix = std::array<double, 6>;

Matrix product(const Matrix& m, const Matrix& n) {
  return {m[0] * n[0] + m[1] * n[2], m[0] * n[1] + m[1] * n[3],        m[2] * n[0] + m[3] * n[2],
          m[2] * n[1] + m[3] * n[3], m[4] * n[0] + m[5] * n[2] + n[4], m[4] * n[1] + m[5] * n[3] + n[5]};
}

// The six operands of "cm".
bool matrix_of(const ContentReader& reader, Matrix& matrix) {
  for (std::size_t i = 0; i < matrix.size(); ++i) {
    const CPDFObj* const operand = reader.operand_from_end(static_cast<std::int32_t>(matrix.size() - 1 - i));
    if (operand == nullptr)
      return false;
    matrix[i] = to_double(operand->to_real());
  }
  return true;
}

}  // namespace

class ImagePlacements::Walk {
public:
  Walk(CPDFXRefTable& table, ImagePlacements& placements) : table_(table), placements_(placements) {}

  void page(const CPDFPage& page) {
    const Freed<CPDFObj> resources = page_resources(table_, page);
    show(page.dict.get_item("Contents"), resources.as_dict(), {1, 0, 0, 1, 0, 0}, 0);
  }

private:
  void show(const CPDFObj* contents, const CPDFDictionary* resources, Matrix matrix, int depth) {
    Freed<CPDFObj> objects = table_.value(resources, CPDFDictionary::sm_tag_xobj);
    if (objects.as_dict() == nullptr || work_ > kMostWork)
      return;
    ContentText content;
    content.load(table_, contents, kMostContent);
    work_ += static_cast<std::int64_t>(content.text().size());
    std::vector<Matrix> saved;
    ContentReader reader(content.text());
    while (reader.next() && work_ <= kMostWork) {
      Matrix change;
      if (reader.is("q")) {
        saved.push_back(matrix);
      } else if (reader.is("Q") && !saved.empty()) {
        matrix = saved.back();
        saved.pop_back();
      } else if (reader.is("cm") && matrix_of(reader, change)) {
        matrix = product(change, matrix);
      } else if (reader.is("Do")) {
        show_object(*objects.as_dict(), reader.operand_from_end(0), resources, matrix, depth);
      }
    }
  }

  void show_object(const CPDFDictionary& objects, const CPDFObj* name, const CPDFDictionary* resources,
                   const Matrix& matrix, int depth) {
    constexpr std::int64_t kLeastWork = 64;
    const char* const key = name != nullptr ? name->as_name() : nullptr;
    const CPDFObj* const item = key != nullptr ? objects.get_item(key) : nullptr;
    const PDF_REF ref = ref_of(item);
    work_ += kLeastWork;
    if (ref.num < 1 || depth > kMostDepth || placements_.places_.contains(ref.num))
      return;
    Freed<CPDFObj> obj = table_.object(ref);
    const CPDFDictionary* dict = obj.as_dict_or_stream();
    Freed<CPDFObj> kind = table_.value(dict, CPDFDictionary::sm_tag_subtype);
    if (kind.is_name("Image"))
      placements_.places_[ref.num] = {std::hypot(matrix[0], matrix[1]), std::hypot(matrix[2], matrix[3])};
    if (!kind.is_name("Form"))
      return;
    Freed<CPDFObj> own = table_.value(dict, CPDFDictionary::sm_tag_res);
    show(&obj, own.as_dict() != nullptr ? own.as_dict() : resources, product(form_matrix(*dict), matrix), depth + 1);
  }

  Matrix form_matrix(const CPDFDictionary& dict) {
    Matrix matrix = {1, 0, 0, 1, 0, 0};
    Freed<CPDFObj> list = table_.value(&dict, "Matrix");
    for (std::size_t i = 0; list.as_array() != nullptr && i < matrix.size(); ++i) {
      Freed<CPDFObj> number = table_.value(list.as_array()->get(static_cast<std::int32_t>(i)));
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
