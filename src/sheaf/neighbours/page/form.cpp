// Loads box, matrix and resources first; the content is decoded by `load`.
#include "sheaf/neighbours/page/page.h"

#include <algorithm>
#include <iterator>
#include <memory>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr int kMostContent = 0x1000000;  // 16 MiB decoded, as for the stages of a filter chain
constexpr std::int32_t kMatrixLen = 6;

}  // namespace

CPDFForm::~CPDFForm() {
  clear();
}

void CPDFForm::clear() {
  constexpr QVFIX kIdentity[] = {kFixOne, 0, 0, kFixOne, 0, 0};
  std::copy(std::begin(kIdentity), std::end(kIdentity), matrix);
  box = {fix_from_int(INT32_MAX), fix_from_int(INT32_MAX), fix_from_int(INT32_MIN), fix_from_int(INT32_MIN)};
  is_bare = 1;
  table = nullptr;
  stream.free();
  resources_ref = {0, 0};
  resources.clear();
  QVFree(content);
  content = nullptr;
  content_len = 0;
}

// Anything but six numbers leaves the identity.
void CPDFForm::read_matrix(const CPDFObj* item) {
  const Freed<CPDFObj> value = table->value(item);
  const CPDFArray* array = value.as_array();
  if (array == nullptr || array->count < kMatrixLen)
    return;
  QVFIX read[kMatrixLen];
  for (std::int32_t i = 0; i < kMatrixLen; ++i) {
    const Freed<CPDFObj> number = table->value(array, i);
    if (!number.is_number())
      return;
    read[i] = number.to_real();
  }
  std::copy(std::begin(read), std::end(read), matrix);
}

bool CPDFForm::pre_load(CPDFXRefTable* from, const CPDFObj* obj) {
  clear();
  if (from == nullptr)
    return false;
  table = from;
  from->resolve(stream, obj);
  const CPDFStreamRec* rec = stream.as_stream();
  if (rec == nullptr)
    return false;
  from->read_obj_rect(box, rec->dict.get_item(CPDFDictionary::sm_tag_bbok));
  read_matrix(rec->dict.get_item("Matrix"));
  const CPDFObj* res = rec->dict.get_item(CPDFDictionary::sm_tag_res);
  if (res != nullptr)
    resources_ref = res->as_ref();
  resources.copy_from(from->value(res).as_dict());
  return true;
}

bool CPDFForm::load() {
  if (stream.as_stream() == nullptr)
    return false;
  const std::unique_ptr<CPDFStream> decoder(table->make_stream(stream.as_stream()));
  if (decoder == nullptr)
    return false;
  int len = 0;
  std::uint8_t* const loaded = decoder->buffer_load(decoder->most_text(kMostContent), len);
  if (loaded == nullptr)
    return false;
  QVFree(content);
  content = loaded;
  content_len = len;
  is_bare = 0;
  return true;
}
