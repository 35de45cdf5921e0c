// Each shape is `count` of one thing, as far as possible in one place.
#include "robust/growth_shapes.h"

#include <functional>

#include "filters/lzw_encoder.h"
#include "support/jbig2_encoder.h"
#include "support/pdf_builder.h"

namespace {

using Body = std::function<std::string(int)>;

std::string repeated(int count, const Body& part) {
  std::string all;
  for (int i = 0; i < count; ++i)
    all += part(i);
  return all;
}

std::string many(int count, const std::string& text) {
  return repeated(count, [&text](int) { return text; });
}

std::string ref(int num) {
  return std::to_string(num) + " 0 R ";
}

std::string refs(int count, int first) {
  return repeated(count, [first](int i) { return ref(first + i); });
}

// A page 3 and the objects from 4 on, with more in the catalogue and in the page.
struct Parts {
  std::string catalog;
  std::string page;
};

PdfBuilder one_page(const Parts& parts = {}) {
  PdfBuilder pdf;
  pdf.obj(1, "<</Type/Catalog/Pages 2 0 R" + parts.catalog + ">>");
  pdf.obj(2, "<</Type/Pages/Count 1/Kids[3 0 R]/MediaBox[0 0 9 9]>>");
  pdf.obj(3, "<</Type/Page/Parent 2 0 R" + parts.page + ">>");
  return pdf;
}

std::string with_objects(int count, const Body& body, const Parts& parts = {}) {
  PdfBuilder pdf = one_page(parts);
  for (int i = 0; i < count; ++i)
    pdf.obj(4 + i, body(4 + i));
  return pdf.classic().str();
}

std::string with_streams(int count, const std::string& keys, const Body& data) {
  PdfBuilder pdf = one_page();
  for (int i = 0; i < count; ++i)
    pdf.stream(4 + i, keys, data(i));
  return pdf.classic().str();
}

std::string with_kids(int count, const Body& kid) {
  PdfBuilder pdf;
  pdf.obj(1, "<</Type/Catalog/Pages 2 0 R>>");
  pdf.obj(2, "<</Type/Pages/Count 1/Kids[" + repeated(count, kid) + "]/MediaBox[0 0 9 9]>>");
  return pdf.obj(3, "<</Type/Page/Parent 2 0 R>>").classic().str();
}

std::string one_value(const std::string& value) {
  return with_objects(1, [&value](int) { return value; });
}

std::string dictionary_of(int count, const Body& key) {
  return one_value("<<" + repeated(count, key) + ">>");
}

// Pages and node chains.

std::string chain_of_nodes(int count) {
  PdfBuilder pdf;
  pdf.obj(1, "<</Type/Catalog/Pages 2 0 R>>");
  for (int i = 2; i < count + 2; ++i)
    pdf.obj(i, "<</Type/Pages/Count 1/Kids[" + ref(i + 1) + "]/Parent " + ref(i - 1) + ">>");
  return pdf.obj(count + 2, "<</Type/Page/Parent " + ref(count + 1) + "/MediaBox[0 0 9 9]>>").classic().str();
}

std::string pages_with_one_resource(int count) {
  PdfBuilder pdf;
  pdf.obj(1, "<</Type/Catalog/Pages 2 0 R>>");
  pdf.obj(2, "<</Type/Pages/Count " + std::to_string(count) + "/Kids[" + refs(count, 4) +
                 "]/MediaBox[0 0 9 9]/Resources<</Font<<" +
                 repeated(count, [](int i) { return "/F" + std::to_string(i) + " 3 0 R"; }) + ">>>>>>");
  pdf.obj(3, "<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>");
  for (int i = 0; i < count; ++i)
    pdf.obj(4 + i, "<</Type/Page/Parent 2 0 R>>");
  return pdf.classic().str();
}

// Forms and annotations.

std::string fields(int count, const Body& body) {
  return with_objects(count, body, {"/AcroForm<</Fields[" + refs(count, 4) + "]>>", "/Annots[" + refs(count, 4) + "]"});
}

std::string field_chain(int count) {
  return with_objects(count,
                      [count](int num) {
                        const std::string kid = num < count + 3 ? "/Kids[" + ref(num + 1) + "]"
                                                                : "/FT/Tx/V(x)/Subtype/Widget/Rect[0 0 1 1]";
                        return "<</T(a)/Parent " + ref(num - 1) + kid + ">>";
                      },
                      {"/AcroForm<</Fields[4 0 R]>>", "/Annots[" + ref(count + 3) + "]"});
}

// Objects that hang together.

std::string name_tree(int count) {
  return with_objects(
      count, [](int) { return "[3 0 R/Fit]"; },
      {"/Names<</Dests<</Names[" +
           repeated(count, [](int i) { return "(n" + std::to_string(100000 + i) + ")" + ref(4 + i); }) + "]>>>>",
       ""});
}

std::string outline(int count, const std::function<int(int)>& next) {
  return with_objects(count,
                      [&](int num) {
                        return "<</Title(t)/Parent 4 0 R/First " + ref(num + 1) + "/Next " + ref(next(num)) +
                               "/Dest[3 0 R/Fit]>>";
                      },
                      {"/Outlines 4 0 R", ""});
}

std::string structure(int count) {
  return with_objects(count,
                      [count](int num) {
                        return "<</Type/StructElem/S/P/P " + ref(num - 1) + "/Pg 3 0 R/K" +
                               (num < count + 3 ? ref(num + 1) : "[0]") + ">>";
                      },
                      {"/StructTreeRoot 4 0 R/MarkInfo<</Marked true>>", "/StructParents 0"});
}

std::string layers(int count) {
  return with_objects(count, [](int num) { return "<</Type/OCG/Name(l" + std::to_string(num) + ")>>"; },
                      {"/OCProperties<</OCGs[" + refs(count, 4) + "]/D<</Order[" + refs(count, 4) + "]>>>>", ""});
}

// Sections and damage.

std::string revisions(int count) {
  PdfBuilder pdf = one_page();
  pdf.classic();
  for (int i = 0; i < count; ++i)
    pdf.obj(4, "(state " + std::to_string(i) + ")").classic();
  return pdf.str();
}

std::string sparse_numbers(int count, int step) {
  PdfBuilder pdf = one_page({"", "/A[" + repeated(count, [step](int i) { return ref(4 + step * i); }) + "]"});
  for (int i = 0; i < count; ++i)
    pdf.obj(4 + step * i, "(x)");
  return pdf.classic().str();
}

std::string shifted_entries(int count, int by) {
  std::string file = with_objects(count, [](int num) { return "<</A" + ref(num + 1) + ">>"; });
  for (std::size_t at = file.find("00000 n"); at != std::string::npos; at = file.find("00000 n", at + 1)) {
    char digits[12];
    std::snprintf(digits, sizeof(digits), "%010d", std::max(std::stoi(file.substr(at - 11, 10)) + by, 0));
    file.replace(at - 11, 10, digits);
  }
  return file;
}

std::string without(std::string file, const std::string& word) {
  for (std::size_t at = file.find(word); at != std::string::npos; at = file.find(word, at))
    file.erase(at, word.size());
  return file;
}

std::string equal_numbers(int count) {
  PdfBuilder pdf = one_page();
  for (int i = 0; i < count; ++i)
    pdf.raw("4 0 obj\n(version " + std::to_string(i) + ")\nendobj\n");
  return pdf.obj(4, "(last)").classic().str();
}

std::string object_streams(int count, const std::string& more) {
  PdfBuilder pdf = one_page();
  for (int i = 0; i < count / 10; ++i) {
    std::vector<std::pair<int, std::string>> members;
    for (int k = 0; k < 10; ++k)
      members.push_back({1000 + 11 * i + k, "<</A " + ref(1000 + 11 * i) + more + ">>"});
    pdf.object_stream(1010 + 11 * i, members);
  }
  return pdf.xref_stream(999).str();
}

// Filters.

std::string jbig2_regions(int count) {
  using namespace jb2_test;
  constexpr int kSide = 1000;
  std::string data = segment(0, 48, {}, page_info(kSide, kSide));
  const std::string body = region_info(Picture(kSide, kSide)) + u8(0) + places_bytes(nominal_adaptive(0)) + "\1\2\3";
  for (int i = 1; i <= count; ++i)
    data += segment(static_cast<std::uint32_t>(i), 38, {}, body);
  PdfBuilder pdf = one_page();
  return pdf.stream(4, "/Subtype/Image/Width 1000/Height 1000/Filter/JBIG2Decode", data).classic().str();
}

// Pictures of their own that a few bytes make large, each of another kind.
std::string jbig2_pictures(int count) {
  using namespace jb2_test;
  constexpr int kSide = 2000;
  const Picture page(kSide, kSide);
  const std::string info = region_info(page);
  const std::string kinds[] = {
      segment(1, 38, {}, info + u8(0) + places_bytes(nominal_adaptive(0)) + "\1\2\3"),
      segment(1, 42, {}, info + u8(1) + "\1\2\3"),
      segment(1, 0, {}, u16(0) + places_bytes(nominal_adaptive(0)) + u32(1000) + u32(1000) + "\1\2\3") +
          segment(2, 6, {1}, info + u16(0) + u32(1000000) + "\1\2\3"),
      segment(1, 16, {}, u8(0) + u8(255) + u8(255) + u32(1) + "\1\2\3") +
          segment(2, 22, {1}, info + u8(0) + u32(kSide) + u32(kSide) + u32(0) + u32(0) + u16(256) + u16(0) + "\1\2"),
  };
  PdfBuilder pdf = one_page();
  for (int i = 0; i < count; ++i)
    pdf.stream(4 + i, "/Subtype/Image/Width 2000/Height 2000/Filter/JBIG2Decode",
               segment(0, 48, {}, page_info(kSide, kSide)) + kinds[i % 4]);
  return pdf.classic().str();
}

// Symbols that all pictures share.
std::string jbig2_globals(int count) {
  using namespace jb2_test;
  PdfBuilder pdf = one_page();
  pdf.stream(
      4, "",
      segment(0, 0, {}, dictionary_body(std::vector<Picture>(static_cast<std::size_t>(count), Picture(30, 30)))));
  for (int i = 0; i < count; ++i)
    pdf.stream(5 + i, "/Subtype/Image/Width 9/Height 9/Filter/JBIG2Decode/DecodeParms<</JBIG2Globals 4 0 R>>",
               segment(1, 48, {}, page_info(9, 9)));
  return pdf.classic().str();
}

std::string declared_sizes(int count, const std::string& filter, const std::string& header) {
  return with_streams(
      count, "/Subtype/Image/Width 60000/Height 60000/BitsPerComponent 8/ColorSpace/DeviceRGB/Filter/" + filter,
      [&header](int) { return header; });
}

// A JPEG of 65,535 by 65,535 pixels and a JPEG 2000 code stream of 60,000 by 60,000, as far as the start of the data.
std::string jpeg_header() {
  return std::string("\xFF\xD8\xFF\xC0\0\x11\x08\xFF\xFF\xFF\xFF\3\1\x11\0\2\x11\1\3\x11\1", 21) +
         std::string("\xFF\xDA\0\x0C\3\1\0\2\x11\3\x11\0\x3F\0", 14) + std::string(20, '\0');
}
std::string jpx_header() {
  using jb2_test::u32;
  return std::string("\xFF\x4F\xFF\x51\0\x2F\0\0", 8) + u32(60000) + u32(60000) + std::string(8, '\0') + u32(60000) +
         u32(60000) + std::string(8, '\0') + std::string("\0\3\7\1\1\7\1\1\7\1\1", 11) +
         std::string("\xFF\x52\0\x0C\0\0\0\1\0\5\4\4\0\1\xFF\x5C\0\4\x40\0\xFF\x90\0\x0A\0\0\0\0\0\0\0\1\xFF\x93", 34);
}

// As many pages as names that lead to them.
std::string pages_with_names(int count) {
  PdfBuilder pdf;
  pdf.obj(1, "<</Type/Catalog/Pages 2 0 R/Names<</Dests 3 0 R>>>>");
  pdf.obj(2, "<</Type/Pages/Count " + std::to_string(count) + "/Kids[" + refs(count, 4) + "]/MediaBox[0 0 9 9]>>");
  const Body name = [](int i) { return "(n" + std::to_string(100000 + i) + ")[" + ref(4 + i) + "/Fit]"; };
  pdf.obj(3, "<</Names[" + repeated(count, name) + "]>>");
  for (int i = 0; i < count; ++i)
    pdf.obj(4 + i, "<</Type/Page/Parent 2 0 R>>");
  return pdf.classic().str();
}

// Object streams that stand in the file against the order of their numbers.
std::string descending_object_streams(int count) {
  PdfBuilder pdf = one_page();
  for (int i = count / 4; i > 0; --i)
    pdf.object_stream(1000 + 2 * i, {{1001 + 2 * i, "[" + ref(1000) + "]"}});
  return pdf.xref_stream(999).str();
}

std::string length_chain(int count) {
  PdfBuilder pdf = one_page();
  for (int i = 0; i < count; ++i)
    pdf.obj(4 + i, "<</Length " + ref(5 + i) + ">>\nstream\ntext\nendstream");
  return pdf.classic().str();
}

const std::vector<GrowthShape> kShapes = {
    {"sound objects",
     [](int n) { return with_objects(n, [](int num) { return "<</A[1 2 " + ref(num) + "]/B(text)>>"; }); }},
    {"sound streams",
     [](int n) {
       return with_streams(n, "/Filter/FlateDecode",
                           [](int i) { return PdfBuilder::deflated("text " + std::to_string(i)); });
     }},
    {"pages", [](int n) { return PdfBuilder().pages(n).classic().str(); }},
    {"pages with one large resource dictionary", pages_with_one_resource},
    {"object streams", [](int n) { return object_streams(n, "/B[1 2 3]"); }},
    {"object streams that extend one another", [](int n) { return object_streams(n, "/Extends 1010 0 R"); }},
    {"revisions", revisions},
    {"sparse numbers", [](int n) { return sparse_numbers(n, 90); }},
    {"numbers in the millions", [](int n) { return sparse_numbers(n, 2'000'000 / n); }},
    {"numbers in descending order",
     [](int n) {
       PdfBuilder pdf = one_page();
       for (int i = n; i > 0; --i)
         pdf.obj(3 + i, "(x)");
       return pdf.classic().str();
     }},
    {"one long string", [](int n) { return one_value("(" + many(n, std::string(40, 's')) + ")"); }},
    {"one long name", [](int n) { return one_value("/" + many(n, "#41#42")); }},
    {"one long comment", [](int n) { return one_value(many(n, "%" + std::string(40, 'c')) + "\n1"); }},
    {"one deep array", [](int n) { return one_value(many(n, "[")); }},
    {"one deep dictionary", [](int n) { return one_value(many(n, "<</A")); }},
    {"one long array", [](int n) { return one_value("[" + refs(n, 1) + "]"); }},
    {"one dictionary, keys descending",
     [](int n) { return dictionary_of(n, [](int i) { return "/K" + std::to_string(1000000 - i) + " 1"; }); }},
    {"one dictionary, keys equal", [](int n) { return dictionary_of(n, [](int) { return "/Key 1"; }); }},
    {"a chain of references", [](int n) { return with_objects(n, [](int num) { return ref(num + 1); }); }, 200},
    {"hexadecimal strings without end", [](int n) { return with_objects(n, [](int) { return "<414"; }); }},
    {"strings without end", [](int n) { return with_objects(n, [](int) { return "(abc"; }); }},
    {"dictionaries without end", [](int n) { return with_objects(n, [](int) { return "<</A[1"; }); }},
    {"kids that are their own node", [](int n) { return with_kids(n, [](int) { return ref(2); }); }},
    {"kids that are one page", [](int n) { return with_kids(n, [](int) { return ref(3); }); }},
    {"kids that are no page", [](int n) { return with_kids(n, [](int i) { return ref(i == 0 ? 3 : 1); }); }},
    {"kids in their node", [](int n) { return with_kids(n, [](int) { return "<</Type/Page>>"; }); }},
    {"a chain of page tree nodes", chain_of_nodes},
    {"contents in many parts",
     [](int n) {
       return with_objects(n, [](int) { return "<</Length 1>>\nstream\nq\nendstream"; },
                           {"", "/Contents[" + refs(n, 4) + "]"});
     }},
    {"one content over and over",
     [](int n) {
       return with_objects(1, [](int) { return "<</Length 1>>\nstream\nq\nendstream"; },
                           {"", "/Contents[" + many(n, ref(4)) + "]"});
     }},
    {"annotations of a page",
     [](int n) {
       return with_objects(n, [](int) { return "<</Subtype/Link/Rect[0 0 1 1]/P 3 0 R/Dest(a)>>"; },
                           {"", "/Annots[" + refs(n, 4) + "]"});
     }},
    {"links that name their own page",
     [](int n) {
       return with_objects(n, [](int) { return "<</Subtype/Link/Rect[0 0 1 1]/P 3 0 R/Dest[3 0 R/Fit]>>"; },
                           {"", "/Annots[" + refs(n, 4) + "]"});
     }},
    {"widgets of one parent",
     [](int n) {
       PdfBuilder pdf = one_page({"/AcroForm<</Fields[4 0 R]>>", "/Annots[" + refs(n, 5) + "]"});
       pdf.obj(4, "<</FT/Btn/T(a)/Kids[" + refs(n, 5) + "]>>");
       for (int i = 0; i < n; ++i)
         pdf.obj(5 + i, "<</Subtype/Widget/Rect[0 0 1 1]/Parent 4 0 R/P 3 0 R>>");
       return pdf.classic().str();
     }},
    {"fields of one name",
     [](int n) { return fields(n, [](int) { return "<</FT/Tx/T(a)/V(x)/Subtype/Widget/Rect[0 0 1 1]/P 3 0 R>>"; }); }},
    {"fields of many names",
     [](int n) {
       return fields(n, [](int num) {
         return "<</FT/Tx/T(a" + std::to_string(num) + ")/V(x)/Subtype/Widget/Rect[0 0 1 1]/P 3 0 R>>";
       });
     }},
    {"fields that are their own kids",
     [](int n) { return fields(n, [](int num) { return "<</FT/Tx/T(a)/Kids[4 0 R" + ref(num) + "]>>"; }); }},
    {"a chain of fields", field_chain},
    {"annotations nested as deep as there are",
     [](int n) {
       return with_objects(n, [](int num) {
         return "<</Subtype/Widget/Rect[0 0 1 1]/T(" + std::to_string(num) + ")/Parent " + ref(num + 1) + ">>";
       });
     },
     200},
    {"destinations by name", name_tree},
    {"a name tree whose kids are itself",
     [](int n) {
       return with_objects(1, [n](int) { return "<</Kids[" + many(n, ref(4)) + "]/Names[(a)[3 0 R/Fit]]>>"; },
                           {"/Names<</Dests 4 0 R>>", ""});
     }},
    {"page labels",
     [](int n) {
       return with_objects(
           1,
           [n](int) { return "<</Nums[" + repeated(n, [](int i) { return std::to_string(i) + "<</S/D>>"; }) + "]>>"; },
           {"/PageLabels 4 0 R", ""});
     }},
    {"outline entries side by side", [](int n) { return outline(n, [](int num) { return num + 1; }); }},
    {"outline entries in a ring", [](int n) { return outline(n, [](int) { return 4; }); }},
    {"a chain of structure elements", structure},
    {"layers", layers},
    {"object streams behind image filters",
     [](int n) {
       return with_streams(n / 10, "/Type/ObjStm/N 1/First 4/Filter/CCITTFaxDecode", [](int) { return "\1"; });
     }},
    {"CCITT images",
     [](int n) {
       return with_streams(n,
                           "/Subtype/Image/Width 800/Height 800/Filter/CCITTFaxDecode/DecodeParms<</K -1/Columns 800>>",
                           [](int) { return std::string(200, '\xFF'); });
     }},
    {"LZW data",
     [](int n) {
       return with_streams(1, "/Filter/LZWDecode",
                           [n](int) { return lzw_encoded(many(n, "0123456789abcdef"), 1, true); });
     }},
    {"chains of filters",
     [](int n) {
       return with_streams(n, "/Filter[/ASCIIHexDecode/ASCIIHexDecode/ASCIIHexDecode]",
                           [](int) { return "33343331>"; });
     }},
    {"one chain of many filters",
     [](int n) { return with_streams(1, "/Filter[" + many(n, "/ASCIIHexDecode") + "]", [](int) { return "41>"; }); }},
    {"JBIG2 regions over one another", jbig2_regions, 100},
    {"JBIG2 pictures of all kinds", jbig2_pictures, 12},
    {"JBIG2 symbols for all pictures", jbig2_globals, 12},
    {"JPEG pictures of any size", [](int n) { return declared_sizes(n, "DCTDecode", jpeg_header()); }, 12},
    {"JPEG 2000 pictures of any size", [](int n) { return declared_sizes(n, "JPXDecode", jpx_header()); }, 12},
    {"predictors with rows of any size",
     [](int n) {
       return with_streams(n, "/Filter/FlateDecode/DecodeParms<</Predictor 15/Columns 2147483647>>",
                           [](int) { return PdfBuilder::deflated("\2\1\1"); });
     },
     12},
    {"as many pages as names", pages_with_names},
    {"object streams in descending order", descending_object_streams},
    {"a lone high number",
     [](int n) { return sparse_numbers(n, 1) + "\n99999999 0 obj 1 endobj\nxref\n99999999 1\n"; }},
    {"a chain of lengths", length_chain, 200},
    {"streams without end",
     [](int n) { return without(with_streams(n, "", [](int) { return "text"; }), "endstream"); }},
    {"objects without end", [](int n) { return without(with_objects(n, [](int) { return "<</A 1>>"; }), "endobj"); }},
    {"entries too low", [](int n) { return shifted_entries(n, -300); }},
    {"entries too high", [](int n) { return shifted_entries(n, 40); }},
    {"one number over and over", equal_numbers},
    {"junk behind the end", [](int n) { return one_value("1") + many(n, std::string(30, 'j')); }},
    {"marks of the end behind the end", [](int n) { return one_value("1") + many(n, "startxref\n9\n%%EOF\n"); }},
};

}  // namespace

const std::vector<GrowthShape>& growth_shapes() {
  return kShapes;
}
