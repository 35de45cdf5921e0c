// Values for C.
#include "sheaf/c/handles_internal.h"

using namespace sheaf;
using namespace sheaf::c;

namespace {

// The failure that a change of a value left. The document is not known here, so the reason comes from the value.
sheaf_code report_change(bool good, const Value& value) {
  return good ? done() : fail(value.refusal());
}

// `what` goes under the key, at the index, or after the last element.
template <class What>
sheaf_code store(sheaf_value* value, const char* key, std::int32_t index, What&& what) {
  if (value == nullptr)
    return missing_argument();
  Value& target = value->value;
  if (key != nullptr)
    return report_change(target.set(key, std::forward<What>(what)), target);
  if (index == -1)
    return report_change(target.append(std::forward<What>(what)), target);
  return report_change(target.set(index, std::forward<What>(what)), target);
}

}  // namespace

extern "C" {

sheaf_code sheaf_root(sheaf_document* doc, sheaf_value** out) {
  return doc != nullptr && out != nullptr ? hand_out(out, doc->document.root()) : missing_argument();
}

sheaf_code sheaf_object(sheaf_document* doc, int32_t number, sheaf_value** out) {
  return doc != nullptr && out != nullptr ? hand_out(out, doc->document.object(number)) : missing_argument();
}

int32_t sheaf_object_count(sheaf_document* doc) {
  return doc != nullptr ? doc->document.objects().size() : 0;
}

sheaf_code sheaf_add(sheaf_document* doc, const char* syntax, sheaf_value** out) {
  if (doc == nullptr || syntax == nullptr || out == nullptr)
    return missing_argument();
  Object made = Object::parse(syntax);
  if (made.is_null())
    return fail(Code::kBadValue, "the text is no value in PDF syntax");
  return hand_out(out, doc->document.add(std::move(made)));
}

void sheaf_value_free(sheaf_value* value) {
  delete value;
}

// ---- reading ----

sheaf_kind sheaf_value_kind(const sheaf_value* value) {
  return value != nullptr ? static_cast<sheaf_kind>(value->value.kind()) : SHEAF_NULL;
}

int32_t sheaf_value_number(const sheaf_value* value) {
  return value != nullptr ? value->value.number() : 0;
}

int32_t sheaf_value_size(const sheaf_value* value) {
  return value != nullptr ? value->value.size() : 0;
}

sheaf_code sheaf_value_get(const sheaf_value* value, const char* key, int32_t index, sheaf_value** out) {
  if (value == nullptr || out == nullptr)
    return missing_argument();
  return hand_out(out, key != nullptr ? value->value[key] : value->value[index]);
}

const char* sheaf_value_key(const sheaf_value* value, int32_t index) {
  if (value == nullptr || index < 0 || value->value.is_array() || index >= value->value.size())
    return nullptr;
  return value->value.entries().at(index).key.data();  // keys end in a NUL
}

int32_t sheaf_value_bool(const sheaf_value* value) {
  return value != nullptr && value->value.as<bool>() ? 1 : 0;
}

int32_t sheaf_value_int(const sheaf_value* value) {
  return value != nullptr ? value->value.as<std::int32_t>() : 0;
}

double sheaf_value_real(const sheaf_value* value) {
  return value != nullptr ? value->value.as<double>() : 0;
}

const char* sheaf_value_bytes(const sheaf_value* value, size_t* count) {
  const std::string_view bytes = value != nullptr ? value->value.bytes() : std::string_view();
  if (count != nullptr)
    *count = bytes.size();
  return bytes.data() != nullptr ? bytes.data() : "";
}

sheaf_code sheaf_value_text(const sheaf_value* value, sheaf_data** out) {
  return value != nullptr && out != nullptr ? hand_out_text(out, value->value.text()) : missing_argument();
}

sheaf_code sheaf_value_print(const sheaf_value* value, sheaf_data** out) {
  return value != nullptr && out != nullptr ? hand_out_text(out, value->value.print()) : missing_argument();
}

// ---- changing ----

sheaf_code sheaf_value_set_bool(sheaf_value* value, const char* key, int32_t index, int32_t flag) {
  return store(value, key, index, Object(flag != 0));
}

sheaf_code sheaf_value_set_int(sheaf_value* value, const char* key, int32_t index, int64_t number) {
  return store(value, key, index, Object(number));
}

sheaf_code sheaf_value_set_real(sheaf_value* value, const char* key, int32_t index, double number) {
  return store(value, key, index, Object(number));
}

sheaf_code sheaf_value_set_name(sheaf_value* value, const char* key, int32_t index, const char* name) {
  return name != nullptr ? store(value, key, index, Object(Name(name))) : missing_argument();
}

sheaf_code sheaf_value_set_text(sheaf_value* value, const char* key, int32_t index, const char* text) {
  return text != nullptr ? store(value, key, index, Object(text)) : missing_argument();
}

sheaf_code sheaf_value_set_bytes(sheaf_value* value, const char* key, int32_t index, const void* bytes, size_t count) {
  if (bytes == nullptr && count != 0)
    return missing_argument();
  return store(value, key, index, Object(Bytes(std::string_view(static_cast<const char*>(bytes), count))));
}

sheaf_code sheaf_value_set_syntax(sheaf_value* value, const char* key, int32_t index, const char* syntax) {
  if (syntax == nullptr)
    return missing_argument();
  Object made = Object::parse(syntax);
  if (made.is_null())
    return fail(Code::kBadValue, "the text is no value in PDF syntax");
  return store(value, key, index, std::move(made));
}

sheaf_code sheaf_value_set_value(sheaf_value* value, const char* key, int32_t index, const sheaf_value* other) {
  return other != nullptr ? store(value, key, index, other->value) : missing_argument();
}

sheaf_code sheaf_value_remove(sheaf_value* value, const char* key, int32_t index) {
  if (value == nullptr)
    return missing_argument();
  const bool good = key != nullptr ? value->value.remove(key) : value->value.remove(index);
  return report_change(good, value->value);
}

// ---- streams ----

sheaf_code sheaf_value_decoded(const sheaf_value* stream, sheaf_data** out) {
  return stream != nullptr && out != nullptr ? hand_out_data(out, stream->value.decoded()) : missing_argument();
}

sheaf_code sheaf_value_stored(const sheaf_value* stream, sheaf_data** out) {
  return stream != nullptr && out != nullptr ? hand_out_data(out, stream->value.stored()) : missing_argument();
}

sheaf_code sheaf_value_write(sheaf_value* stream, const void* bytes, size_t count, int32_t plain) {
  if (stream == nullptr || (bytes == nullptr && count != 0))
    return missing_argument();
  const bool good =
      stream->value.write({static_cast<const char*>(bytes), count}, plain != 0 ? Coding::kPlain : Coding::kFlate);
  return report_change(good, stream->value);
}

}  // extern "C"
