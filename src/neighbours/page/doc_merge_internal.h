// A source document while it is appended to another.
#pragma once

#include "neighbours/page/doc_merge.h"

struct CPDFDocMerge::Source {
  CPDFDoc& doc;
  CPDFXRefTable& table;
  CPDFMergeContext* context;
  VisitedSet wanted;  // object numbers of the pages that come along
  NameList names;     // its named destinations; value: index in destinations_ or -1, and its page's number
  VisitedSet dead;    // our objects that lead nowhere
  bool has_dead = false;
  bool takes_few = false;    // most pages stay behind
  PDF_REF first_page{0, 0};  // the first page appended

  bool is_mapped(std::int32_t num) const { return static_cast<std::uint32_t>(num) < context->map_size; }
};
