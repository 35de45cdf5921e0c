// A document whose form is filled, looked at through its objects and by other programs.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "sheaf/document/doc.h"
#include "sheaf/document/forms/form_filler.h"
#include "sheaf/filters/stream_filter.h"
#include "support/external_tool.h"
#include "support/form_maker.h"
#include "support/test_table.h"

class FilledForm {
public:
  explicit FilledForm(const std::string& bytes) : file_(bytes) {
    EXPECT_TRUE(doc.open(&file_));
    EXPECT_TRUE(filler.load());
  }
  PDF_FILL set(const std::string& name, const std::string& value) { return filler.set(name.c_str(), value.c_str()); }
  PDF_FILL set_all(const std::string& name, const std::vector<const char*>& values) {
    return filler.set(name.c_str(), values.data(), static_cast<std::int32_t>(values.size()));
  }

  /// The value of a key of an object, in PDF syntax, references resolved; "" when there is nothing.
  std::string at(int num, const char* key) {
    Freed<CPDFObj> obj;
    Freed<CPDFObj> value;
    doc.table().get_entity(obj, {num, 0});
    const CPDFDictionary* const dict = obj.as_dict_or_stream();
    if (dict == nullptr || dict->get_item(key) == nullptr)
      return "";
    doc.table().resolve(value, dict->get_item(key));
    return TestTable::syntax(value);
  }
  /// The same of an array of numbers, reals that are whole without their point.
  std::string numbers(int num, const char* key) {
    std::string text = at(num, key);
    for (std::size_t point = text.find(".0"); point != std::string::npos; point = text.find(".0"))
      text.erase(point, 2);
    return text;
  }
  PDF_REF look_of(int num, const char* state = nullptr) {
    Freed<CPDFObj> widget;
    Freed<CPDFObj> looks;
    Freed<CPDFObj> normal;
    doc.table().get_entity(widget, {num, 0});
    doc.table().resolve(looks, widget.as_dict()->get_item("AP"));
    const CPDFObj* item = looks.as_dict() != nullptr ? looks.as_dict()->get_item("N") : nullptr;
    doc.table().resolve(normal, item);
    if (state != nullptr && normal.as_dict() != nullptr)
      item = normal.as_dict()->get_item(state);
    return item != nullptr ? item->as_ref() : PDF_REF{0, 0};
  }
  /// The content of a widget's appearance.
  std::string look(int num, const char* state = nullptr) { return stream(look_of(num, state)); }
  std::string stream(const PDF_REF& ref) {
    Freed<CPDFObj> obj;
    doc.table().get_entity(obj, ref);
    const std::unique_ptr<CPDFStream> decoder(obj.as_stream() != nullptr ? doc.table().make_stream(obj.as_stream())
                                                                         : nullptr);
    int len = 0;
    const HeapBlock<std::uint8_t> bytes(decoder != nullptr ? decoder->buffer_load(1 << 24, len) : nullptr);
    return bytes ? std::string(reinterpret_cast<char*>(bytes.get()), static_cast<std::size_t>(len)) : "";
  }
  /// A complete new file of what the document is now.
  std::string written() {
    CQVStreamMem out;
    CPDFXRefTable target;
    target.stream = &out;
    doc.save_complete(target, nullptr);
    return std::string(reinterpret_cast<const char*>(out.data), out.len);
  }

private:
  MemStream file_;

public:
  CPDFDoc doc;
  CPDFFormFiller filler{doc};
};

/// The number before an operator's place in some content: operand `index` of its `count`.
inline double operand(const std::string& content, const std::string& op, int count, int index) {
  const std::size_t at = content.find(" " + op + "\n");
  if (at == std::string::npos)
    return -1e9;
  std::size_t start = content.rfind('\n', at);
  start = start == std::string::npos ? 0 : start + 1;
  std::vector<double> numbers;
  for (std::size_t i = start; i < at;) {
    char* end = nullptr;
    const double number = std::strtod(content.c_str() + i, &end);
    if (end == content.c_str() + i) {
      ++i;
      continue;
    }
    numbers.push_back(number);
    i = static_cast<std::size_t>(end - content.c_str());
  }
  const std::size_t first = numbers.size() - static_cast<std::size_t>(count);
  return numbers.size() < static_cast<std::size_t>(count) ? -1e9 : numbers[first + static_cast<std::size_t>(index)];
}
