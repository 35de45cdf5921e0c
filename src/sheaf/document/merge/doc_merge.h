// Putting pages of several documents into one. Above the import of objects this keeps what makes the
// result a document: links that lead to the pages that were taken, outlines, page labels, names,
// embedded files, the form, the structure, optional content, and what belongs to a document as a whole.
//
//   append: numbers reserved for the pages -> form fields -> pages -> names, settings, outline, structure
//           -> everything that was stored is examined: destinations, actions, lost references
//   finish: what was collected goes into the catalogue
//
// A document that was there keeps all that it has; it only gets additions. All that must be left out
// (pages left out and their annotations, the source's page tree) is mapped to one number that no object
// ever gets; references to it are taken out.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/document/doc.h"

namespace sheaf {
class MergeParts;
class MergeSource;
class DestinationIndex;
class StructureIndex;
}  // namespace sheaf

class CPDFMergeIndex;

/// What became of an entry of a source.
enum class PDF_MERGE_FATE : std::int32_t {
  kKept,     ///< As it was, since no other document had one.
  kJoined,   ///< Together with those that were there.
  kRenamed,  ///< Under another name, since its own was taken; all that uses the name follows.
  kDropped,  ///< It was left out.
};

struct PDF_MERGE_RECORD {
  PDF_MERGE_FATE fate;
  const char* entry;    ///< A short stable word, such as "fields". A literal.
  std::int32_t source;  ///< Which append, from 0.
  std::int32_t count;   ///< How many of them, 1 for what a document has once.
};

/// Which embedded files of a source are taken.
enum class PDF_MERGE_FILES : std::int32_t {
  kAll,
  kReferredAndLoose,  ///< Those that its pages refer to, and those that no page of the source refers to.
  kReferred,          ///< Those that its pages refer to.
  kNone,              ///< None but those that annotations hold themselves.
};

/// How a merge goes about it. The value-initialised options are good for joining documents.
struct PDF_MERGE_OPTIONS {
  PDF_MERGE_FILES files = PDF_MERGE_FILES::kAll;
  bool entry_for_source = true;  ///< Outlines are under an entry of the source's title.
  bool share_streams = false;    ///< Streams with equal bytes and dictionaries become one.
  /// Where parts of one source are appended to several documents: what need not be read for each. Borrowed; null for
  /// none.
  CPDFMergeIndex* index = nullptr;
};

/// What is known of a source's structure tree and named destinations after a part of it was appended, so that the next
/// part costs what it holds. For one source, which nothing but appends changes meanwhile and which need not outlive the
/// index.
class CPDFMergeIndex {
public:
  CPDFMergeIndex();
  CPDFMergeIndex(const CPDFMergeIndex&) = delete;
  CPDFMergeIndex& operator=(const CPDFMergeIndex&) = delete;
  ~CPDFMergeIndex();

  sheaf::StructureIndex* parts() const { return parts_; }
  sheaf::DestinationIndex* destinations() const { return destinations_; }

private:
  sheaf::StructureIndex* parts_;  // owned, like the other; null when there was no memory
  sheaf::DestinationIndex* destinations_;
};

class CPDFDocMerge {
public:
  /// `into` is open and readable, new or with pages of its own, and outlives the merge.
  explicit CPDFDocMerge(CPDFDoc& into);
  CPDFDocMerge(const CPDFDocMerge&) = delete;
  CPDFDocMerge& operator=(const CPDFDocMerge&) = delete;
  ~CPDFDocMerge();

  /// How the documents appended from now on are taken.
  void set_options(const PDF_MERGE_OPTIONS& options);
  /// Appends pages of `source`: `count` indices from 0, in any order, also repeated. `title` (UTF-8,
  /// null for none) names the source in the outline. The count of pages that were appended; those that
  /// cannot be read are left out. `source` must be readable and need not outlive the call.
  std::int32_t append(CPDFDoc& source, const std::int32_t* pages, std::int32_t count, const char* title);
  /// Completes the catalogue. To be called once, before the save. False when there was no memory
  /// for all of it, here or while documents were appended.
  bool finish();
  /// What became of the entries of all sources so far. Borrowed; valid until the next append.
  const sheaf::GrowArray<PDF_MERGE_RECORD>& records() const;

private:
  bool append_source(sheaf::MergeSource& source, const std::int32_t* pages, std::int32_t count, const char* title,
                     std::int32_t& done);

  sheaf::MergeParts* parts_;  // owned; null when there was no memory
};
