// Prints the fields of a document's form, gives one of them a new value in a copy, and makes another copy in which the
// form is part of the pages.
//
//   fill_form FILE.pdf [FIELD VALUE]
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "sheaf/document/doc.h"
#include "sheaf/document/forms/flattener.h"
#include "sheaf/document/forms/form_data.h"
#include "sheaf/document/forms/form_filler.h"

namespace {

bool copy(const char* from, const char* to) {
  std::error_code failure;
  return std::filesystem::copy_file(from, to, std::filesystem::copy_options::overwrite_existing, failure);
}

void print_fields(CPDFDoc& doc) {
  CPDFFormData data;
  data.read_form(doc);
  for (std::int32_t i = 0; i < data.count(); ++i) {
    for (std::int32_t k = 0; k < data.value_count(i); ++k)
      std::printf("%s: %s\n", data.name(i), data.value(i, k));
  }
}

bool fill(CPDFDoc& doc, const char* name, const char* value) {
  CPDFFormFiller filler(doc);
  if (!filler.load()) {
    std::fprintf(stderr, "the document has no form\n");
    return false;
  }
  const PDF_FILL result = filler.set(name, value);
  if (result != PDF_FILL::kDone) {
    std::fprintf(stderr, "%s: %s\n", name, CPDFFormFiller::reason(result));
    return false;
  }
  return filler.finish() && doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr);
}

// A complete new file, so that nothing of the form is left in it.
bool flatten(CPDFDoc& doc, const char* path) {
  CPDFFlattener flattener(doc);
  CQVStreamFile out;
  out.file = std::fopen(path, "w+b");
  if (out.file == nullptr || !flattener.run(PDF_FLATTEN::kWidgets))
    return false;
  CPDFXRefTable target;
  target.stream = &out;
  doc.save_complete(target, nullptr);
  std::printf("%s: %d of the form's widgets drawn\n", path, flattener.report().drawn);
  return target.write_failed == 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || !copy(argv[1], "filled.pdf"))
    return 2;
  CPDFDoc doc;
  if (!doc.open_for_update("filled.pdf") || !doc.is_readable())
    return 2;
  print_fields(doc);
  if (argc != 4)
    return 0;
  if (!fill(doc, argv[2], argv[3]))
    return 2;
  print_fields(doc);
  return flatten(doc, "flattened.pdf") ? 0 : 2;
}
