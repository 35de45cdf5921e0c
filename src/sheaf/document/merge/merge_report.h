// What a merge made of the entries of its sources: one record for each entry that a source has.
#pragma once

#include <cstdint>

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
