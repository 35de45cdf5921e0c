// Embedded files and their file specifications (ISO 32000-1, 7.11).
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "sheaf/base/heap.h"
#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/wide_text.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr int kNameMost = 256;  // wide characters of a base name, with the 0

// The last component of a path of any origin: all three separators count on every platform.
const char* base_name(const char* path) {
  const char* start = path;
  for (const char* at = path; *at != 0; ++at) {
    if (*at == '/' || *at == ':' || *at == '\\')
      start = at + 1;
  }
  return start;
}

// Embeds the bytes of the file. Number 0, with none used up, when it cannot be opened or is too large.
PDF_REF embed_file(CPDFXRefTable& table, const char* path) {
  CQVStreamFile file;
  file.Open(path);
  struct stat info = {};
  table.file_too_large = 0;
  if (file.file == nullptr || fstat(fileno(file.file), &info) != 0)
    return {0, 0};
  if (S_ISREG(info.st_mode) && info.st_size > INT32_MAX) {
    table.file_too_large = 1;
    return {0, 0};
  }
  const PDF_REF ref{table.alloc_obj_num(), 0};
  CPDFStreamRec rec;
  if (S_ISREG(info.st_mode))
    table.write_stream(ref, &rec, &file);
  else
    table.write_stream(ref, &rec, "", 0);  // a folder: what its length says counts no bytes
  file.Close();
  table.store_stream(ref, rec);
  return ref;
}

int make_spec(CPDFXRefTable& table, const char* path, const PDF_REF& data) {
  const char* const name = base_name(path);
  Cleared<CPDFDictionary> files;
  files.set_item_ref("F", data);
  files.set_item_ref("UF", data);
  Cleared<CPDFDictionary> spec;
  spec.set_item_name(CPDFDictionary::sm_tag_type, "Filespec");
  spec.set_item_str("F", name, static_cast<int>(std::strlen(name)));
  wchar_t wide[kNameMost];
  cvt_ltou(name, wide, kNameMost);
  PDF_String text;
  text.init(wide, 1);
  spec.set_item_str("UF", text.data, text.len);
  QVFree(text.data);
  spec.set_item_dict("EF", &files);
  const PDF_REF ref{table.alloc_obj_num(), 0};
  table.store_dict(ref, &spec);
  return ref.num;
}

}  // namespace

int CPDFXRefTable::new_file_spec(const char* path) {
  if (path == nullptr)
    return 0;
  const HeapWatch watch;
  const PDF_REF data = embed_file(*this, path);
  const int spec = data.num != 0 ? make_spec(*this, path, data) : 0;
  return watch.all_granted() ? spec : 0;
}

int CPDFXRefTable::new_file_spec(const char* path, PDF_String& name) {
  const int num = new_file_spec(path);
  if (num == 0)
    return 0;
  const char* const base = base_name(path);
  const std::size_t len = std::strlen(base);
  name = {0, static_cast<char*>(QVAlloc(len + 1))};
  if (name.data == nullptr)
    return num;
  std::memcpy(name.data, base, len + 1);
  name.len = static_cast<std::int32_t>(len);
  return num;
}
