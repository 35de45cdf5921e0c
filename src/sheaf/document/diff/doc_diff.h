// What differs between two documents, or between two states of one: page by page, value by value along the tree, and
// object by object.
#pragma once

#include <cstdint>
#include <string_view>

#include "sheaf/object/object.h"

class CPDFDoc;
class CPDFPage;

/// What of a page differs.
enum PDF_PAGE_DIFF : std::uint32_t {
  kPageContentDiffers = 1,
  kPageBoxesDiffer = 2,
  kPageRotationDiffers = 4,
  kPageResourcesDiffer = 8,
  kPageAnnotationsDiffer = 16,
};

/// Receives the differences. Texts and values are borrowed for the call.
class CPDFDiffSink {
public:
  CPDFDiffSink() = default;
  CPDFDiffSink(const CPDFDiffSink&) = delete;
  CPDFDiffSink& operator=(const CPDFDiffSink&) = delete;
  virtual ~CPDFDiffSink() = default;

  /// Pages by their indices from 0; -1: that side has no such page. `what` is of PDF_PAGE_DIFF.
  virtual void page(std::int32_t a, std::int32_t b, std::uint32_t what) = 0;
  /// A value of the tree at `path`, such as "Root/Outlines/First/Title"; null: it is not there. A stream whose
  /// dictionaries are equal differs in its data.
  virtual void value(std::string_view path, const CPDFObj* a, const CPDFObj* b) = 0;
  /// An object by its number; a null value: it is not there. `kind` says what it is, such as "Annot Widget".
  virtual void object(std::int32_t num, std::string_view kind, const CPDFObj& a, const CPDFObj& b) = 0;
};

class CPDFDocDiff {
public:
  /// Both documents are readable; everything is borrowed.
  CPDFDocDiff(CPDFDoc& a, CPDFDoc& b, CPDFDiffSink& sink);
  CPDFDocDiff(const CPDFDocDiff&) = delete;
  CPDFDocDiff& operator=(const CPDFDocDiff&) = delete;

  /// Compares the pages. Those that were put in or taken out are found by the others, which are equal in what they
  /// show.
  void pages();
  /// Compares what is reached from the trailer, except the page tree. References are followed on both sides.
  void tree();
  /// Compares objects of the same number, as two states of one document have them. What holds the file together is left
  /// out: cross-reference and object streams.
  void objects();

private:
  struct Pair {
    std::int32_t a;
    std::int32_t b;
  };
  struct PageLook;
  class Alignment;

  std::uint64_t look_of(CPDFDoc& doc, int index);
  bool same_content(const CPDFPage& a, const CPDFPage& b);
  bool same_resources(const Pair& pair, std::int32_t place_a, std::int32_t place_b);
  void compare_pages(const Pair& pair);

  CPDFDoc& a_;
  CPDFDoc& b_;
  CPDFDiffSink& sink_;
  long long left_;        // bytes of content that are still compared
  Pair resources_{0, 0};  // where those stand that were compared last
  bool resources_are_same_ = false;
};
