// Linearized files (ISO 32000-1, Annex F): recognised from their first object, so that the first
// page can be shown and the page list read before the end of the file is there.
#include <cstddef>
#include <string_view>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/object/array.h"
#include "sheaf/object/parse_buf.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr unsigned kObjWindow = 19;  // a header of 16 bytes before "obj"
constexpr std::ptrdiff_t kHeaderReach = 16;
constexpr unsigned kEndObjLen = 6;

// Finds the first "obj" and sets `buf_pos` on the number of its header.
bool skip_to_first_header(CPDFBuf& buf) {
  for (;;) {
    buf.buf_need(kObjWindow);
    if (buf.buf_len - buf.buf_pos < kObjWindow)
      return false;
    const std::size_t at = std::string_view(buf.buf_data, buf.buf_len).find("obj", buf.buf_pos);
    if (at == std::string_view::npos) {
      buf.buf_pos = buf.buf_len - (kObjWindow - 1);
      continue;
    }
    const char* const word = buf.buf_data + at;
    const char* const start = find_header_numbers(buf.buf_data, word);
    if (start == nullptr || word - start >= kHeaderReach)  // the byte before the number counts too
      return false;
    buf.buf_pos = static_cast<std::uint32_t>(start - buf.buf_data);
    return true;
  }
}

std::int32_t lenient_int(const CPDFObj& item) {
  return item.tag == kTagReal ? item.to_int() : item.low_word();
}

// What the parameter dictionary says, as far as it is used.
struct Parameters {
  std::int32_t pages;
  std::int32_t first_page;
  std::uint32_t hint_offset;
};

// The length that the file should have; false when the dictionary belongs to no usable file.
bool check_length(CPDFXRefTable& table, const CPDFDictionary& dict) {
  const CPDFObj* length = dict.get_item("L");
  if (length == nullptr)
    return true;
  if (length->tag != kTagInt)
    return false;
  // Kept when it differs too: what lies after this length was appended later.
  table.linearized_length = static_cast<std::uint32_t>(length->as_int());
  return table.stream->GetLen() == static_cast<long long>(table.linearized_length);
}

bool read_first_page(const CPDFDictionary& dict, Parameters& para) {
  const CPDFObj* first_page = dict.get_item("O");
  const CPDFObj* hints = dict.get_item("H");
  const CPDFArray* array = hints != nullptr ? hints->as_array() : nullptr;
  if (first_page == nullptr || array == nullptr || array->count < 2 || array->items[0].tag != kTagInt)
    return false;
  para.first_page = lenient_int(*first_page);
  para.hint_offset = static_cast<std::uint32_t>(array->items[0].as_int());
  return para.first_page >= 0;
}

void drop_pages(PDF_PAGE_SET& set) {
  QVFree(set.pages);
  set.pages = nullptr;
  set.count = 0;
}

// The page list, with the two pages that are known: "O", and object 1 for the page after it.
bool make_pages(CPDFXRefTable& table, const Parameters& para, PDF_PAGE_SET& set) {
  // Each page is an object of its own, so a count beyond the numbers that the file can hold lies.
  if (para.pages < 0 || static_cast<std::uint32_t>(para.pages) > table.max_obj_num())
    return false;
  const auto items = static_cast<std::size_t>(para.pages) + 2;
  set.pages = static_cast<PDF_PAGE_ITEM*>(QVCalloc(items, sizeof(PDF_PAGE_ITEM)));
  set.count = set.pages != nullptr ? para.pages : 0;
  return set.pages != nullptr;
}

}  // namespace

unsigned int CPDFXRefTable::read_linearized(PDF_PAGE_SET& set) {
  stream->SetPos(CQVStream::STR_SEEK_SET, 0);
  CPDFBufBase buf;
  buf.buf_init(stream);
  if (buf.buf_len == 0 || !skip_to_first_header(buf))
    return 0;
  Freed<CPDFObj> obj;
  obj.read(&buf, nullptr);
  const CPDFDictionary* dict = obj.as_dict();
  if (dict == nullptr || dict->get_item("Linearized") == nullptr || !check_length(*this, *dict))
    return 0;
  const CPDFObj* page = dict->get_item("P");
  if (page != nullptr && page->tag == kTagInt && page->as_int() != 0)
    return 0;
  const CPDFObj* count = dict->get_item("N");
  if (count == nullptr)
    return 0;
  Parameters para{lenient_int(*count), 0, 0};
  if (!make_pages(*this, para, set))
    return 0;
  if (!read_first_page(*dict, para) || object_index(para.first_page) >= max_obj_num()) {
    drop_pages(set);
    return 0;
  }
  set.pages[0].obj = object_index(para.first_page);
  set.pages[1].obj = 1;
  if (!grow_xref_items(object_index(para.first_page) + 1, true)) {
    drop_pages(set);
    return 0;
  }
  buf.buf_skip(kEndObjLen);
  buf.buf_skip_ws(true);
  return XRefRead(buf.position()) != 0 ? para.hint_offset : 0;
}

namespace {

QVFIX side_of(CPDFXRefTable* table, const CPDFObj& element) {
  if (element.is_number())
    return element.to_real();
  Freed<CPDFObj> value;
  CPDFXRefTable::resolve(table, value, &element);
  return value.to_real();
}

_QVRECTF rect_of(CPDFXRefTable* table, const CPDFArray& array) {
  if (array.count < 4 || array.items == nullptr)
    return {0, 0, 0, 0};
  return {side_of(table, array.items[0]), side_of(table, array.items[1]), side_of(table, array.items[2]),
          side_of(table, array.items[3])};
}

constexpr _QVRECTF kEmptyRect{fix_from_int(INT32_MAX), fix_from_int(INT32_MAX), fix_from_int(INT32_MIN),
                              fix_from_int(INT32_MIN)};

}  // namespace

void CPDFXRefTable::read_obj_rect(CPDFXRefTable* table, _QVRECTF& rect, const CPDFObj* obj) {
  if (obj == nullptr)
    return;
  Freed<CPDFObj> value;
  if (obj->tag != kTagArray)
    resolve(table, value, obj);
  const CPDFArray* array = obj->tag == kTagArray ? obj->as_array() : value.as_array();
  if (obj->tag == kTagArray && array == nullptr)
    rect = {0, 0, 0, 0};
  else
    rect = array != nullptr ? rect_of(table, *array) : kEmptyRect;
}
