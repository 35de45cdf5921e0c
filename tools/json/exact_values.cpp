// A string is a text where that text gives its bytes back, and hexadecimal digits otherwise; a real keeps the digits
// that PDF syntax would have.
#include "json/exact_values.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <new>

#include "sheaf/base/chars.h"
#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/parse_buf.h"
#include "sheaf/object/text_utf8.h"
#include "support/tool_support.h"
#include "support/utf8_steps.h"

namespace sheaf::tool {

namespace {

constexpr int kMostDepth = 512;  // as deep as PDF syntax is read
constexpr std::string_view kBytesMark = "bytes:";

std::string hex_of(std::string_view bytes) {
  return hex_text({static_cast<std::int32_t>(bytes.size()), const_cast<char*>(bytes.data())});
}

// Whether the text, made a string again, has the same bytes.
bool comes_back(const PDF_String& text, const std::string& utf8) {
  if (!is_utf8(utf8) || utf8.find('\0') != std::string::npos)
    return false;
  PDF_String again{0, nullptr};
  text_from_utf8(utf8.c_str(), again);
  const bool same = again.len == text.len &&
                    (text.len == 0 || std::memcmp(again.data, text.data, static_cast<std::size_t>(text.len)) == 0);
  QVFree(again.data);
  return same;
}

void write_string(JsonWriter& json, const PDF_String& text, JsonForm form) {
  const std::string utf8 = utf8_text(text);
  const bool is_text = comes_back(text, utf8);
  if (form == JsonForm::kQpdf)
    json.text(is_text ? "u:" + utf8 : "b:" + hex_text(text));
  else if (is_text)
    json.text(utf8);
  else
    json.begin_object().key("bytes").text(hex_text(text)).end_object();
}

// In qpdf's form a name that is no UTF-8 is one of PDF syntax; in this tool's own a mark says so.
std::string name_text(const char* name, JsonForm form) {
  const std::string_view text = name != nullptr ? name : "";
  if (form == JsonForm::kQpdf) {
    CPDFObj value{};
    value.set_name(text.data(), text.size());
    std::string out = is_utf8(text) ? "/" + std::string(text) : "n:" + syntax_text(value);
    value.free();
    return out;
  }
  const bool plain = is_utf8(text) && text.substr(0, kBytesMark.size()) != kBytesMark;
  return plain ? std::string(text) : std::string(kBytesMark) + hex_of(text);
}

// PDF syntax may leave out the digit on either side of the point.
std::string real_text(const CPDFObj& value) {
  std::string text = syntax_text(value);
  const std::size_t first = text[0] == '-' ? 1 : 0;
  if (text[first] == '.')
    text.insert(first, "0");
  if (text.back() == '.')
    text += '0';
  return text;
}

void write_at(JsonWriter& json, const CPDFObj& value, JsonForm form, int depth);

void write_members(JsonWriter& json, const CPDFDictionary& dict, JsonForm form, const char* without, int depth) {
  json.begin_object();
  if (form == JsonForm::kOwn)
    json.key("dictionary").begin_object();
  for (std::int32_t i = 0; i < dict.count; ++i) {
    if (without != nullptr && std::strcmp(dict.items[i]->key(), without) == 0)
      continue;
    json.key(name_text(dict.items[i]->key(), form));
    write_at(json, *dict.items[i], form, depth + 1);
  }
  if (form == JsonForm::kOwn)
    json.end_object();
  json.end_object();
}

void write_at(JsonWriter& json, const CPDFObj& value, JsonForm form, int depth) {
  const bool own = form == JsonForm::kOwn;
  const PDF_REF ref = value.as_ref();
  switch (depth < kMostDepth ? value.tag : std::int32_t{kTagNull}) {
    case kTagBool:
      json.flag(value.as_bool());
      return;
    case kTagInt:
      json.number(value.as_int());
      return;
    case kTagReal:
      json.raw(real_text(value));
      return;
    case kTagString:
      write_string(json, value.as_string(), form);
      return;
    case kTagName:
      if (own)
        json.begin_object().key("name").text(name_text(value.as_name(), form)).end_object();
      else
        json.text(name_text(value.as_name(), form));
      return;
    case kTagRef:
      if (own)
        json.begin_object().key("object").number(ref.num).key("generation").number(ref.gen).end_object();
      else
        json.text(std::to_string(ref.num) + " " + std::to_string(ref.gen) + " R");
      return;
    case kTagArray:
      json.begin_array();
      for (std::int32_t i = 0; i < value.as_array()->count; ++i)
        write_at(json, value.as_array()->items[i], form, depth + 1);
      json.end_array();
      return;
    case kTagDict:
      write_members(json, *value.as_dict(), form, nullptr, depth);
      return;
    default:
      json.null();
      return;
  }
}

bool read_hex(std::string_view text, std::string& bytes) {
  if (text.size() % 2 != 0)
    return false;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const int high = hex_value(text[i]);
    const int low = hex_value(text[i + 1]);
    if (high < 0 || low < 0)
      return false;
    bytes += static_cast<char>(high * 16 + low);
  }
  return true;
}

void set_bytes(CPDFObj& value, const std::string& bytes) {
  value.set_string(bytes.data(), static_cast<int>(bytes.size()));
}

bool set_text(CPDFObj& value, const std::string& utf8) {
  if (utf8.find('\0') != std::string::npos)
    return false;
  PDF_String text{0, nullptr};
  text_from_utf8(utf8.c_str(), text);
  value.set_string(text.data, text.len);
  QVFree(text.data);
  return true;
}

class Reader {
public:
  Reader(JsonForm form, std::string& trouble) : form_(form), trouble_(trouble) {}

