// Breaks text into glyphs, lines and pages, in rows or in columns.
#include "text/new_text.h"

#include <algorithm>
#include <cstdio>

#include "sheaf/base/scope_guard.h"
#include "sheaf/base/wide_text.h"
#include "support/inputs.h"
#include "support/tool_support.h"
#include "text/text_fonts.h"
#include "text/text_lines.h"

namespace sheaf::tool {

namespace {

constexpr double kPageWidth = 595;  // A4
constexpr double kPageHeight = 842;
constexpr double kMargin = 56;
// Baseline to baseline and column to column, in sizes. With more between columns, programs that take
// text out of a page read words across them.
constexpr double kLeading = 1.4;
constexpr double kAscent = 0.88;   // of the first line below the margin
constexpr int kColumnSpace = 500;  // height of a space in a column, thousandths
constexpr wchar_t kReplacement = 0xFFFD;

// What a text holds besides its characters.
struct Trouble {
  std::size_t bad_bytes = 0;
  std::size_t missing = 0;
  wchar_t first_missing = 0;
};

std::string number(double value) {
  char text[32];
  std::snprintf(text, sizeof(text), "%.2f", value);
  return text;
}

// CR, NEL and the separators of lines and paragraphs (UAX 14).
bool is_line_end(wchar_t character) {
  return character == '\r' || character == 0x85 || character == 0x2028 || character == 0x2029;
}

std::vector<wchar_t> characters_of(const std::string& utf8, Trouble& trouble) {
  std::vector<wchar_t> text;
  const char* at = utf8.c_str();
  const char* const end = at + utf8.size();
  while (at < end) {
    wchar_t character = 0;
    const int used = cvt_char_UTF8_To_UCS4(reinterpret_cast<const unsigned char*>(at), character);
    if (character == 0) {
      character = kReplacement;
      trouble.bad_bytes += static_cast<std::size_t>(std::max(used, 1));
    }
    at += std::max(used, 1);
    if (character == '\r' && at < end && *at == '\n')
      continue;
    if (is_line_end(character))
      character = '\n';
    if (character != 0xFEFF || !text.empty())
      text.push_back(character);
  }
  return text;
}

// Sets lines into pages, one content stream a page.
class PageSetter {
public:
  PageSetter(CPDFDoc& doc, TextFonts& fonts, const TextOptions& options)
      : doc_(doc), fonts_(fonts), size_(options.size), vertical_(options.vertical) {
    const double room = (vertical_ ? kPageWidth : kPageHeight) - 2 * kMargin;
    step_ = size_ * kLeading;
    lines_per_page_ = static_cast<int>((room - size_) / step_) + 1;
  }

  bool add_line(const SetGlyph* glyphs, std::size_t count) {
    if (line_ == lines_per_page_ && !finish_page())
      return false;
    if (count != 0)
      put_line(glyphs, count);
    ++line_;
    return true;
  }

  /// `is_kept`: also a page without lines becomes one of the document.
  bool finish_page(bool is_kept = false) {
    if (line_ == 0 && !is_kept)
      return true;
    content_ = "BT\n" + content_ + "ET\n";
    const PDF_REF content = doc_.table().adv_new_stream_flate(reinterpret_cast<unsigned char*>(content_.data()),
                                                              static_cast<int>(content_.size()));
    if (content.num == 0)
      return false;
    pages_.push_back(content);
    content_.clear();
    line_ = 0;
    font_ = -1;
    return true;
  }

