// Image XObjects from JPEG data, which are embedded as they are: only the header is looked at, for
// the size and the colour space.
#include "sheaf/base/heap.h"
#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/create/image_dict_internal.h"
#include "sheaf/create/image_file_internal.h"
#include "sheaf/create/image_files.h"
#include "sheaf/neighbours/decoders/jpeg_steps.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

const char* colour_space_name(J_COLOR_SPACE space) {
  switch (space) {
    case JCS_GRAYSCALE:
      return "DeviceGray";
    case JCS_RGB:
    case JCS_YCbCr:
      return "DeviceRGB";
    case JCS_CMYK:
    case JCS_YCCK:
      return "DeviceCMYK";
    default:
      return nullptr;
  }
}

// The items of the image that the data are. False when they are no JPEG or of no known colour space.
bool read_items(const std::uint8_t* data, std::int32_t len, ImageItems& items) {
  JpegSteps jpeg{};
  const ScopeGuard close([&jpeg] { jpeg_close(jpeg); });
  if (!jpeg_open(jpeg, data, static_cast<std::size_t>(len), PDFJPEG_Error_reporter, nullptr))
    return false;
  items = {static_cast<std::int32_t>(jpeg.cinfo.image_width), static_cast<std::int32_t>(jpeg.cinfo.image_height),
           colour_space_name(jpeg.cinfo.jpeg_color_space), "DCTDecode", len};
  return items.colour_space != nullptr;
}

}  // namespace

void PDFJPEG_Error_reporter(jpeg_common_struct* cinfo) {
  jpeg_give_up(cinfo);
}

PDF_REF CPDFXRefTable::new_image_jpeg(const char* path) {
  std::int32_t len = 0;
  HeapBlock<std::uint8_t> data(load_file(path, len));
  ImageItems items{};
  if (!data || !read_items(data.get(), len, items))
    return {0, 0};
  return embed_image(*this, data.release(), items);
}

PDF_REF CPDFXRefTable::new_image_jpeg_mem(const unsigned char* data, int len) {
  ImageItems items{};
  if (data == nullptr || len < 1 || !read_items(data, len, items))
    return {0, 0};
  const HeapWatch watch;
  const PDF_REF ref{alloc_obj_num(), 0};
  CPDFStreamRec rec;
  write_stream(ref, &rec, data, static_cast<unsigned>(len));
  set_image_items(rec.dict, items);
  store_stream(ref, rec);
  return watch.all_granted() ? ref : PDF_REF{0, 0};
}