  bool read(const JsonValue& json, CPDFObj& value, int depth) {
    value.free();
    if (depth > kMostDepth)
      return fail("values nested too deeply");
    switch (json.kind) {
      case JsonValue::Kind::kNull:
        return true;
      case JsonValue::Kind::kFlag:
        value.set_bool(json.flag ? 1 : 0);
        return true;
      case JsonValue::Kind::kNumber:
        return read_number(json.text, value);
      case JsonValue::Kind::kText:
        return form_ == JsonForm::kQpdf ? read_qpdf_text(json.text, value)
                                        : set_text(value, json.text) || fail("a string with a zero byte");
      case JsonValue::Kind::kArray:
        return read_array(json, value, depth);
      case JsonValue::Kind::kObject:
        return form_ == JsonForm::kQpdf ? read_members(json, value, depth) : read_own_object(json, value, depth);
    }
    return false;
  }

private:
  bool fail(const std::string& what) {
    trouble_ = what;
    return false;
  }

  // As PDF syntax reads it, but for an exponent, which that does not have.
  bool read_number(const std::string& text, CPDFObj& value) {
    const char* const end = text.data() + text.size();
    std::int32_t number = 0;
    const auto whole = std::from_chars(text.data(), end, number);
    if (whole.ec == std::errc() && whole.ptr == end) {
      value.set_int(number);
      return true;
    }
    if (text.find_first_of("eE") == std::string::npos) {
      std::string syntax = text;
      CPDFBufMem buf;
      buf.buf_init_mem(syntax.data(), static_cast<std::uint32_t>(syntax.size()));
      value.read(&buf, nullptr);
      return value.is_number() || fail("the number " + text);
    }
    double real = 0;
    const auto read = std::from_chars(text.data(), end, real);
    constexpr double kMost = 6.8e10;  // what fits before 26 bits of fraction
    if (read.ec != std::errc() || read.ptr != end || !(real > -kMost && real < kMost))
      return fail("the number " + text);
    value.set_real(static_cast<QVFIX>(std::llround(real * static_cast<double>(kFixOne))));
    return true;
  }

  bool read_name(const std::string& text, std::string& name) {
    if (form_ == JsonForm::kOwn && text.compare(0, kBytesMark.size(), kBytesMark) == 0)
      return read_hex(std::string_view(text).substr(kBytesMark.size()), name) || fail("the name " + text);
    if (form_ == JsonForm::kOwn) {
      name = text;
      return name.find('\0') == std::string::npos || fail("a name with a zero byte");
    }
    if (text.compare(0, 1, "/") == 0) {
      name = text.substr(1);
      return true;
    }
    if (text.compare(0, 3, "n:/") != 0)
      return fail("the name " + text);
    for (std::size_t i = 3; i < text.size(); ++i) {
      const bool escaped =
          text[i] == '#' && i + 2 < text.size() && hex_value(text[i + 1]) >= 0 && hex_value(text[i + 2]) >= 0;
      name += escaped ? static_cast<char>(hex_value(text[i + 1]) * 16 + hex_value(text[i + 2])) : text[i];
      i += escaped ? 2 : 0;
    }
    return true;
  }

