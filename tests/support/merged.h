// A document made of others, saved and opened anew.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <initializer_list>
#include <string>
#include <vector>

#include "sheaf/document/merge/doc_merge.h"
#include "support/pdf_builder.h"
#include "support/test_table.h"

namespace sheaf {

inline std::string syntax_of(CPDFXRefTable& table, const CPDFObj* item) {
  Freed<CPDFObj> value;
  table.resolve(value, item);
  return TestTable::syntax(value);
}

inline std::string ref(int num) {
  return std::to_string(num) + " 0 R";
}

// The merged document after a save and a fresh open.
struct Merged {
  Merged() : own("") { into.create(&start); }
  // Into a document that is there.
  explicit Merged(const std::string& bytes) : own(bytes) { into.open(&own); }
  int append(const std::string& bytes, const std::vector<std::int32_t>& pages, const char* title = "source") {
    MemStream file(bytes);
    CPDFDoc source;
    source.open(&file);
    return merge.append(source, pages.data(), static_cast<std::int32_t>(pages.size()), title);
  }
  CPDFDoc& saved() {
    EXPECT_TRUE(merge.finish());
    CPDFXRefTable target;
    target.stream = &out;
    into.save_complete(target, nullptr);
    EXPECT_TRUE(doc.open(&out));
    return doc;
  }
  std::string at(const PDF_REF& wanted, const char* key) {
    Freed<CPDFObj> obj;
    doc.table().get_entity(obj, wanted);
    return obj.as_dict() != nullptr ? syntax_of(doc.table(), obj.as_dict()->get_item(key)) : "";
  }
  std::string catalog(const char* key) { return at(doc.table().root.as_ref(), key); }
  // How many of `entry` of the sources had this fate.
  int count(PDF_MERGE_FATE fate, const std::string& entry) const {
    int all = 0;
    for (const PDF_MERGE_RECORD& record : merge.records())
      all += record.fate == fate && record.entry == entry ? record.count : 0;
    return all;
  }
  // The reference under `key`.
  PDF_REF go(const PDF_REF& from, const char* key) {
    Freed<CPDFObj> obj;
    doc.table().get_entity(obj, from);
    const CPDFObj* item = obj.as_dict() != nullptr ? obj.as_dict()->get_item(key) : nullptr;
    return item != nullptr ? item->as_ref() : PDF_REF{0, 0};
  }
  std::string page(int index) { return ref(doc.page_ref(index).num); }

  // The value at the end of a path of keys and indices, from the catalogue.
  std::string path(std::initializer_list<const char*> keys) {
    Freed<CPDFObj> value;
    doc.table().resolve(value, &doc.table().root);
    for (const char* key : keys) {
      Freed<CPDFObj> next;
      const CPDFDictionary* const dict = value.as_dict_or_stream();
      const CPDFObj* const item = dict != nullptr               ? dict->get_item(key)
                                  : value.as_array() != nullptr ? value.as_array()->get(std::atoi(key))
                                                                : nullptr;
      doc.table().resolve(next, item);
      value.move_from(next);
    }
    return TestTable::syntax(value);
  }

  CQVStreamMem start;
  MemStream own;
  CQVStreamMem out;
  CPDFDoc into;
  CPDFDocMerge merge{into};
  CPDFDoc doc;
};

}  // namespace sheaf
