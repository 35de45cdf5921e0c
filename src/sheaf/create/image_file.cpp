// Reads an image file into memory, and stores its bytes as the stream of an image XObject.
#include <cstdio>
#include <cstring>

#include "sheaf/base/heap.h"
#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/create/image_dict_internal.h"
#include "sheaf/create/image_file_internal.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

std::uint8_t* load_file(const char* path, std::int32_t& len) {
  len = 0;
  std::FILE* const file = path != nullptr ? std::fopen(path, "rb") : nullptr;
  if (file == nullptr)
    return nullptr;
  const ScopeGuard close([file] { std::fclose(file); });
  const long start = std::ftell(file);
  std::fseek(file, 0, SEEK_END);
  const long size = std::ftell(file);
  if (start < 0 || size < 0 || size > INT32_MAX)
    return nullptr;
  std::fseek(file, start, SEEK_SET);
  const auto wanted = static_cast<std::size_t>(size);
  auto* data = static_cast<std::uint8_t*>(QVAlloc(wanted));
  if (data == nullptr)
    return nullptr;
  const std::size_t got = std::fread(data, 1, wanted, file);
  std::memset(data + got, 0, wanted - got);
  len = static_cast<std::int32_t>(size);
  return data;
}

PDF_REF embed_image(CPDFXRefTable& table, std::uint8_t* data, const ImageItems& items) {
  const HeapWatch watch;
  const PDF_REF ref{table.alloc_obj_num(), 0};
  CPDFStreamRec rec;
  table.write_stream_autofree(ref, &rec, data, static_cast<unsigned>(items.length));
  set_image_items(rec.dict, items);
  table.store_stream(ref, rec);
  return watch.all_granted() ? ref : PDF_REF{0, 0};
}

}  // namespace sheaf