  // The pages become part of the document when all fonts are known.
  bool store_pages() {
    Cleared<CPDFDictionary> fonts;
    fonts_.put_resources(fonts);
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
  void put_line(const SetGlyph* glyphs, std::size_t count) {
    const double x = vertical_ ? kPageWidth - kMargin - size_ / 2 - line_ * step_ : kMargin;
    const double y = vertical_ ? kPageHeight - kMargin : kPageHeight - kMargin - size_ * kAscent - line_ * step_;
    content_ += "1 0 0 1 " + number(x) + " " + number(y) + " Tm\n";
    for (std::size_t i = 0; i < count;) {
      if (glyphs[i].font != font_) {
        font_ = glyphs[i].font;
        content_ += "/" + TextFonts::resource_name(font_) + " " + number(size_) + " Tf\n";
      }
      content_ += "[<";
      for (; i < count && glyphs[i].font == font_; ++i) {
        char hex[8];
        std::snprintf(hex, sizeof(hex), "%04X", glyphs[i].code);
        content_ += hex;
        // Columns run downwards, against the axis: what is taken back is a negative number.
        if (glyphs[i].less != 0)
          content_ += "> " + std::to_string(vertical_ ? -glyphs[i].less : glyphs[i].less) + " <";
      }
      content_ += ">] TJ\n";
    }
  }

  CPDFDoc& doc_;
  TextFonts& fonts_;
  double size_;
  bool vertical_;
  double step_ = 0;
  int lines_per_page_ = 1;
  int line_ = 0;
  int font_ = -1;
  std::string content_;
  std::vector<PDF_REF> pages_;
};

// Along the line, in thousandths of the size.
int advance_of(CPDFFontType0& font, unsigned code) {
  return font.is_vertical() ? -font.vertical_metrics(code).advance : font.glyph_width(code);
}

unsigned code_of(CPDFFontType0& font, wchar_t character) {
  unsigned char bytes[2];
  font.encode(&character, 1, bytes);
  return static_cast<unsigned>(bytes[0] << 8 | bytes[1]);
}

// A space that ends at the next column of eight digits.
void add_tab(TextFonts& fonts, std::vector<SetGlyph>& glyphs) {
  constexpr int kDigitsOfColumn = 8;
  constexpr wchar_t kSpace = ' ';
  const int font = fonts.find(kSpace);
  if (font < 0)
    return;
  const unsigned code = code_of(fonts.font(font), kSpace);
  const int advance = advance_of(fonts.font(font), code);
  const int digit = fonts.find(L'0') == font ? advance_of(fonts.font(font), code_of(fonts.font(font), L'0')) : advance;
  const int column = std::max(kDigitsOfColumn * digit, 1);
  int used = 0;
  for (const SetGlyph& glyph : glyphs)
    used = (used + glyph.advance - glyph.less) % column;
  const int wanted = column - used >= advance ? column - used : 2 * column - used;
  glyphs.push_back({font, code, advance, advance - wanted, kSpace});
}

// One paragraph as glyphs. False when no font can be used at all.
bool set_glyphs(TextFonts& fonts, const wchar_t* from, const wchar_t* to, std::vector<SetGlyph>& glyphs,
                Trouble& trouble) {
  glyphs.clear();
  for (; from != to; ++from) {
    if (*from == '\t') {
      add_tab(fonts, glyphs);
      continue;
    }
    int font = fonts.find(*from);
    if (font < 0) {
      if (is_ignorable(*from))
        continue;
      if (trouble.missing++ == 0)
        trouble.first_missing = *from;
      font = fonts.first();
      if (font < 0)
        return false;
    }
    CPDFFontType0& chosen = fonts.font(font);
    const unsigned number = code_of(chosen, *from);
    const int advance = advance_of(chosen, number);
    // In a column a space is as high as an ideograph, which would tear words apart.
    const int less = chosen.is_vertical() && *from == ' ' ? std::max(advance - kColumnSpace, 0) : 0;
    glyphs.push_back({font, number, advance, less, *from});
  }
  return true;
}

bool set_text(TextFonts& fonts, PageSetter& pages, const std::vector<wchar_t>& text, const TextOptions& options,
              Trouble& trouble) {
  const double room = ((options.vertical ? kPageHeight : kPageWidth) - 2 * kMargin) * 1000 / options.size;
  std::vector<SetGlyph> glyphs;
  std::vector<wchar_t> paragraph;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const bool ends = text[at] == '\n' || text[at] == '\f';
    if (!ends && (text[at] >= ' ' || text[at] == '\t'))
      paragraph.push_back(text[at]);
    if (!ends && at + 1 != text.size())
      continue;
    if (!set_glyphs(fonts, paragraph.data(), paragraph.data() + paragraph.size(), glyphs, trouble))
      return false;
    if (glyphs.empty() && text[at] == '\n' && !pages.add_line(nullptr, 0))
      return false;
    for (std::size_t start = 0; start < glyphs.size();) {
      const std::size_t end = end_of_line(glyphs, start, static_cast<int>(room));
      if (!pages.add_line(glyphs.data() + start, end - start))
        return false;
      start = end;
    }
    paragraph.clear();
    if (text[at] == '\f' && !pages.finish_page(true))
      return false;
  }
  return pages.finish_page() && pages.store_pages();
}

int report(const TextOptions& options, const Trouble& trouble) {
  if (trouble.bad_bytes != 0)
    complain(options.file, std::to_string(trouble.bad_bytes) + " bytes are no UTF-8; set as U+FFFD");
  if (trouble.missing != 0) {
    char first[16];
    std::snprintf(first, sizeof(first), "U+%04X", static_cast<unsigned>(trouble.first_missing));
    complain(options.file, std::to_string(trouble.missing) + " characters have no glyph in these fonts, the first is " +
                               first + "; name a further font by --font");
  }
  return trouble.bad_bytes + trouble.missing == 0 ? kExitClean : kExitProblems;
}

}  // namespace

int add_text_pages(CPDFDoc& doc, const TextOptions& options) {
  std::string utf8;
  if (!read_input(options.file, utf8))
    return kExitFailed;
  if (utf8.empty()) {
    complain(input_name(options.file), "has no text that could be set into pages");
    return kExitFailed;
  }
  Trouble trouble;
  const std::vector<wchar_t> text = characters_of(utf8, trouble);
  TextFonts fonts(doc.table(), options);
  if (!fonts.open())
    return kExitFailed;
  PageSetter pages(doc, fonts, options);
  const bool done = set_text(fonts, pages, text, options, trouble);
  fonts.report_refused();
  if (!done) {
    complain(options.file, "could not be set into pages");
    return kExitFailed;
  }
  return report(options, trouble);
}

}  // namespace sheaf::tool
