// Reads an image's dictionary, and decodes its data up to the last filter or as a whole.
#include "sheaf/document/images/image.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/ccitt.h"
#include "sheaf/filters/picture_budget.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr int kMostEncoded = 1 << 28;  // what the filters before the last one may give

// Takes the last one off a list of filters or of their parameters.
void drop_last(CPDFXRefTable& table, CPDFDictionary& dict, const char* key) {
  Freed<CPDFObj> list = table.value(&dict, key);
  const CPDFArray* from = list.as_array();
  Cleared<CPDFArray> rest;
  for (std::int32_t i = 0; from != nullptr && i + 1 < from->count; ++i)
    rest.append(from->items + i);
  if (rest.count != 0)
    dict.set_item_arr(key, &rest);
  else
    dict.set_item(key, nullptr);
}

std::int64_t row_bytes_of(const CPDFStreamFAX& fax) {
  return (std::int64_t{std::max(fax.columns, 1)} + 7) / 8;
}

// The rows of CCITT data as one run of bytes. Their decoder gives a row a call and goes on with blank
// ones after the end of the data, so that the image has to say where it ends.
class FaxRows : public CPDFStream {
public:
  FaxRows(std::unique_ptr<CPDFStreamFAX> fax, std::int64_t rows)
      : CPDFStream(nullptr, 0),
        fax_(std::move(fax)),
        row_(static_cast<std::uint8_t*>(QVAlloc(static_cast<std::size_t>(row_bytes_of(*fax_))))),
        row_bytes_(static_cast<int>(row_bytes_of(*fax_))),
        rows_left_(row_ ? rows : 0) {}

  void close() override {
    rows_left_ = pos_ = end_ = 0;
    fax_->close();
  }
  int read_block(void* dst, int size) override {
    auto* out = static_cast<std::uint8_t*>(dst);
    int total = 0;
    while (total < size && (pos_ < end_ || next_row())) {
      const int count = std::min(end_ - pos_, size - total);
      std::memcpy(out + total, row_.get() + pos_, static_cast<std::size_t>(count));
      pos_ += count;
      total += count;
    }
    return total;
  }

private:
  bool next_row() {
    if (rows_left_ <= 0 || fax_->read_block(row_.get(), row_bytes_) != row_bytes_) {
      rows_left_ = 0;
      return false;
    }
    --rows_left_;
    pos_ = 0;
    end_ = row_bytes_;
    return true;
  }

  std::unique_ptr<CPDFStreamFAX> fax_;
  HeapBlock<std::uint8_t> row_;
  int row_bytes_;
  std::int64_t rows_left_;
  int pos_ = 0;
  int end_ = 0;  // bytes of the present row
};

}  // namespace

CPDFImage::~CPDFImage() {
  colour_space.free();
  decode.free();
  stream_.free();
}

void CPDFImage::read_filter(const CPDFObj* item) {
  Freed<CPDFObj> chain = table_->value(item);
  const CPDFArray* list = chain.as_array();
  filter_count = list != nullptr ? list->count : chain.as_text() != nullptr ? 1 : 0;
  filter[0] = 0;
  if (filter_count == 0)
    return;
  Freed<CPDFObj> last = table_->value(list != nullptr ? list->items + list->count - 1 : &chain);
  const char* const name = long_filter_name(last.as_text());
  const std::size_t len = std::min(name != nullptr ? std::strlen(name) : 0, sizeof(filter) - 1);
  std::copy_n(name, len, filter);
  filter[len] = 0;
}

bool CPDFImage::load(CPDFXRefTable& table, const CPDFObj& obj) {
  table_ = &table;
  stream_.copy_from(&obj);
  const CPDFStreamRec* rec = stream_.as_stream();
  if (rec == nullptr)
    return false;
  const auto number = [&](const char* key) {
    Freed<CPDFObj> value = table.value(&rec->dict, key);
    return std::max(value.to_int(), 0);
  };
  Freed<CPDFObj> kind = table.value(&rec->dict, CPDFDictionary::sm_tag_subtype);
  if (!kind.is_name("Image"))
    return false;
  width = number(CPDFDictionary::sm_tag_width);
  height = number(CPDFDictionary::sm_tag_height);
  bits = number(CPDFDictionary::sm_tag_bpc);
  Freed<CPDFObj> mask = table.value(&rec->dict, "ImageMask");
  is_mask = mask.as_bool();
  bits = is_mask ? 1 : bits;
  opacity_in_data = number("SMaskInData");
  table.resolve(colour_space, rec->dict.get_item(CPDFDictionary::sm_tag_cs));
  table.resolve(decode, rec->dict.get_item("Decode"));
  read_filter(rec->dict.get_item(CPDFDictionary::sm_tag_filter));
  stored_length = rec->length > 0 ? rec->length : number(CPDFDictionary::sm_tag_length);
  return true;
}

std::uint8_t* CPDFImage::load_encoded(std::int32_t& len) const {
  len = 0;
  const CPDFStreamRec* rec = stream_.as_stream();
  if (rec == nullptr || filter_count <= 1)
    return rec != nullptr ? table_->load_raw_data(rec, len) : nullptr;
  CPDFStreamRec front;
  const ScopeGuard clear([&front] { front.clear(); });
  front.dict.copy_from(&rec->dict);
  front.copy_location(*rec);
  drop_last(*table_, front.dict, CPDFDictionary::sm_tag_filter);
  drop_last(*table_, front.dict, "DecodeParms");
  const std::unique_ptr<CPDFStream> decoder(table_->make_stream(&front));
  return decoder != nullptr ? decoder->buffer_load(kMostEncoded, len) : nullptr;
}

void CPDFImage::last_parms(CPDFDictionary& out) const {
  const CPDFStreamRec* rec = stream_.as_stream();
  const Freed<CPDFObj> parms = table_->value(rec != nullptr ? &rec->dict : nullptr, "DecodeParms");
  const CPDFArray* list = parms.as_array();
  const Freed<CPDFObj> last = table_->value(list, filter_count - 1);
  out.copy_from(list != nullptr ? last.as_dict() : parms.as_dict());
}

CPDFStream* CPDFImage::open_samples() const {
  std::unique_ptr<CPDFStream> decoder(stream_.as_stream() != nullptr ? table_->make_stream(stream_.as_stream())
                                                                     : nullptr);
  if (decoder == nullptr || decoder->filter_type != kFilterCCITTFax)
    return decoder.release();
  std::unique_ptr<CPDFStreamFAX> fax(static_cast<CPDFStreamFAX*>(decoder.release()));
  const std::int64_t rows = height > 0 ? height : fax->rows;
  const std::int64_t most = picture_budget(fax->left, table_->picture_ceiling) / row_bytes_of(*fax);
  return new (std::nothrow) FaxRows(std::move(fax), std::min(rows, most));
}
