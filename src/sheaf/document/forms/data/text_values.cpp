// Strings, names and lists of them become texts; values of other kinds have none.
#include "sheaf/document/forms/data/text_values_internal.h"

#include <memory>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/forms/form_data.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/object/array.h"
#include "sheaf/object/text_utf8.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

namespace {

constexpr int kMostText = 1 << 24;  // bytes of a value that is a stream

void add_text(const PDF_String& text, CPDFFormData& data) {
  std::size_t len = 0;
  const HeapBlock<char> utf8(text_to_utf8(text, len));
  if (utf8)
    data.add_value(utf8.get(), false);
}

void add_one(CPDFXRefTable& table, const CPDFObj& value, CPDFFormData& data) {
  if (value.as_name() != nullptr) {
    data.add_value(value.as_name(), true);
  } else if (value.as_stream() != nullptr) {
    const std::unique_ptr<CPDFStream> decoder(table.make_stream(value.as_stream()));
    int len = 0;
    const HeapBlock<unsigned char> bytes(decoder != nullptr ? decoder->buffer_load(decoder->most_text(kMostText), len)
                                                            : nullptr);
    add_text({len, reinterpret_cast<char*>(bytes.get())}, data);
  } else if (value.tag == kTagString) {
    add_text(value.as_string(), data);
  }
}

}  // namespace

bool has_text(const CPDFObj& value) {
  return value.tag == kTagString || value.as_name() != nullptr || value.as_stream() != nullptr ||
         value.as_array() != nullptr;
}

void add_texts(CPDFXRefTable& table, const CPDFObj& value, CPDFFormData& data) {
  const CPDFArray* const list = value.as_array();
  if (list == nullptr)
    add_one(table, value, data);
  for (std::int32_t i = 0; list != nullptr && i < list->count; ++i) {
    const Freed<CPDFObj> item = table.value(list, i);
    add_one(table, item, data);
  }
}

}  // namespace sheaf
