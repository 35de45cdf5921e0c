// Puts the lines of a text into pages, in rows or in columns.
#include "text/new_text.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "sheaf/base/scope_guard.h"
#include "sheaf/base/wide_text.h"
#include "support/inputs.h"
#include "support/tool_support.h"
#include "text/text_fonts.h"

namespace sheaf::tool {

namespace {

constexpr double kPageWidth = 595;  // A4
constexpr double kPageHeight = 842;
constexpr double kMargin = 56;
// Baseline to baseline and column to column, in sizes. With more between columns, programs that take
// text out of a page read words across them.
constexpr double kLeading = 1.4;
constexpr double kAscent = 0.88;               // of the first line below the margin
constexpr std::size_t kAtATime = 1 << 16;      // bytes that are set before their lines go into pages
constexpr std::size_t kMostAtATime = 1 << 20;  // of a text without line ends

std::size_t count_bad_bytes(std::string_view utf8) {
  std::size_t bad = 0;
  for (std::size_t at = 0; at < utf8.size();) {
    if (static_cast<unsigned char>(utf8[at]) < 0x80) {
      ++at;
      continue;
    }
    wchar_t character = 0;
    // What ends after the text is cut by the NUL there.
    const int used =
        std::max(cvt_char_UTF8_To_UCS4(reinterpret_cast<const unsigned char*>(utf8.data() + at), character), 1);
    bad += character == 0 ? static_cast<std::size_t>(used) : 0;
    at += static_cast<std::size_t>(used);
  }
  return bad;
}

// The lines of a text in pages, one content stream a page.
class PageSetter {
public:
  PageSetter(CPDFDoc& doc, TextSetter& setter, const TextOptions& options)
      : doc_(doc), setter_(setter), size_(options.size), vertical_(options.vertical) {
    const double room = (vertical_ ? kPageWidth : kPageHeight) - 2 * kMargin;
    step_ = size_ * kLeading;
    lines_per_page_ = static_cast<int>((room - size_) / step_) + 1;
  }

  bool add_lines() {
    for (const TextLine& line : setter_.lines()) {
      if ((line_ == lines_per_page_ && !finish_page()) || (line.count != 0 && !put_line(line)))
        return false;
      ++line_;
    }
    return true;
  }

  /// `is_kept`: also a page without lines becomes one of the document.
  bool finish_page(bool is_kept = false) {
    if (line_ == 0 && !is_kept)
      return true;
    if (!content_.empty()) {
      for (const char byte : {'E', 'T', '\n'})
        content_.push(byte);
    }
    const PDF_REF content = doc_.table().adv_new_stream_flate(reinterpret_cast<unsigned char*>(content_.begin()),
                                                              static_cast<int>(content_.size()));
    if (content.num == 0)
      return false;
    pages_.push_back(content);
    content_.clear();
    line_ = 0;
    return true;
  }

  // The pages become part of the document when all fonts are known.
  bool store_pages() {
    Cleared<CPDFDictionary> fonts;
    setter_.put_resources(fonts);
    Cleared<CPDFDictionary> resources;
    resources.set_item_dict(CPDFDictionary::sm_tag_font, &fonts);
    CPDFXRefTable& table = doc_.table();
    const PDF_REF shared{table.alloc_obj_num(), 0};
    table.store_dict(shared, &resources);
    for (const PDF_REF& content : pages_) {
      Cleared<CPDFArray> box;
      for (const double side : {0.0, 0.0, kPageWidth, kPageHeight})
        box.append_int(static_cast<int>(side));
      Cleared<CPDFDictionary> page;
      page.set_item_name(CPDFDictionary::sm_tag_type, "Page");
      page.set_item_arr("MediaBox", &box);
      page.set_item_ref(CPDFDictionary::sm_tag_res, shared);
      page.set_item_ref("Contents", content);
      const PDF_REF ref{table.alloc_obj_num(), 0};
      table.store_dict(ref, &page);
      if (!doc_.insert_page(doc_.page_count(), ref))
        return false;
    }
    return true;
  }

private:
  bool put_line(const TextLine& line) {
    if (content_.empty()) {
      for (const char byte : {'B', 'T', '\n'})
        content_.push(byte);
    }
    const double down = line_ * step_;
    if (vertical_)
      return setter_.show(line, kPageWidth - kMargin - size_ / 2 - down, kPageHeight - kMargin, content_);
    const double x = line.right_to_left ? kPageWidth - kMargin - line.width : kMargin;
    return setter_.show(line, x, kPageHeight - kMargin - size_ * kAscent - down, content_);
  }

