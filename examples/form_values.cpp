// Writes the values of a document's form to values.fdf, and sets the values of an FDF file, by default those, in a
// copy.
//
//   form_values FILE.pdf [VALUES.fdf]
#include <cstdio>
#include <string>

#include "sheaf/document/doc.h"
#include "sheaf/document/forms/form_data.h"
#include "sheaf/sheaf.hpp"

namespace {

bool write_values(sheaf::Document& doc, const char* path) {
  CPDFFormData data;
  CQVStreamFile out;
  out.file = std::fopen(path, "w+b");
  return out.file != nullptr && data.read_form(doc.below()) && data.write_fdf(out, nullptr);
}

bool set_values(sheaf::Document& doc, const char* path) {
  CPDFFormData data;
  CQVStreamFile in;
  in.file = std::fopen(path, "rb");
  if (in.file == nullptr || !data.read_fdf(in))
    return false;
  for (std::int32_t i = 0; i < data.count(); ++i) {
    for (std::int32_t k = 0; k < data.value_count(i); ++k) {
      std::printf("%s: %s\n", data.name(i), data.value(i, k));
      const auto set = doc.form().field(data.name(i)).set(std::string(data.value(i, k)));
      if (!set)
        std::fprintf(stderr, "%s\n", set.error().message.c_str());
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2)
    return 2;
  auto doc = sheaf::Document::open(argv[1]);
  if (!doc || !write_values(*doc, "values.fdf") || !set_values(*doc, argc > 2 ? argv[2] : "values.fdf"))
    return 2;
  return doc->save_as("form_values.pdf") ? 0 : 2;
}
