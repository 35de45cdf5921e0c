// Which entry of the document information says what a property of XMP says (ISO 19005-1, 6.7.3).
#pragma once

#include <cstdint>

namespace sheaf {

enum class XmpForm { kText, kDate, kAlternatives, kSequence };

struct XmpProperty {
  const char* key;   ///< In the document information.
  const char* name;  ///< With the usual prefix of its namespace.
  XmpForm form;
};

constexpr XmpProperty kXmpProperties[] = {
    {"Title", "dc:title", XmpForm::kAlternatives},         {"Author", "dc:creator", XmpForm::kSequence},
    {"Subject", "dc:description", XmpForm::kAlternatives}, {"Keywords", "pdf:Keywords", XmpForm::kText},
    {"Producer", "pdf:Producer", XmpForm::kText},          {"Creator", "xmp:CreatorTool", XmpForm::kText},
    {"CreationDate", "xmp:CreateDate", XmpForm::kDate},    {"ModDate", "xmp:ModifyDate", XmpForm::kDate},
};

struct XmpNamespace {
  const char* prefix;
  const char* uri;
};

constexpr XmpNamespace kXmpNamespaces[] = {
    {"dc", "http://purl.org/dc/elements/1.1/"},
    {"pdf", "http://ns.adobe.com/pdf/1.3/"},
    {"xmp", "http://ns.adobe.com/xap/1.0/"},
    {"pdfaid", "http://www.aiim.org/pdfa/ns/id/"},
};

constexpr const char* kRdfNamespace = "http://www.w3.org/1999/02/22-rdf-syntax-ns#";

/// "D:20240131120000+01'00'" as "2024-01-31T12:00:00+01:00"; an empty text for what is no date. What
/// is left out on the right is left out here too (ISO 32000-1, 7.9.4; ISO 8601).
void xmp_date(const char* text, char (&out)[40]);

}  // namespace sheaf
