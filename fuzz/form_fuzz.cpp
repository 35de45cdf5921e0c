// Forms of any bytes: every field is given values of several kinds, the result is flattened and saved, and the bytes
// are read as form data too. What is written as form data must be read back alike.
#include <string>

#include "document_walk.h"
#include "sheaf/document/forms/flattener.h"
#include "sheaf/document/forms/form_data.h"
#include "sheaf/document/forms/form_filler.h"
#include "sheaf/neighbours/page/acro_form.h"

using namespace sheaf;

namespace {

constexpr std::size_t kMostBytes = 1 << 16;
constexpr std::int32_t kMostFields = 50;

std::string names_of(const CPDFFormData& data) {
  std::string all;
  for (std::int32_t i = 0; i < data.count(); ++i)
    all += std::string(data.name(i)) + "\n";
  return all;
}

void read_as_data(const std::uint8_t* bytes, std::size_t size) {
  CopiedFile file(bytes, size);
  CPDFFormData fdf;
  CPDFFormData xfdf;
  fdf.read_fdf(file);
  xfdf.read_xfdf(reinterpret_cast<const char*>(bytes), size);
  CQVStreamMem out;
  CPDFFormData again;
  if (fdf.count() > 0 && fdf.write_xfdf(out, nullptr))
    again.read_xfdf(reinterpret_cast<const char*>(out.data), out.len);
  names_of(again);
}

void fill_and_flatten(const std::uint8_t* bytes, std::size_t size) {
  CopiedFile file(bytes, size);
  CPDFDoc doc;
  doc.set_password("user");
  if (!doc.open(&file) || !doc.is_readable())
    return;
  doc.table().decoded_ceiling = kMostDecoded;
  CPDFFormData data;
  data.read_form(doc);
  CPDFFormFiller filler(doc);
  if (filler.load()) {
    filler.fill_read_only(true);
    for (std::int32_t i = 0; i < std::min(data.count(), kMostFields); ++i) {
      PDF_FIELD_TRAITS traits;
      CPDFFormData offers;
      filler.describe(data.name(i), traits, offers);
      filler.set(data.name(i), offers.count() > 0 ? offers.name(0) : "Some text, \xC3\xA9 and more\nof it");
    }
    filler.draw_missing();
    filler.finish();
  }
  CPDFFlattener flattener(doc);
  if (flattener.run(size % 2 == 0 ? PDF_FLATTEN::kAll : PDF_FLATTEN::kWidgets))
    doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kMostBytes)
    return 0;
  read_as_data(data, size);
  fill_and_flatten(data, size);
  return 0;
}
