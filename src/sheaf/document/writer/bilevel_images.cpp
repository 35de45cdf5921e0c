// What was encoded is decoded again and compared, so that no pixel can change.
#include "sheaf/document/writer/bilevel_images.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/writer/fax_encoder.h"
#include "sheaf/document/writer/jbig2_encoder.h"
#include "sheaf/document/writer/stream_coder.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/neighbours/security/crypt_filter.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

namespace {

constexpr std::int32_t kMostSide = 1 << 16;
constexpr std::size_t kMostPixels = std::size_t{1} << 31;
constexpr std::int32_t kLeastStored = 64;
constexpr std::size_t kMostRatio = 1100;  // that of Flate is 1,032

// Reads exactly `size` bytes. False when the data end before.
bool read_all(CPDFStream& decoder, unsigned char* out, std::size_t size) {
  std::size_t done = 0;
  while (done < size) {
    const int got = decoder.read_block(out + done, static_cast<int>(std::min<std::size_t>(size - done, 1 << 20)));
    if (got <= 0)
      return false;
    done += static_cast<std::size_t>(got);
  }
  return true;
}

bool is_bilevel(CPDFXRefTable& table, const CPDFDictionary& dict) {
  if (!table.value(&dict, CPDFDictionary::sm_tag_subtype).is_name("Image") || dict.get_item("F") != nullptr ||
      named_crypt_filter(dict) != nullptr)
    return false;
  const Freed<CPDFObj> mask = table.value(&dict, "ImageMask");
  if (mask.as_bool())
    return true;
  if (table.value(&dict, CPDFDictionary::sm_tag_bpc).to_int() != 1)
    return false;
  const Freed<CPDFObj> space = table.value(&dict, CPDFDictionary::sm_tag_cs);
  const CPDFArray* const parts = space.as_array();
  const Freed<CPDFObj> family = table.value(parts, 0);
  return space.is_name("DeviceGray") || family.is_name("Indexed") || family.is_name("CalGray") ||
         family.is_name("Separation");
}

// Filters that may have made the image as small already, or that lose something.
bool has_image_filter(CPDFXRefTable& table, const CPDFDictionary& dict) {
  const Freed<CPDFObj> filter = table.value(&dict, CPDFDictionary::sm_tag_filter);
  const CPDFArray* const list = filter.as_array();
  const Freed<CPDFObj> last = list != nullptr ? table.value(list, list->count - 1) : table.value(&filter);
  const char* const name = long_filter_name(last.as_name());
  for (const char* other : {"JBIG2Decode", "CCITTFaxDecode", "DCTDecode", "JPXDecode"}) {
    if (name != nullptr && std::strcmp(name, other) == 0)
      return true;
  }
  return false;
}

void fill_parms(CPDFDictionary& parms, std::int32_t width, std::int32_t height) {
  parms.set_item_int("K", -1);
  parms.set_item_int("Columns", width);
  parms.set_item_int("Rows", height);
}

// The pixels of an image, rows padded to whole bytes.
struct BilevelRows {
  bool read(CPDFXRefTable& table, const CPDFStreamRec& rec, std::size_t stored);
  std::size_t size() const { return row_size * static_cast<std::size_t>(height); }
  const unsigned char* row(std::int32_t y) const { return data.get() + static_cast<std::size_t>(y) * row_size; }

