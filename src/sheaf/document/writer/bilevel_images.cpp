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

bool decodes_to(CPDFXRefTable& table, const GrowArray<unsigned char>& data, const char* filter,
                const CPDFDictionary& parms, const unsigned char* rows, std::size_t row_size, std::int32_t width,
                std::int32_t height) {
  auto* const copy = static_cast<unsigned char*>(QVAlloc(data.size()));
  const HeapBlock<unsigned char> row(static_cast<unsigned char*>(QVAlloc(row_size)));
  if (copy == nullptr || !row) {
    QVFree(copy);
    return false;
  }
  std::memcpy(copy, data.begin(), data.size());
  const std::unique_ptr<CPDFStream> decoder(CPDFXRefTable::make_stream2(&table, copy, data.count(), filter, &parms));
  // The bits behind the last pixel of a row mean nothing.
  const auto last_mask = static_cast<unsigned char>(width % 8 == 0 ? 0xFF : 0xFF00 >> (width % 8));
  for (std::int32_t y = 0; y < height; ++y) {
    const unsigned char* const wanted = rows + static_cast<std::size_t>(y) * row_size;
    if (decoder == nullptr ||
        decoder->read_block(row.get(), static_cast<int>(row_size)) != static_cast<int>(row_size) ||
        std::memcmp(row.get(), wanted, row_size - 1) != 0 ||
        ((row[row_size - 1] ^ wanted[row_size - 1]) & last_mask) != 0)
      return false;
  }
  return true;
}

}  // namespace

bool pack_bilevel_image(CPDFXRefTable& table, StreamCoder& coder, CPDFStreamRec& rec) {
  if (!is_bilevel(table, rec.dict) || has_image_filter(table, rec.dict))
    return false;
  const std::int32_t width = table.value(&rec.dict, CPDFDictionary::sm_tag_width).to_int();
  const std::int32_t height = table.value(&rec.dict, CPDFDictionary::sm_tag_height).to_int();
  if (width < 1 || height < 1 || width > kMostSide || height > kMostSide)
    return false;
  const auto row_size = static_cast<std::size_t>((width + 7) / 8);
  const std::size_t size = row_size * static_cast<std::size_t>(height);
  int stored = 0;
  QVFree(table.load_raw_data(&rec, stored));
  // More rows than the data could hold are no picture.
  if (stored < kLeastStored || size > kMostPixels / 8 || size / kMostRatio > static_cast<std::size_t>(stored))
    return false;
  const std::unique_ptr<CPDFStream> decoder(table.make_stream(&rec));
  const HeapBlock<unsigned char> rows(static_cast<unsigned char*>(QVAlloc(size)));
  if (decoder == nullptr || !rows || !read_all(*decoder, rows.get(), size))
    return false;
  const auto best = static_cast<std::size_t>(stored);
  FaxEncoder fax(width);
  const std::unique_ptr<Jbig2Encoder> jbig2(new (std::nothrow) Jbig2Encoder(width, height));
  const auto encode = [&](auto& encoder) {
    for (std::size_t at = 0; at < size; at += row_size) {
      if (!encoder.add_row(rows.get() + at) || encoder.data().size() >= best)
        return false;
    }
    return encoder.finish() && encoder.data().size() < best;
  };
  const bool fits_fax = encode(fax);
  const bool fits_jbig2 = jbig2 != nullptr && encode(*jbig2);
  if (!fits_fax && !fits_jbig2)
    return false;
  const bool takes_fax = fits_fax && (!fits_jbig2 || fax.data().size() <= jbig2->data().size());
  const GrowArray<unsigned char>& packed = takes_fax ? fax.data() : jbig2->data();
  const char* const filter = takes_fax ? "CCITTFaxDecode" : "JBIG2Decode";
  Cleared<CPDFDictionary> parms;
  if (takes_fax)
    fill_parms(parms, width, height);
  if (!decodes_to(table, packed, filter, parms, rows.get(), row_size, width, height))
    return false;
  auto* const data = static_cast<unsigned char*>(QVAlloc(packed.size()));
  if (data == nullptr)
    return false;
  std::memcpy(data, packed.begin(), packed.size());
  rec.dict.set_item_name(CPDFDictionary::sm_tag_filter, filter);
  if (takes_fax)
    rec.dict.set_item_dict("DecodeParms", &parms);
  else
    rec.dict.set_item("DecodeParms", nullptr);
  coder.set_data(rec, data, packed.size());
  return true;
}

}  // namespace sheaf
