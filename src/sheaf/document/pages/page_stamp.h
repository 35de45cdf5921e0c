// Pages of one document drawn over or under those of another, each as a form (ISO 32000-1, 8.10).
#pragma once

#include <cstdint>

#include "sheaf/object/object.h"

class CPDFDictionary;
class CPDFDoc;
class CPDFPage;
struct CPDFMergeContext;

/// How large a stamp is.
enum class PDF_STAMP_FIT : std::int32_t {
  kInside,  ///< As large as fits into the page.
  kCover,   ///< Just so large that it covers the page; what goes beyond the page is not seen.
  kAsItIs,  ///< At its own size.
};

/// How a stamp lies on a page. Everything is meant as one sees the pages, their rotations applied.
struct PDF_STAMP {
  bool below = false;  ///< Under what the page has.
  PDF_STAMP_FIT fit = PDF_STAMP_FIT::kInside;
  double scale = 1;     ///< On top of what the fit gives.
  int rotate = 0;       ///< Further degrees clockwise, a multiple of 90.
  double across = 0.5;  ///< Where it lies from left (0) to right (1),
  double up = 0.5;      ///< and from bottom to top.
};

class CPDFPageStamp {
public:
  /// Both documents are readable and outlive the object. Annotations of the source that are shown become part of the
  /// stamp, which changes `source` in memory.
  CPDFPageStamp(CPDFDoc& target, CPDFDoc& source);
  CPDFPageStamp(const CPDFPageStamp&) = delete;
  CPDFPageStamp& operator=(const CPDFPageStamp&) = delete;
  ~CPDFPageStamp();

  /// Draws page `stamp` (from 0) of the source on page `page` of the target. The change waits for a save. False when
  /// there is no such page, or no memory.
  bool put(std::int32_t page, std::int32_t stamp, const PDF_STAMP& how);

private:
  PDF_REF form_of(std::int32_t stamp, const CPDFPage& page);
  bool draw(const CPDFPage& page, CPDFDictionary& dict, const PDF_REF& form, const CPDFPage& stamp,
            const PDF_STAMP& how);

  CPDFDoc& target_;
  CPDFDoc& source_;
  CPDFMergeContext* import_ = nullptr;  // ended with this object; null without memory
  struct Made;
  Made* made_;  // what the target has got so far, owned; null without memory
};
