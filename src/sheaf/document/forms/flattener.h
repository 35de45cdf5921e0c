// Makes annotations part of the pages: their appearances are drawn by the pages' own content, and they are gone.
#pragma once

#include <cstdint>

class CPDFDoc;

enum class PDF_FLATTEN : std::int32_t {
  kWidgets,  ///< The widgets of the form.
  kAll,      ///< All annotations but links, and those whose content is more than a picture (files, sounds, films).
};

/// What was done. Counts are of annotations where nothing else is said.
struct PDF_FLATTEN_REPORT {
  std::int32_t pages = 0;       ///< Pages that were changed.
  std::int32_t drawn = 0;       ///< Now part of their page.
  std::int32_t hidden = 0;      ///< Removed without being drawn, as they are not shown.
  std::int32_t blank = 0;       ///< Widgets that had nothing to draw.
  std::int32_t kept = 0;        ///< Left as they were though asked for: they have no appearance to draw.
  std::int32_t signatures = 0;  ///< Signed fields of the form; their signatures are gone.
  bool dropped_form = false;    ///< The document had a form.
};

class CPDFFlattener {
public:
  /// `doc` is open and readable.
  explicit CPDFFlattener(CPDFDoc& doc) : doc_(doc) {}
  CPDFFlattener(const CPDFFlattener&) = delete;
  CPDFFlattener& operator=(const CPDFFlattener&) = delete;

  /// Draws what is printed; otherwise what is shown on a screen (ISO 32000-1, 12.5.3).
  void for_print(bool flag) { prints_ = flag; }
  /// Flattens all pages. Appearances that widgets lack are made first. With the widgets the form goes, and what the
  /// catalogue says about signatures. A save must follow: an update keeps what was there in the old part of the file, a
  /// complete new file does not. False when there was no memory; the document must not be saved then.
  bool run(PDF_FLATTEN what);
  const PDF_FLATTEN_REPORT& report() const { return report_; }

private:
  CPDFDoc& doc_;
  PDF_FLATTEN_REPORT report_;
  bool prints_ = false;
};
