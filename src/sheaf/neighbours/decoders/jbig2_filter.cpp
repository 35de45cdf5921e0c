// The filter around the decoder: which page it takes, and how it is handed out.
#include "sheaf/neighbours/decoders/jbig2_filter.h"

#include <algorithm>
#include <cstring>

#include "sheaf/base/heap.h"

using namespace sheaf;

CPDFStreamJBIG2::~CPDFStreamJBIG2() {
  CPDFStreamJBIG2::close();
  globals.clear();
  decoder.clear();
}

// The page's record frees the bitmap whatever its count says, so the reference must go before it.
void CPDFStreamJBIG2::release_page() {
  if (page != nullptr && --page->refs == 0)
    QVFree(page);
  page = nullptr;
  page_size = 0;
}

void CPDFStreamJBIG2::close() {
  QVFree(globals_data);
  globals_data = nullptr;
  globals_len = 0;
  release_page();
  CPDFStream::close();
}

int CPDFStreamJBIG2::open(const unsigned char* globals_src, int len) {
  release_page();
  read_pos = 0;
  if (globals_src != nullptr && len > 0) {
    auto* copy = static_cast<std::uint8_t*>(QVAlloc(static_cast<std::size_t>(len)));
    if (copy != nullptr) {
      std::memcpy(copy, globals_src, static_cast<std::size_t>(len));
      QVFree(globals_data);
      globals_data = copy;
      globals_len = len;
      globals.dec_data(globals_data, globals_len);  // what can be used of it shows in the page
    }
  }
  if (globals_data != nullptr)
    decoder.parent = &globals;
  const int result = decoder.dec_data(data, left);
  if (decoder.is_cut || globals.is_cut)
    early_end = kEarlyEndData;
  if (decoder.limits.refused || globals.limits.refused)
    early_end = kEarlyEndLimit;
  if (result == 0)
    return 0;
  if (decoder.page_flag == 0)
    decoder.page_flag = 1;
  // The last page counts as finished even when nothing says so.
  decoder.pages[decoder.page_last].state = kPageFinished;
  QVJB2_Page* const end = decoder.pages + decoder.page_cap;
  QVJB2_Page* first =
      std::find_if(decoder.pages, end, [](const QVJB2_Page& record) { return record.state == kPageFinished; });
  if (first == end)
    return result;
  first->state = kPageTaken;
  page = first->bitmap;
  ++page->refs;
  page_size = page->stride * page->height;
  return result;
}

int CPDFStreamJBIG2::read_block(void* dst, int size) {
  const std::int64_t rest = std::int64_t{page_size} - read_pos;
  if (page == nullptr)
    return 0;
  if (size >= rest) {
    if (rest < 1)
      return 0;
    size = static_cast<int>(rest);
  }
  if (size < 1) {
    // A step back, but never in front of the page.
    read_pos = static_cast<std::uint32_t>(std::max<std::int64_t>(std::int64_t{read_pos} + size, 0));
    return size;
  }
  const std::uint8_t* from = page->data + read_pos;
  auto* to = static_cast<std::uint8_t*>(dst);
  std::transform(from, from + size, to, [](std::uint8_t byte) { return static_cast<std::uint8_t>(~byte); });
  read_pos += static_cast<std::uint32_t>(size);
  return size;
}
