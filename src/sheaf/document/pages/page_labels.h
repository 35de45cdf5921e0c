// The labels of pages (ISO 32000-1, 12.4.2): read, asked for page by page, moved with the pages, and set.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/object/object.h"

class CPDFDoc;

/// How the pages from `first` on, up to the next range, are labelled.
struct PDF_LABEL_RANGE {
  std::int32_t first;  ///< Index of a page, from 0.
  char style;          ///< 'D', 'R', 'r', 'A' or 'a' as under "S"; 0: the prefix alone.
  std::int32_t start;  ///< The number of the first page; at least 1.
  PDF_String prefix;   ///< A text string, owned by the labels.
};

class CPDFPageLabels {
public:
  CPDFPageLabels() = default;
  CPDFPageLabels(const CPDFPageLabels&) = delete;
  CPDFPageLabels& operator=(const CPDFPageLabels&) = delete;
  ~CPDFPageLabels() { clear(); }

  void clear();
  /// Reads the labels of a readable document. The list is empty when it has none.
  void load(CPDFDoc& doc);
  bool empty() const { return ranges_.empty(); }
  std::int32_t size() const { return ranges_.count(); }
  const PDF_LABEL_RANGE& at(std::int32_t index) const { return ranges_[index]; }
  /// Appends a range, which must begin after the last one; `prefix` is UTF-8, null for none. False when it does not,
  /// when the style is not one of those above, or when there is no memory.
  bool add(std::int32_t first, char style, std::int32_t start, const char* prefix);
  /// Puts the label of page `index` as UTF-8 after what `out` holds; nothing without labels.
  void put_text(std::int32_t index, sheaf::GrowArray<char>& out) const;
  /// Page i becomes what page `pages[i]` was, with its label. False when there is no memory.
  bool reorder(const std::int32_t* pages, std::int32_t count);
  /// Stores the labels with the document's catalogue, in place of those that it has. The change waits for a save.
  /// False when the catalogue cannot be changed.
  bool store(CPDFDoc& doc) const;

private:
  bool push(std::int32_t first, char style, std::int32_t start, const PDF_String& prefix);
  const PDF_LABEL_RANGE* range_of(std::int32_t index) const;

  sheaf::GrowArray<PDF_LABEL_RANGE> ranges_;
};
