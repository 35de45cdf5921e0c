// Arrays of a few plain values stay on one line; everything else that holds values opens lines of its own.
#include "sheaf/document/writer/readable_print.h"

#include <cstring>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/scalar_print.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

namespace {

constexpr std::int32_t kMostOnLine = 8;
constexpr std::size_t kMostIndent = 40;

class ReadablePrinter {
public:
  explicit ReadablePrinter(CQVStream& out) : out_(&out) {}

  void number(std::int32_t value) { print_integer(out_, value); }
  void text(const char* text) { out_.text(text); }
  void bytes(const unsigned char* data, int size) {
    out_.text({reinterpret_cast<const char*>(data), static_cast<std::size_t>(size)});
  }
  void value(const CPDFObj& value) {
    print(value);
    while (!open_.empty())
      go_on();
  }
  void dictionary(const CPDFDictionary& dict) {
    open({nullptr, &dict, 0, false});
    while (!open_.empty())
      go_on();
  }
  /// The dictionary of a stream, with its true length.
  void stream_dictionary(const CPDFDictionary& dict, std::int32_t length) {
    length_ = length;
    has_stream_ = true;
    dictionary(dict);
  }

private:
  struct Open {
    const CPDFArray* array;
    const CPDFDictionary* dict;
    std::int32_t next;
    bool on_line;
  };

  void line() {
    out_.line_end();
    for (std::size_t i = 0; i < open_.size() && i < kMostIndent; ++i)
      out_.text("  ");
  }
  void open(const Open& container) {
    out_.text(container.array != nullptr ? "[" : "<<");
    if (!open_.push(container))
      out_.text(container.array != nullptr ? "]" : ">>");
  }
  static bool fits_on_line(const CPDFArray& array) {
    for (std::int32_t i = 0; i < array.count; ++i) {
      if (array.items[i].tag == kTagArray || array.items[i].tag == kTagDict)
        return false;
    }
    return array.count <= kMostOnLine;
  }
  void print(const CPDFObj& value);
  void go_on();

  PrintBuffer out_;
  GrowArray<Open> open_;
  std::int32_t length_ = -1;  // to be printed before the first key
  bool has_stream_ = false;
};

void ReadablePrinter::print(const CPDFObj& value) {
  switch (value.tag) {
    case kTagBool:
      return out_.text(value.as_bool() ? "true" : "false");
    case kTagInt:
      return print_integer(out_, value.as_int());
    case kTagReal:
      return print_real(out_, value.as_real());
    case kTagString:
      return print_string(out_, value.as_string().data, value.as_string().len);
    case kTagName:
      return print_name(out_, value.as_name());
    case kTagRef:
      return print_ref(out_, value.as_ref());
    case kTagArray:
      return open({value.as_array(), nullptr, 0, fits_on_line(*value.as_array())});
    case kTagDict:
      return open({nullptr, value.as_dict(), 0, value.as_dict()->count == 0});
    default:
      return out_.text("null");
  }
}

void ReadablePrinter::go_on() {
  Open& top = open_.back();
  if (length_ >= 0) {
    line();
    out_.text("/Length ");
    print_integer(out_, length_);
    length_ = -1;
  }
  const std::int32_t count = top.array != nullptr ? top.array->count : top.dict->count;
  const std::int32_t at = top.next++;
  if (at >= count) {
    const bool on_line = top.on_line;
    const bool is_array = top.array != nullptr;
    open_.pop();
    if (!on_line)
      line();
    return out_.text(is_array ? "]" : ">>");
  }
  if (top.array != nullptr) {
    if (!top.on_line)
      line();
    else if (at != 0)
      out_.put(' ');
    return print(top.array->items[at]);
  }
  const CPDFDictItem* const item = top.dict->items[at];
  if (std::strcmp(item->key(), CPDFDictionary::sm_tag_length) == 0 && open_.size() == 1 && has_stream_)
    return;
  line();
  print_name(out_, item->key());
  out_.put(' ');
  print(*item);
}

}  // namespace

void print_readable(const CPDFDictionary& dict, CQVStream& out) {
  ReadablePrinter(out).dictionary(dict);
}

bool print_readable(CPDFXRefTable& table, const CPDFObj& obj, CQVStream& out, std::int32_t num) {
  const CPDFStreamRec* const stream = obj.as_stream();
  int len = 0;
  const HeapBlock<unsigned char> data(stream != nullptr ? table.load_raw_data(stream, len) : nullptr);
  if (stream != nullptr && !data && stream->source != nullptr)
    return false;
  ReadablePrinter printer(out);
  printer.number(num);
  printer.text(" 0 obj\n");
  if (stream == nullptr) {
    printer.value(obj);
  } else {
    printer.stream_dictionary(stream->dict, len);
    printer.text("\nstream\n");
    printer.bytes(data.get(), len);
    printer.text("\nendstream");
  }
  printer.text("\nendobj\n\n");
  return true;
}

}  // namespace sheaf
