// The page list of a linearized file by its hint tables. A table of its own is used for it: what the
// hints infer never mixes with what the file's sections say.
#include "sheaf/document/doc.h"
#include "sheaf/neighbours/security/standard_handler.h"

using namespace sheaf;

namespace {

// Every page has a size, and no object comes up twice: numbers ascend after the first page.
bool is_complete(const PDF_PAGE_SET& set) {
  if (set.pages == nullptr || set.count < 1)
    return false;
  for (std::int32_t i = 0; i < set.count; ++i) {
    const PDF_PAGE_ITEM& page = set.pages[i];
    if (page.width == 0 || page.height == 0)
      return false;
    const bool ascends = i < 2 || page.obj > set.pages[i - 1].obj;
    if (!ascends || (i > 0 && page.obj == set.pages[0].obj))
      return false;
  }
  return true;
}

bool read_hints(CPDFXRefTable& table, PDF_PAGE_SET& set) {
  const std::uint32_t offset = table.read_linearized(set);
  if (offset == 0)
    return false;
  CPDFStandardSecHand handler;
  const bool readable = table.XRefAuthorize(&handler) != 0;
  const bool read = readable && table.read_linearized_hint(offset, 0, set) != 0;
  table.sec_hand = nullptr;  // the handler ends here
  return read;
}

}  // namespace

bool CPDFDoc::read_page_hints(CQVStream* stream, PDF_PAGE_SET& set) {
  set = PDF_PAGE_SET{};
  CPDFXRefTable table;
  table.stream = stream;
  if (read_hints(table, set) && is_complete(set))
    return true;
  QVFree(set.pages);
  set = PDF_PAGE_SET{};
  return false;
}

bool CPDFDoc::hints_hold() {
  if (stream_ == nullptr || linearized_length() == 0)
    return false;
  PDF_PAGE_SET set{};
  bool holds = read_page_hints(stream_, set) && set.count == page_count();
  for (std::int32_t i = 0; holds && i < set.count; ++i)
    holds = set.pages[i].obj == page_ref(i).index();
  QVFree(set.pages);
  return holds;
}
