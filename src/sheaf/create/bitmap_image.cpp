// Image XObjects from bitmaps: the colour as one compressed image, the alpha as its soft mask.
#include "sheaf/base/checked.h"
#include "sheaf/base/heap.h"
#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/create/image_dict_internal.h"
#include "sheaf/create/unpack_pixels.h"
#include "sheaf/neighbours/page/page.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr std::int32_t kColourBytes = 3;

// All samples together must stay within 31 bits. Rows may run into one another: a stride of 0 repeats one.
bool is_usable(const CQVBmp32* bmp) {
  if (bmp == nullptr || bmp->width < 1 || bmp->height < 1 || bmp->pixels == nullptr)
    return false;
  std::int32_t pixels = 0;
  std::int32_t bytes = 0;
  return checked_mul(bmp->width, bmp->height, pixels) && checked_mul(pixels, kColourBytes, bytes);
}

// The samples of all rows without gaps, `bytes` of them a pixel, compressed. Null without memory.
template <class Unpack>
unsigned char* compressed_samples(const CQVBmp32& bmp, std::int32_t bytes, int& size, const Unpack& unpack) {
  const std::size_t row_bytes = static_cast<std::size_t>(bmp.width) * static_cast<std::size_t>(bytes);
  const std::size_t total = row_bytes * static_cast<std::size_t>(bmp.height);
  const HeapBlock<std::uint8_t> samples(static_cast<std::uint8_t*>(QVAlloc(total)));
  if (!samples)
    return nullptr;
  for (std::int32_t y = 0; y < bmp.height; ++y) {
    const std::uint8_t* row = bmp.pixels + static_cast<std::ptrdiff_t>(y) * bmp.stride;
    unpack(row, samples.get() + static_cast<std::size_t>(y) * row_bytes, static_cast<std::size_t>(bmp.width));
  }
  return CPDFXRefTable::compress_data(samples.get(), static_cast<int>(total), size);
}

// Stores compressed samples, which it takes over, as the image `ref`.
void store_samples(CPDFXRefTable& table, const PDF_REF& ref, const CQVBmp32& bmp, const char* colour_space,
                   unsigned char* compressed, int size, const PDF_REF& mask) {
  CPDFStreamRec rec;
  table.write_stream_autofree(ref, &rec, compressed, static_cast<unsigned>(size));
  set_image_items(rec.dict, {bmp.width, bmp.height, colour_space, CPDFDictionary::sm_tag_fdec, size});
  if (mask.num != 0)
    rec.dict.set_item_ref("SMask", mask);
  table.store_stream(ref, rec);
}

}  // namespace

PDF_REF CPDFXRefTable::new_image_flate(const CQVBmp32* bmp, int swap_rb, int with_alpha) {
  if (!is_usable(bmp))
    return {0, 0};
  const HeapWatch watch;
  int size = 0;
  PDF_REF mask{0, 0};
  if (with_alpha != 0) {
    mask.num = alloc_obj_num();
    unsigned char* const alpha = compressed_samples(*bmp, 1, size, unpack_alpha);
    if (alpha == nullptr)
      return {0, 0};
    store_samples(*this, mask, *bmp, "DeviceGray", alpha, size, {0, 0});
  }
  const bool reversed = swap_rb != 0;
  unsigned char* const colour = compressed_samples(
      *bmp, kColourBytes, size,
      [reversed](const std::uint8_t* src, std::uint8_t* dst, std::size_t n) { unpack_colour(src, dst, n, reversed); });
  if (colour == nullptr)
    return {0, 0};
  const PDF_REF ref{alloc_obj_num(), 0};
  store_samples(*this, ref, *bmp, "DeviceRGB", colour, size, mask);
  return watch.all_granted() ? ref : PDF_REF{0, 0};
}
