// Prints an XMP packet from the document information, with PDF/A-1b identification and padding.
#include "sheaf/neighbours/page/xmp.h"

#include <cstring>

#include "sheaf/base/chars.h"
#include "sheaf/base/grow_array.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/page/xmp_properties.h"
#include "sheaf/object/text_utf8.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr int kPaddingLines = 20;  // about two kilobytes, so that the packet can grow in place
constexpr int kPaddingColumns = 100;

// Text of the packet while it grows.
class XmlText {
public:
  void add(const char* text) {
    for (; *text != 0; ++text)
      bytes_.push(*text);
  }
  // Text content: what XML reserves is escaped, and what it forbids left out.
  void add_escaped(const char* text) {
    for (; *text != 0; ++text) {
      switch (*text) {
        case '&':
          add("&amp;");
          break;
        case '<':
          add("&lt;");
          break;
        case '>':
          add("&gt;");
          break;
        default:
          if (static_cast<unsigned char>(*text) >= ' ' || *text == '\n' || *text == '\t')
            bytes_.push(*text);
      }
    }
  }
  std::size_t size() const { return bytes_.size(); }
  unsigned char* copy() const {
    auto* block = static_cast<unsigned char*>(QVAlloc(bytes_.size() + 1));
    if (block == nullptr)
      return nullptr;
    std::memcpy(block, bytes_.begin(), bytes_.size());
    block[bytes_.size()] = 0;
    return block;
  }

private:
  GrowArray<char> bytes_;
};

void add_property(XmlText& out, const XmpProperty& property, const char* value) {
  char date[40];
  if (property.form == XmpForm::kDate) {
    xmp_date(value, date);
    value = date;
  }
  if (*value == 0)
    return;
  out.add("   <");
  out.add(property.name);
  out.add(">");
  const bool listed = property.form == XmpForm::kAlternatives || property.form == XmpForm::kSequence;
  const char* const list = property.form == XmpForm::kAlternatives ? "rdf:Alt" : "rdf:Seq";
  if (listed) {
    out.add("<");
    out.add(list);
    out.add(property.form == XmpForm::kAlternatives ? "><rdf:li xml:lang=\"x-default\">" : "><rdf:li>");
  }
  out.add_escaped(value);
  if (listed) {
    out.add("</rdf:li></");
    out.add(list);
    out.add(">");
  }
  out.add("</");
  out.add(property.name);
  out.add(">\n");
}

}  // namespace

void sheaf::xmp_date(const char* text, char (&out)[40]) {
  out[0] = 0;
  if (std::strncmp(text, "D:", 2) == 0)
    text += 2;
  int digits = 0;
  while (digits < 14 && is_digit(text[digits]))
    ++digits;
  if (digits < 4)
    return;
  char* at = out;
  const auto copy = [&](int from, int count) {
    std::memcpy(at, text + from, static_cast<std::size_t>(count));
    at += count;
  };
  copy(0, 4);
  for (int from = 4; from + 2 <= digits && from <= 6; from += 2) {
    *at++ = '-';
    copy(from, 2);
  }
  if (digits >= 12) {
    *at++ = 'T';
    copy(8, 2);
    *at++ = ':';
    copy(10, 2);
    *at++ = ':';
    if (digits >= 14)
      copy(12, 2);
    else
      at = static_cast<char*>(std::memcpy(at, "00", 2)) + 2;
    const char* const zone = text + digits;
    const bool has_offset = (*zone == '+' || *zone == '-') && is_digit(zone[1]) && is_digit(zone[2]);
    if (has_offset) {
      copy(digits, 3);
      *at++ = ':';
      const char* minutes = zone[3] == '\'' ? zone + 4 : zone + 3;
      const bool has_minutes = is_digit(minutes[0]) && is_digit(minutes[1]);
      at = static_cast<char*>(std::memcpy(at, has_minutes ? minutes : "00", 2)) + 2;
    } else {
      *at++ = 'Z';
    }
  }
  *at = 0;
}

unsigned char* CPDFXMP::gen_xmp(CPDFXRefTable* doc, CPDFObj* info, unsigned int& len) {
  len = 0;
  XmlText out;
  out.add(
      "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
      "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">\n"
      " <rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">\n"
      "  <rdf:Description rdf:about=\"\"\n"
      "    xmlns:dc=\"http://purl.org/dc/elements/1.1/\"\n"
      "    xmlns:pdf=\"http://ns.adobe.com/pdf/1.3/\"\n"
      "    xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\"");
  if (doc->claims_pdfa != 0) {
    out.add(
        "\n    xmlns:pdfaid=\"http://www.aiim.org/pdfa/ns/id/\">\n"
        "   <pdfaid:part>1</pdfaid:part>\n"
        "   <pdfaid:conformance>B</pdfaid:conformance>\n");
  } else {
    out.add(">\n");
  }
  out.add("   <dc:format>application/pdf</dc:format>\n");
  const Freed<CPDFObj> values = doc->value(info);
  const CPDFDictionary* dict = values.as_dict();
  for (const XmpProperty& property : kXmpProperties) {
    const Freed<CPDFObj> value = doc->value(dict, property.key);
    if (value.tag != kTagString)
      continue;
    std::size_t size = 0;
    const HeapBlock<char> utf8(text_to_utf8(value.as_string(), size));
    if (utf8)
      add_property(out, property, utf8.get());
  }
  out.add("  </rdf:Description>\n </rdf:RDF>\n</x:xmpmeta>\n");
  for (int line = 0; line < kPaddingLines; ++line) {
    for (int column = 0; column < kPaddingColumns; ++column)
      out.add(" ");
    out.add("\n");
  }
  out.add("<?xpacket end=\"w\"?>");
  unsigned char* block = out.copy();
  len = block != nullptr ? static_cast<unsigned int>(out.size()) : 0;
  return block;
}
