// Elements are appended to one string; numbers have one decimal.
#include "map/svg_writer.h"

#include <cstdio>

#include "sheaf/base/wide_text.h"

namespace sheaf::tool {

SvgWriter::SvgWriter(double width, double height) {
  put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\"");
  attribute("width", width);
  attribute("height", height);
  put(" viewBox=\"0 0 ");
  number(width);
  put(" ");
  number(height);
  put("\" font-family=\"'DejaVu Sans',Verdana,'Segoe UI',sans-serif\" shape-rendering=\"crispEdges\">\n");
}

// A tenth of a pixel is as fine as anybody sees.
void SvgWriter::number(double value) {
  char text[32];
  const int len = std::snprintf(text, sizeof text, "%.1f", value);
  std::string_view shown(text, static_cast<std::size_t>(len));
  if (shown.ends_with(".0"))
    shown.remove_suffix(2);
  out_ += shown;
}

void SvgWriter::attribute(const char* name, double value) {
  put(" ");
  put(name);
  put("=\"");
  number(value);
  put("\"");
}

void SvgWriter::escaped(std::string_view text) {
  const std::string copy(text);  // the decoder below relies on a NUL at the end
  for (std::size_t at = 0; at < copy.size();) {
    wchar_t character = 0;
    const int used = cvt_char_UTF8_To_UCS4(reinterpret_cast<const unsigned char*>(copy.c_str() + at), character);
    const auto size = static_cast<std::size_t>(used > 0 ? used : 1);
    // XML has no control characters, surrogates or the two numbers after them.
    const bool unfit = character < 0x20 || character == 0x7F || character == 0xFFFE || character == 0xFFFF;
    if (unfit)
      put("?");
    else if (character == '<')
      put("&lt;");
    else if (character == '>')
      put("&gt;");
    else if (character == '&')
      put("&amp;");
    else if (character == '"')
      put("&quot;");
    else
      out_.append(copy, at, size);
    at += size;
  }
}

void SvgWriter::rect(double x, double y, double width, double height, std::string_view fill, std::string_view title) {
  put("<rect");
  attribute("x", x);
  attribute("y", y);
  attribute("width", width);
  attribute("height", height);
  put(" fill=\"");
  put(fill);
  if (title.empty()) {
    put("\"/>\n");
    return;
  }
  put("\"><title>");
  escaped(title);
  put("</title></rect>\n");
}

void SvgWriter::text(double x, double y, std::string_view text, const TextStyle& style) {
  put("<text");
  attribute("x", x);
  attribute("y", y);
  attribute("font-size", style.size);
  put(" fill=\"");
  put(style.fill);
  put("\"");
  if (std::string_view(style.anchor) != "start") {
    put(" text-anchor=\"");
    put(style.anchor);
    put("\"");
  }
  put(style.bold ? " font-weight=\"bold\">" : ">");
  escaped(text);
  put("</text>\n");
}

void SvgWriter::begin_group(std::string_view title) {
  put("<g><title>");
  escaped(title);
  put("</title>\n");
}

const std::string& SvgWriter::finish() {
  put("</svg>\n");
  return out_;
}

}  // namespace sheaf::tool
