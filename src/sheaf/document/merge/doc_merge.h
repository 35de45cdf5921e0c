// Putting pages of several documents into one. Above the import of objects this keeps what makes
// the result a document: links that lead to the pages that came along, outlines under one entry a
// source, page labels, named destinations and embedded files, the form, and optional content.
//
//   append: numbers reserved for the pages -> form fields -> pages -> names, outline, labels
//           -> everything that was stored is looked over: destinations, actions, lost references
//   finish: outline, names, labels and optional content go into the catalogue
//
// All that must not come along (pages left out and their annotations, the source's page tree and
// structure) is mapped to one number that no object ever gets; references to it are taken out.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/names/name_list.h"
#include "sheaf/neighbours/page/acro_form.h"
#include "sheaf/object/array.h"
#include "sheaf/object/references.h"

class CPDFDocMerge {
public:
  /// `into` is open, new as a rule, and outlives the merge.
  explicit CPDFDocMerge(CPDFDoc& into) : into_(into), table_(into.table()), form_(into.table()) { form_.load(); }
  CPDFDocMerge(const CPDFDocMerge&) = delete;
  CPDFDocMerge& operator=(const CPDFDocMerge&) = delete;
  ~CPDFDocMerge();

  /// Appends pages of `source`: `count` indices from 0, in any order, also repeated. `title` (UTF-8)
  /// names the source in the outline. The count of pages that were appended; those that cannot be
  /// read are left out. `source` must be readable and need not outlive the call.
  std::int32_t append(CPDFDoc& source, const std::int32_t* pages, std::int32_t count, const char* title);
  /// Completes the catalogue. To be called once, in front of the save. False when there was no memory
  /// for all of it, here or while documents were appended.
  bool finish();

private:
  // A source while it is appended.
  struct Source;
  struct OutlineNode;

  // doc_merge.cpp
  void reserve_pages(Source& src, const std::int32_t* pages, std::int32_t count);
  void leave_out(Source& src, const CPDFObj* item);
  bool append_pages(Source& src, const std::int32_t* pages, std::int32_t count,
                    sheaf::GrowArray<std::int32_t>& appended);
  bool append_source(Source& src, const std::int32_t* pages, std::int32_t count, const char* title, std::int32_t& done);
  PDF_REF append_page(Source& src, std::int32_t index);
  void mend_page(Source& src, const CPDFPage& page, CPDFDictionary& dict);
  void restore_group(const PDF_REF& page, CPDFObj& group);
  void forget_repeated(Source& src, const CPDFPage& page);
  void add_optional_content(Source& src);
  void add_labels(Source& src, const std::int32_t* pages, std::int32_t count);
  void put_optional_content(CPDFDictionary& catalog);

  // doc_merge_intents.cpp
  void add_output_intents(Source& src);
  void put_output_intents(CPDFDictionary& catalog);

  // doc_merge_names.cpp
  struct Destination;
  void collect_destinations(Source& src);
  static std::uint64_t place_of(const CPDFXRefTable& table, const PDF_REF& ref);
  void list_destinations(Source& src);
  void read_destinations(Source& src, std::uint64_t up_to);
  bool leads_away(Source& src, const PDF_REF& destination, sheaf::ReferenceList& scratch);
  void look_at_destination(Source& src, Destination& destination);
  void take_destination(Source& src, Destination& destination);
  void collect_files(Source& src);

  // doc_merge_links.cpp
  std::int32_t page_of(Source& src, const CPDFObj* destination);
  std::int32_t page_of_action(Source& src, const CPDFObj* action);
  void look_over(Source& src, std::uint32_t first_slot);
  bool tidy_value(Source& src, CPDFObj& value, const char* key, bool in_goto);
  bool tidy_array(Source& src, CPDFArray& array, const char* key);
  bool tidy_dict(Source& src, CPDFDictionary& dict);
  bool tidy_named(Source& src, CPDFObj& value);

  // doc_merge_outline.cpp
  void add_outline(Source& src, const char* title);
  void link_outline(Source& src, sheaf::GrowArray<OutlineNode>& nodes, const char* title);
  void store_outline_node(Source& src, OutlineNode& node, OutlineNode& parent);
  void put_outline(CPDFDictionary& catalog);

  // doc_merge_form.cpp
  static bool has_form(Source& src);
  void add_form(Source& src);
  void leave_out_fields(Source& src, const CPDFArray& fields);
  void take_form_settings(Source& src, const CPDFDictionary& form, std::int32_t first_field);
  void take_form_resources(Source& src, const CPDFDictionary& form);

  // A source's own entry, and its first page.
  struct TopEntry {
    PDF_REF ref;
    PDF_REF page;
  };

  CPDFDoc& into_;
  CPDFXRefTable& table_;
  CPDFAcroForm form_;
  std::int32_t hole_ = 0;
  const sheaf::HeapWatch watch_;
  sheaf::NameList destinations_;
  sheaf::NameList files_;
  sheaf::GrowArray<TopEntry> outline_;
  sheaf::Cleared<CPDFArray> labels_;
  bool has_labels_ = false;
  std::int32_t source_count_ = 0;
  bool was_empty_ = false;         // no pages stood there before the first source
  sheaf::Freed<CPDFObj> intents_;  // the output intents of all sources, while they agree
  sheaf::Freed<CPDFObj> intents_identifier_;
  sheaf::Freed<CPDFObj> content_;  // optional content, as far as it was met
};
