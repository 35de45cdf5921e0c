// Any bytes as the hint stream of a linearized file whose other parts are sound; the first bytes
// choose how many pages it claims to have. Hints that are believed name pages that are there, and
// the page tree gives the same ones.
#include "../tests/support/pdf_builder.h"
#include "../tests/support/test_table.h"
#include "document_walk.h"

using namespace sheaf;

namespace {

constexpr std::size_t kHeader = 2;
constexpr std::size_t kMostBytes = 1 << 14;
constexpr int kPages = 4;

std::string number(std::size_t value) {
  char text[16];
  std::snprintf(text, sizeof(text), "%010zu", value);
  return text;
}

std::string page(int index) {
  return "<</Type/Page/Parent 11 0 R/MediaBox[0 0 " + std::to_string(100 + index) + " 200]>>";
}

// The offsets that stand in the parts in front of what they point to.
struct Places {
  std::size_t hints = 0;
  std::size_t main_section = 0;
  std::size_t length = 0;
};

std::string entry(std::size_t offset) {
  return number(offset) + " 00000 n \n";
}

// Pages two to four are objects 1 to 3; the first page's part has the objects 9 to 13.
std::string file_by(Places& places, unsigned claimed, const std::string& hints) {
  constexpr std::size_t kSectionRoom = 400;
  PdfBuilder front;
  front.obj(9, "<</Linearized 1/L " + number(places.length) + "/H[" + number(places.hints) + " " +
                   number(hints.size()) + "]/O 12/E " + number(places.hints) + "/N " + std::to_string(claimed) + "/T " +
                   number(places.main_section) + ">>");
  PdfBuilder rest(std::string(front.str().size() + kSectionRoom, ' '));
  rest.obj(10, "<</Type/Catalog/Pages 11 0 R>>");
  rest.obj(11, "<</Type/Pages/Count 4/Kids[12 0 R 1 0 R 2 0 R 3 0 R]>>").obj(12, page(0)).stream(13, "/S 36", hints);
  for (int i = 1; i < kPages; ++i)
    rest.obj(i, page(i));
  places.hints = rest.offset_of(13);
  places.main_section = rest.str().size();
  std::string section = "xref\n9 5\n" + entry(front.offset_of(9));
  for (int num = 10; num <= 13; ++num)
    section += entry(rest.offset_of(num));
  section += "trailer\n<</Size 14/Root 10 0 R/Prev " + number(places.main_section) + ">>\nstartxref\n0\n%%EOF\n";
  std::string file = rest.str();
  file.replace(0, front.str().size(), front.str());
  file.replace(front.str().size(), section.size(), section);
  file += "xref\n0 4\n0000000000 65535 f \n";
  for (int i = 1; i < kPages; ++i)
    file += entry(rest.offset_of(i));
  file += "trailer\n<</Size 4>>\nstartxref\n" + std::to_string(front.str().size()) + "\n%%EOF\n";
  places.length = file.size();
  return file;
}

std::string linearized_file(unsigned claimed, const std::string& hints) {
  Places places;
  file_by(places, claimed, hints);  // the numbers have fixed widths, so the second turn knows all places
  return file_by(places, claimed, hints);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < kHeader || size > kMostBytes)
    return 0;
  const unsigned claimed = data[1] < 192 ? data[0] % 8u : data[0] * 256u + data[1];
  MemStream file(linearized_file(claimed, std::string(reinterpret_cast<const char*>(data) + kHeader, size - kHeader)));
  PDF_PAGE_SET set{};
  const bool believed = CPDFDoc::read_page_hints(&file, set);
  CPDFDoc doc;
  expect(doc.open(&file));
  expect(doc.is_linearized() || claimed < 1 || claimed > 7);  // more pages than the file could hold are a lie
  expect(doc.page_count() == kPages);
  for (int i = 0; i < kPages; ++i)
    expect(doc.page_ref(i).num == (i == 0 ? 12 : i));
  if (believed) {
    expect(set.count == static_cast<int>(claimed) && set.pages != nullptr);
    for (int i = 0; i < set.count; ++i)
      expect(set.pages[i].obj == 12 || (set.pages[i].obj >= 1 && set.pages[i].obj <= 3));
  }
  doc.hints_hold();
  read_objects(doc.table());
  QVFree(set.pages);
  return 0;
}