  static bool read_reference(const std::string& text, PDF_REF& ref) {
    const char* const end = text.data() + text.size();
    const auto num = std::from_chars(text.data(), end, ref.num);
    if (num.ec != std::errc() || num.ptr == end || *num.ptr != ' ')
      return false;
    const auto gen = std::from_chars(num.ptr + 1, end, ref.gen);
    return gen.ec == std::errc() && std::string_view(gen.ptr, static_cast<std::size_t>(end - gen.ptr)) == " R" &&
           ref.num > 0 && ref.gen >= 0;
  }

  bool read_qpdf_text(const std::string& text, CPDFObj& value) {
    PDF_REF ref{0, 0};
    std::string bytes;
    if (text.compare(0, 2, "u:") == 0)
      return set_text(value, text.substr(2)) || fail("a string with a zero byte");
    if (text.compare(0, 2, "b:") == 0 && read_hex(std::string_view(text).substr(2), bytes)) {
      set_bytes(value, bytes);
      return true;
    }
    if (text.compare(0, 1, "/") == 0 || text.compare(0, 3, "n:/") == 0) {
      if (!read_name(text, bytes))
        return false;
      value.set_name(bytes.data(), bytes.size());
      return true;
    }
    if (!read_reference(text, ref))
      return fail("the text \"" + text + "\"");
    value.set_ref(ref);
    return true;
  }

  bool read_array(const JsonValue& json, CPDFObj& value, int depth) {
    value.take_array(new (std::nothrow) CPDFArray);
    for (const JsonValue& item : json.items) {
      Freed<CPDFObj> element;
      if (value.as_array() == nullptr || !read(item, element, depth + 1))
        return false;
      value.as_array()->append_moved(element);
    }
    return value.as_array() != nullptr;
  }

  bool read_members(const JsonValue& json, CPDFObj& value, int depth) {
    value.take_dict(new (std::nothrow) CPDFDictionary);
    for (const JsonValue& item : json.items) {
      Freed<CPDFObj> element;
      std::string key;
      if (value.as_dict() == nullptr || !read_name(item.name, key) || !read(item, element, depth + 1))
        return false;
      if (!element.is_null())
        value.as_dict()->move_item(key.c_str(), element);
    }
    return value.as_dict() != nullptr;
  }

  bool read_own_object(const JsonValue& json, CPDFObj& value, int depth) {
    std::string bytes;
    const JsonValue* const name = json.member("name");
    const JsonValue* const string = json.member("bytes");
    const JsonValue* const object = json.member("object");
    const JsonValue* const generation = json.member("generation");
    const JsonValue* const members = json.member("dictionary");
    if (members != nullptr && members->kind == JsonValue::Kind::kObject)
      return read_members(*members, value, depth);
    if (name != nullptr && name->kind == JsonValue::Kind::kText && read_name(name->text, bytes)) {
      value.set_name(bytes.data(), bytes.size());
      return true;
    }
    if (string != nullptr && string->kind == JsonValue::Kind::kText && read_hex(string->text, bytes)) {
      set_bytes(value, bytes);
      return true;
    }
    PDF_REF ref{0, 0};
    if (object == nullptr || generation == nullptr ||
        !read_reference(object->text + " " + generation->text + " R", ref))
      return fail("an object that is no name, string, dictionary or reference");
    value.set_ref(ref);
    return true;
  }

  JsonForm form_;
  std::string& trouble_;
};

}  // namespace

void write_exact(JsonWriter& json, const CPDFObj& value, JsonForm form) {
  write_at(json, value, form, 0);
}

void write_exact_dictionary(JsonWriter& json, const CPDFDictionary& dict, JsonForm form, const char* without) {
  write_members(json, dict, form, without, 0);
}

bool read_exact(const JsonValue& json, JsonForm form, CPDFObj& value, std::string& trouble) {
  return Reader(form, trouble).read(json, value, 0);
}

}  // namespace sheaf::tool