  std::int32_t width = 0;
  std::int32_t height = 0;
  std::size_t row_size = 0;
  HeapBlock<unsigned char> data;
};

bool BilevelRows::read(CPDFXRefTable& table, const CPDFStreamRec& rec, std::size_t stored) {
  width = table.value(&rec.dict, CPDFDictionary::sm_tag_width).to_int();
  height = table.value(&rec.dict, CPDFDictionary::sm_tag_height).to_int();
  if (width < 1 || height < 1 || width > kMostSide || height > kMostSide)
    return false;
  row_size = static_cast<std::size_t>((width + 7) / 8);
  // More rows than the data could hold are no picture.
  if (size() > kMostPixels / 8 || size() / kMostRatio > stored)
    return false;
  const std::unique_ptr<CPDFStream> decoder(table.make_stream(&rec));
  data.reset(static_cast<unsigned char*>(QVAlloc(size())));
  return decoder != nullptr && data && read_all(*decoder, data.get(), size());
}

bool decodes_to(CPDFXRefTable& table, const GrowArray<unsigned char>& data, const char* filter,
                const CPDFDictionary& parms, const BilevelRows& image) {
  auto* const copy = static_cast<unsigned char*>(QVAlloc(data.size()));
  const HeapBlock<unsigned char> row(static_cast<unsigned char*>(QVAlloc(image.row_size)));
  if (copy == nullptr || !row) {
    QVFree(copy);
    return false;
  }
  std::memcpy(copy, data.begin(), data.size());
  const std::unique_ptr<CPDFStream> decoder(CPDFXRefTable::make_stream2(&table, copy, data.count(), filter, &parms));
  // The bits after the last pixel of a row mean nothing.
  const std::size_t last = image.row_size - 1;
  const auto last_mask = static_cast<unsigned char>(image.width % 8 == 0 ? 0xFF : 0xFF00 >> (image.width % 8));
  for (std::int32_t y = 0; y < image.height; ++y) {
    const unsigned char* const wanted = image.row(y);
    if (decoder == nullptr ||
        decoder->read_block(row.get(), static_cast<int>(image.row_size)) != static_cast<int>(image.row_size) ||
        std::memcmp(row.get(), wanted, last) != 0 || ((row[last] ^ wanted[last]) & last_mask) != 0)
      return false;
  }
  return true;
}

// Puts the data of an encoder into `rec`, if they decode to `image`.
bool replace_data(CPDFXRefTable& table, StreamCoder& coder, CPDFStreamRec& rec, const BilevelRows& image,
                  const GrowArray<unsigned char>& packed, const char* filter, const CPDFDictionary& parms) {
  if (!decodes_to(table, packed, filter, parms, image))
    return false;
  auto* const data = static_cast<unsigned char*>(QVAlloc(packed.size()));
  if (data == nullptr)
    return false;
  std::memcpy(data, packed.begin(), packed.size());
  rec.dict.set_item_name(CPDFDictionary::sm_tag_filter, filter);
  if (parms.count != 0)
    rec.dict.set_item_dict("DecodeParms", &parms);
  else
    rec.dict.set_item("DecodeParms", nullptr);
  coder.set_data(rec, data, packed.size());
  return true;
}

}  // namespace

bool pack_bilevel_image(CPDFXRefTable& table, StreamCoder& coder, CPDFStreamRec& rec) {
  if (!is_bilevel(table, rec.dict) || has_image_filter(table, rec.dict))
    return false;
  int stored = 0;
  QVFree(table.load_raw_data(&rec, stored));
  const auto best = static_cast<std::size_t>(std::max(stored, 0));
  BilevelRows image;
  if (stored < kLeastStored || !image.read(table, rec, best))
    return false;
  FaxEncoder fax(image.width);
  const std::unique_ptr<Jbig2Encoder> jbig2(new (std::nothrow) Jbig2Encoder(image.width, image.height));
  const auto encode = [&](auto& encoder) {
    for (std::int32_t y = 0; y < image.height; ++y) {
      if (!encoder.add_row(image.row(y)) || encoder.data().size() >= best)
        return false;
    }
    return encoder.finish() && encoder.data().size() < best;
  };
  const bool fits_fax = encode(fax);
  const bool fits_jbig2 = jbig2 != nullptr && encode(*jbig2);
  Cleared<CPDFDictionary> parms;
  if (fits_fax && (!fits_jbig2 || fax.data().size() <= jbig2->data().size())) {
    fill_parms(parms, image.width, image.height);
    return replace_data(table, coder, rec, image, fax.data(), "CCITTFaxDecode", parms);
  }
  return fits_jbig2 && replace_data(table, coder, rec, image, jbig2->data(), "JBIG2Decode", parms);
}

}  // namespace sheaf
