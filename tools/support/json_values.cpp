// Names, references and dictionaries are objects with one member, so that they differ from texts.
#include "support/json_values.h"

#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "support/tool_support.h"
#include "support/utf8_steps.h"

namespace sheaf::tool {

namespace {

constexpr int kFormatVersion = 1;
constexpr int kMostDepth = 256;

void write_at(JsonWriter& json, const CPDFObj& value, int depth);

void write_items(JsonWriter& json, const CPDFArray& items, int depth) {
  json.begin_array();
  for (std::int32_t i = 0; i < items.count; ++i)
    write_at(json, items.items[i], depth);
  json.end_array();
}

void write_members(JsonWriter& json, const CPDFDictionary& dict, int depth) {
  json.begin_object().key("dictionary").begin_object();
  for (std::int32_t i = 0; i < dict.count; ++i) {
    json.key(dict.items[i]->key());
    write_at(json, *dict.items[i], depth);
  }
  json.end_object().end_object();
}

void write_at(JsonWriter& json, const CPDFObj& value, int depth) {
  if (depth == kMostDepth) {
    json.null();
    return;
  }
  switch (value.tag) {
    case kTagBool:
      json.flag(value.as_bool());
      return;
    case kTagInt:
      json.number(value.as_int());
      return;
    case kTagReal:
      json.real(to_double(value.to_real()));
      return;
    case kTagString:
      json.text(utf8_text(value.as_string()));
      return;
    case kTagName:
      json.begin_object().key("name").text(value.as_name() != nullptr ? value.as_name() : "").end_object();
      return;
    case kTagRef:
      json.begin_object().key("object").number(value.as_ref().num);
      json.key("generation").number(value.as_ref().gen).end_object();
      return;
    case kTagArray:
      write_items(json, *value.as_array(), depth + 1);
      return;
    case kTagDict:
      write_members(json, *value.as_dict(), depth + 1);
      return;
    default:
      json.null();
      return;
  }
}

}  // namespace

void write_file_name(JsonWriter& json, const std::string& key, const std::string& file) {
  json.key(key).text(file);
  if (is_utf8(file))
    return;
  const PDF_String bytes{static_cast<std::int32_t>(file.size()), const_cast<char*>(file.data())};
  json.key(key + "_bytes").text(hex_text(bytes));
}

JsonWriter& begin_report(JsonWriter& json, const std::string& file) {
  json.begin_object().key("version").number(kFormatVersion);
  write_file_name(json, "file", file);
  return json;
}

void write_value(JsonWriter& json, const CPDFObj& value) {
  write_at(json, value, 0);
}

}  // namespace sheaf::tool