  CPDFDoc& doc_;
  TextSetter& setter_;
  double size_;
  bool vertical_;
  double step_ = 0;
  int lines_per_page_ = 1;
  int line_ = 0;
  GrowArray<char> content_;
  std::vector<PDF_REF> pages_;
};

// The end of what is set at once: a form feed, the end of a line, or where a text without line ends must be cut.
std::size_t end_of_part(std::string_view text, std::size_t from) {
  const std::size_t feed = text.find('\f', from);
  const std::size_t end = std::min(feed, text.size());
  if (end - from <= kAtATime)
    return end;
  const std::size_t line_end = text.find_first_of("\r\n", from + kAtATime);
  std::size_t at = line_end < end ? line_end + 1 : end;
  if (line_end < end && text[line_end] == '\r' && at < end && text[at] == '\n')
    ++at;
  if (at - from <= kMostAtATime)
    return at;
  at = from + kMostAtATime;
  while (at > from + 1 && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80)
    --at;
  return at;
}

bool set_text(TextSetter& setter, PageSetter& pages, std::string_view text, const TextOptions& options) {
  TextFormat format;
  format.size = options.size;
  format.kerning = !options.no_kerning;
  format.width = (options.vertical ? kPageHeight : kPageWidth) - 2 * kMargin;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = end_of_part(text, at);
    if (!setter.set(text.substr(at, end - at), format) || !pages.add_lines())
      return false;
    at = end;
    if (at < text.size() && text[at] == '\f') {
      if (!pages.finish_page(true))
        return false;
      ++at;
    }
  }
  return pages.finish_page() && pages.store_pages();
}

int report(const TextOptions& options, const TextSetter& setter, std::size_t bad_bytes) {
  if (bad_bytes != 0)
    complain(options.file, std::to_string(bad_bytes) + " bytes are no UTF-8; set as U+FFFD");
  if (setter.missing() != 0) {
    char first[16];
    std::snprintf(first, sizeof(first), "U+%04X", static_cast<unsigned>(setter.first_missing()));
    complain(options.file, std::to_string(setter.missing()) +
                               " characters have no glyph in these fonts, the first is " + first +
                               "; name a further font by --font");
  }
  return bad_bytes + setter.missing() == 0 ? kExitClean : kExitProblems;
}

}  // namespace

int add_text_pages(CPDFDoc& doc, const TextOptions& options) {
  std::string utf8;
  if (!read_input(options.file, utf8))
    return kExitFailed;
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  std::string_view text = utf8;
  if (text.substr(0, kMark.size()) == kMark)
    text.remove_prefix(kMark.size());
  if (text.empty()) {
    complain(input_name(options.file), "has no text that could be set into pages");
    return kExitFailed;
  }
  if (!open_environment(doc.table(), options))
    return kExitFailed;
  TextSetter setter(doc.table(),
                    {options.bold, options.italic, options.vertical, !options.no_embed, options.embed_restricted});
  if (!add_fonts(doc.table(), options, setter))
    return kExitFailed;
  PageSetter pages(doc, setter, options);
  const bool done = set_text(setter, pages, text, options);
  report_refused(setter);
  if (!done) {
    complain(options.file, "could not be set into pages");
    return kExitFailed;
  }
  return report(options, setter, count_bad_bytes(text));
}

}  // namespace sheaf::tool
