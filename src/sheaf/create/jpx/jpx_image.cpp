// Image XObjects from JPEG 2000 files, which are embedded as they are: only the headers are read,
// for the size. The colour space is the data's own.
#include <openjpeg.h>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/create/image_dict_internal.h"
#include "sheaf/create/image_file_internal.h"
#include "sheaf/create/image_files.h"
#include "sheaf/neighbours/decoders/jpx/jpx_header.h"
#include "sheaf/neighbours/decoders/jpx/jpx_source.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

bool read_size(const std::uint8_t* data, std::int32_t len, ImageItems& items) {
  const auto size = static_cast<std::size_t>(len);
  JpxHeader header;
  if (!find_jpx(data, size, header) || !jpx_can_cost(header.header_bytes, size))
    return false;
  JpxSource source;
  if (!source.open(data, size, {.is_bare = header.is_bare}, PDFOPJ_Error_callback, PDFOPJ_Warning_callback))
    return false;
  const opj_image& image = *source.image();
  items.width = static_cast<std::int32_t>(image.x1 - image.x0);
  items.height = static_cast<std::int32_t>(image.y1 - image.y0);
  return items.width >= 1 && items.height >= 1;
}

}  // namespace

void PDFOPJ_Error_callback(const char*, void*) {}

void PDFOPJ_Warning_callback(const char*, void*) {}

PDF_REF CPDFXRefTable::new_image_jpx(const char* path) {
  std::int32_t len = 0;
  HeapBlock<std::uint8_t> data(load_file(path, len));
  ImageItems items{0, 0, nullptr, "JPXDecode", len};
  if (!data || !read_size(data.get(), len, items))
    return {0, 0};
  return embed_image(*this, data.release(), items);
}
