// A source document while it is appended to another.
#pragma once

#include "sheaf/document/merge/doc_merge.h"

// A named destination of a source on its way over.
struct CPDFDocMerge::Destination {
  static constexpr std::int32_t kUnknown = -2;

  std::int32_t entry;   // in the source's names
  std::int32_t page;    // the source's number of its page; kUnknown while only its name is known
  CPDFObj value;        // owned; a reference until it was read, null when it stays behind
  std::uint64_t place;  // where a reference leads to in the file
};

struct CPDFDocMerge::Source {
  Source(CPDFDoc& source, CPDFMergeContext* import) : doc(source), table(source.table()), context(import) {}
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;
  ~Source() {
    for (Destination& destination : destinations)
      destination.value.free();
  }

  CPDFDoc& doc;
  CPDFXRefTable& table;
  CPDFMergeContext* context;
  sheaf::VisitedSet wanted;  // object numbers of the pages that come along
  sheaf::GrowArray<Destination> destinations;
  sheaf::GrowArray<std::int32_t> unread;  // those of them that are references, in the order of the file
  std::size_t next_unread = 0;
  sheaf::NameList names;   // its named destinations; value: index in destinations_ or -1, and its page's number
  sheaf::VisitedSet dead;  // our objects that lead nowhere
  bool has_dead = false;
  bool takes_few = false;    // most pages stay behind
  PDF_REF first_page{0, 0};  // the first page appended

  bool is_mapped(std::int32_t num) const { return static_cast<std::uint32_t>(num) < context->map_size; }
};
