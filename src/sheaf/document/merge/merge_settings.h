// What belongs to a document as a whole: the document information, the metadata, how a viewer opens it,
// its actions, its associated files, and the output intents. A new document takes them from its first
// source; one that exists keeps its own. Output intents, which say how the colours of a whole document
// are meant, stay only while all sources agree on them.
#pragma once

#include "sheaf/document/merge/merge_source.h"
#include "sheaf/document/merge/source_destinations.h"

namespace sheaf {

class MergeSettings {
public:
  explicit MergeSettings(MergeTarget& target) : target_(target), table_(target.table) {}
  MergeSettings(const MergeSettings&) = delete;
  MergeSettings& operator=(const MergeSettings&) = delete;

  /// To be called after the pages and the embedded files of a source.
  void take(MergeSource& source, SourceDestinations& destinations);
  void put(CPDFDictionary& catalog);
  /// Takes out what the document, whose catalogue is stored, claims to conform to where it no longer does.
  bool drop_broken_claims();

private:
  void take_entries(MergeSource& source, SourceDestinations& destinations);
  void take_information(MergeSource& source);
  void take_associated_files(MergeSource& source, CPDFDictionary& holder);
  void take_intents(MergeSource& source);
  void note_what_ends(MergeSource& source);
  void compare_claims(MergeSource& source);

  MergeTarget& target_;
  CPDFXRefTable& table_;
  PDF_REF holder_{0, 0};        // the entries wait in an object of their own, which is examined like all others
  std::uint64_t claims_ = 0;    // what all sources but the one that gives the settings claim to conform to
  bool has_claims_ = false;     // there were such sources
  bool claims_broken_ = false;  // and no single claim is true of all
  char version_[8]{};           // the newest of those that are newer than what headers of new files say
  Freed<CPDFObj> intents_;      // the output intents of all sources, while they agree
  Freed<CPDFObj> identifier_;   // what the first of them is called
};

}  // namespace sheaf
