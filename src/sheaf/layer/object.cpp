// Making values.
#include "sheaf/layer/object.h"

#include <cmath>
#include <limits>
#include <new>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/stream.h"
#include "sheaf/layer/value.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/parse_buf.h"
#include "sheaf/object/text_utf8.h"

namespace sheaf {

Object::Object(const Value& value) {
  const HeapWatch watch;
  value_.copy_from(&value.raw());
  is_whole_ = watch.all_granted();
}

Object Object::empty_array() {
  Object made;
  if (auto* const array = new (std::nothrow) CPDFArray)
    made.value_.take_array(array);
  made.is_whole_ = !made.is_null();
  return made;
}

Object Object::empty_dictionary() {
  Object made;
  if (auto* const dict = new (std::nothrow) CPDFDictionary)
    made.value_.take_dict(dict);
  made.is_whole_ = !made.is_null();
  return made;
}

Object Object::reference(std::int32_t number) {
  Object made;
  made.value_.set_ref({number, 0});
  return made;
}

Object Object::parse(std::string_view syntax) {
  Object made;
  if (syntax.size() > std::numeric_limits<std::uint32_t>::max())
    return made;
  const HeapWatch watch;
  CPDFBufMem buf;
  buf.buf_init_mem(syntax.data(), static_cast<std::uint32_t>(syntax.size()));
  if (buf.buf_skip_ws(true))
    made.value_.read(&buf, nullptr);
  if (made.value_.tag == kTagNoValue)
    made.value_.free();
  made.is_whole_ = watch.all_granted();
  return made;
}

void Object::set_number(std::int64_t number) {
  if (number >= std::numeric_limits<std::int32_t>::min() && number <= std::numeric_limits<std::int32_t>::max())
    value_.set_int(static_cast<std::int32_t>(number));
  else
    set_real(static_cast<double>(number));
}

void Object::set_real(double number) {
  constexpr double kMost = 137438953471.0;  // what fixed point holds
  const double bounded = std::isnan(number) ? 0 : std::fmin(std::fmax(number, -kMost), kMost);
  if (bounded == std::trunc(bounded) && std::fabs(bounded) <= std::numeric_limits<std::int32_t>::max()) {
    value_.set_int(static_cast<std::int32_t>(bounded));
    return;
  }
  value_.set_real(static_cast<QVFIX>(std::llround(bounded * static_cast<double>(kFixOne))));
}

void Object::set_name(std::string_view name) {
  const HeapWatch watch;
  value_.set_name(name.data(), name.size());
  is_whole_ = watch.all_granted();
}

void Object::set_text(std::string_view text) {
  const HeapWatch watch;
  const std::string utf8(text);
  PDF_String made{0, nullptr};
  text_from_utf8(utf8.c_str(), made);
  const HeapBlock<char> bytes(made.data);
  value_.set_string(made.data, made.len);
  is_whole_ = watch.all_granted();
}

void Object::set_bytes(std::string_view bytes) {
  const HeapWatch watch;
  const bool fits = bytes.size() <= static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
  if (fits)
    value_.set_string(bytes.data(), static_cast<int>(bytes.size()));
  is_whole_ = fits && watch.all_granted();
}

Object& Object::set(std::string_view key, Object value) {
  const HeapWatch watch;
  CPDFDictionary* const dict = value_.as_dict();
  const std::string name(key);
  if (dict != nullptr && value.is_null())
    dict->set_item(name.c_str(), nullptr);
  else if (dict != nullptr)
    dict->move_item(name.c_str(), value.value_);
  is_whole_ = is_whole_ && value.is_whole_ && watch.all_granted();
  return *this;
}

Object& Object::append(Object value) {
  const HeapWatch watch;
  if (value_.as_array() != nullptr)
    value_.as_array()->append_moved(value.value_);
  is_whole_ = is_whole_ && value.is_whole_ && watch.all_granted();
  return *this;
}

std::string Object::print() const {
  CQVStreamMem out;
  value_.write(&out, nullptr);
  return {reinterpret_cast<const char*>(out.data), out.len};
}

}  // namespace sheaf
