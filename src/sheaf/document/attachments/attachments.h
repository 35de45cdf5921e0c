// The files that a document carries (ISO 32000-1, 7.11.4): those of its name tree, those associated with it, and those
// of annotations on pages.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/object/object.h"

class CPDFDictionary;
class CPDFDoc;

/// One file. All values but numbers are owned by the list; texts are UTF-8, or null.
struct PDF_ATTACHMENT {
  PDF_REF spec;        ///< The file specification; number 0: it is directly in what refers to it.
  PDF_REF stream;      ///< The data; number 0: the file has no data.
  std::int32_t page;   ///< Index of the page, from 0, whose annotation holds it; -1: the document.
  PDF_REF annotation;  ///< That annotation.
  CPDFObj key;         ///< The name in the name tree, a string; null for a file that is not in it.
  char* name;          ///< The file's name as the document has it: it may be a path or anything else.
  char* description;
  char* type;     ///< The media type, such as "text/plain".
  char* created;  ///< Dates as PDF writes them (ISO 32000-1, 7.9.4).
  char* modified;
  std::int64_t size;  ///< As stated; -1: not stated.
};

class CPDFAttachments {
public:
  CPDFAttachments() = default;
  CPDFAttachments(const CPDFAttachments&) = delete;
  CPDFAttachments& operator=(const CPDFAttachments&) = delete;
  ~CPDFAttachments() { clear(); }

  void clear();
  /// Reads the list of a readable document. False when there was no memory for all of it.
  bool load(CPDFDoc& doc);
  std::int32_t size() const { return list_.count(); }
  const PDF_ATTACHMENT& at(std::int32_t index) const { return list_[index]; }
  /// Takes a file out of the document that the list was loaded from: out of all places that the list knows. The list
  /// stays as it was. The change waits for a save. False when the catalogue cannot be changed, or without memory.
  bool remove(CPDFDoc& doc, std::int32_t index) const;

private:
  bool add(CPDFDoc& doc, const CPDFObj& item, std::int32_t page, const PDF_REF& annotation, const PDF_String* key);
  bool add_associated(CPDFDoc& doc, const CPDFDictionary& holder, std::int32_t page);
  bool add_annotations(CPDFDoc& doc);

  sheaf::GrowArray<PDF_ATTACHMENT> list_;
  sheaf::VisitedSet specs_;
};
