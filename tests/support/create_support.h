// A table without a file for the factories, and what they stored in it.
#pragma once

#include <string>

#include "filters/filter_support.h"
#include "support/test_table.h"

using namespace sheaf;

struct FreshTable : TestTable {
  FreshTable() : TestTable("") { table.next_obj_num = 1; }
  std::string data(const PDF_REF& ref) {
    Freed<CPDFObj> obj;
    table.get_entity(obj, ref);
    const StreamPtr decoder(obj.as_stream() != nullptr ? table.make_stream(obj.as_stream()) : nullptr);
    return decoder != nullptr ? read_all(*decoder) : "no stream";
  }
  /// The items of a dictionary or stream, a line each. The "Length" of a stream, which must be the
  /// count of the bytes kept, is left out.
  std::string items(const PDF_REF& ref) {
    Freed<CPDFObj> obj;
    table.get_entity(obj, ref);
    const CPDFDictionary* dict = obj.as_dict_or_stream();
    if (dict == nullptr)
      return "no dictionary";
    std::string text;
    for (int i = 0; i < dict->count; ++i) {
      const std::string key = dict->items[i]->key();
      if (key == "Length")
        EXPECT_EQ(dict->items[i]->as_int(), obj.as_stream()->length);
      else
        text += key + " " + syntax(*dict->items[i]) + "\n";
    }
    return text;
  }
};
