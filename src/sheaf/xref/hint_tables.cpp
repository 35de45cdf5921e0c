// The page offset hint table of a linearized file (ISO 32000-1, F.4.1): which object each page is
// and where it lies, before the main table has been read. What the hints say is looked at before
// it is used: each page object is read, and an entry that does not point to a page is cleared.
#include <algorithm>
#include <memory>

#include "sheaf/base/heap.h"
#include "sheaf/base/number_text.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/object/parse_buf.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr int kMostHintBytes = 0x800000;  // 8 MiB
constexpr unsigned kMostObjBits = 32;
constexpr unsigned kHeaderRoom = 32;

// Bits of the table, most significant first. A field for which the data do not suffice is all
// ones and moves nothing.
class BitReader {
public:
  BitReader(const std::uint8_t* data, std::uint32_t size) : cursor_(data), remaining_(size) {}

  std::uint32_t field(std::uint32_t bits) {
    const std::uint64_t wanted = std::uint64_t{bit_} + bits;
    if (wanted > std::uint64_t{remaining_} * 8)
      return UINT32_MAX;
    if (bits == 0)
      return 0;
    std::uint32_t value = *cursor_ & (0xFFu >> bit_);
    std::uint64_t taken = 8;
    const std::uint8_t* at = cursor_;
    for (; taken < wanted; taken += 8)
      value = (value << 8) | *++at;
    // Fields of more than 32 bits keep their low ones.
    value >>= taken - wanted;
    const auto used = static_cast<std::uint32_t>(wanted / 8);
    cursor_ += used;
    remaining_ -= used;
    bit_ = static_cast<std::uint32_t>(wanted % 8);
    return bits < 32 ? value & ((1u << bits) - 1) : value;
  }
  void to_next_byte() {
    if (bit_ == 0)
      return;
    bit_ = 0;
    ++cursor_;
    --remaining_;
  }

private:
  const std::uint8_t* cursor_;
  std::uint32_t remaining_;
  std::uint32_t bit_ = 0;
};

struct HintHeader {
  std::uint32_t least_objs;
  std::uint32_t obj_bits;
  std::uint32_t least_len;
  std::uint32_t len_bits;
};

HintHeader read_header(BitReader& bits) {
  HintHeader header{};
  header.least_objs = bits.field(32);
  bits.field(32);  // location of the first page's page object
  header.obj_bits = bits.field(16);
  header.least_len = bits.field(32);
  header.len_bits = bits.field(16);
  bits.field(32);  // least offset of a content stream
  bits.field(16);
  bits.field(32);  // least length of a content stream
  for (int item = 9; item <= 13; ++item)
    bits.field(16);
  return header;
}

// Table one: the object numbers of the pages. False when the table has no room for them.
bool read_object_numbers(CPDFXRefTable& table, BitReader& bits, const HintHeader& header, PDF_PAGE_SET& set) {
  PDF_PAGE_ITEM* const pages = set.pages;
  const auto count = static_cast<std::uint32_t>(set.count);
  const std::uint32_t first_delta = bits.field(header.obj_bits);
  for (std::uint32_t i = 2; i < count; ++i)
    pages[i].obj = pages[i - 1].obj + header.least_objs + bits.field(header.obj_bits);
  const std::uint32_t last_delta = bits.field(header.obj_bits);
  const std::uint32_t reach = std::max(pages[0].obj + first_delta, pages[count - 1].obj + last_delta);
  // Sums of data that ran out can be anything; the page objects then turn out to be wrong.
  return reach > table.max_obj_num() || table.grow_xref_items(reach, true);
}

// Table two: the places of the page objects. An entry that is known already stays, and serves as
// the base of the next. False when the first page's own place is not known.
bool infer_offsets(CPDFXRefTable& table, BitReader& bits, const HintHeader& header, const PDF_PAGE_SET& set) {
  bits.to_next_byte();
  const PDF_XREF* first = table.entry(set.pages[0].obj);
  PDF_XREF* second = table.entry(1);
  if (first == nullptr || !first->is_known() || second == nullptr)
    return false;
  std::uint32_t base = first->offset + header.least_len + bits.field(header.len_bits);
  *second = PDF_XREF::in_file(base, 0);
  for (std::int32_t i = 2; i < set.count; ++i) {
    const std::uint32_t inferred = base + header.least_len + bits.field(header.len_bits);
    PDF_XREF* entry = table.entry(set.pages[i].obj);
    if (entry == nullptr) {
      base = inferred;
      continue;
    }
    if (!entry->is_known())
      *entry = PDF_XREF::in_file(inferred, 0);
    base = entry->offset;
  }
  return true;
}

std::int32_t hundredths(QVFIX value) {
  constexpr QVFIX kHundred = 100;
  const auto scaled = static_cast<std::uint64_t>(value) * static_cast<std::uint64_t>(kHundred);
  return fix_round(static_cast<QVFIX>(scaled));
}

std::int32_t distance(QVFIX from, QVFIX to) {
  const auto difference = static_cast<std::int64_t>(hundredths(to)) - hundredths(from);
  return static_cast<std::int32_t>(difference < 0 ? -difference : difference);
}

// Fills the size of a page from its object. False when the object is no page with a box of its own.
bool read_page_size(CPDFXRefTable& table, const CPDFObj& obj, PDF_PAGE_ITEM& page) {
  const CPDFDictionary* dict = obj.as_dict();
  if (dict == nullptr)
    return false;
  if (!table.value(dict, CPDFDictionary::sm_tag_type).is_name("Page"))
    return false;
  page.rotate = table.value(dict, CPDFDictionary::sm_tag_rotate).to_int();
  const bool turned = page.rotate % 180 != 0;
  Freed<CPDFObj> box = table.value(dict, "CropBox");
  if (box.is_null())
    box = table.value(dict, "MediaBox");
  if (box.is_null())
    return false;
  _QVRECTF rect{};
  table.read_obj_rect(rect, &box);
  page.width = distance(rect.left, rect.right);
  page.height = distance(rect.bottom, rect.top);
  if (turned)
    std::swap(page.width, page.height);
  return true;
}

enum class PageResult { kPage, kNoPage, kUnreadable };

PageResult read_page(CPDFXRefTable& table, std::uint32_t offset, PDF_PAGE_ITEM& page) {
  table.stream->SetPos(CQVStream::STR_SEEK_SET, offset);
  CPDFBufBase buf;
  buf.buf_init(table.stream);
  buf.buf_skip_ws(true);
  buf.buf_need(kHeaderRoom);
  const bool own_header = static_cast<std::uint32_t>(ansi_to_i32(buf.buf_data + buf.buf_pos)) == page.obj;
  Freed<CPDFObj> obj;
  obj.read(&buf, nullptr);
  if (obj.is_null())
    return PageResult::kUnreadable;
  if (!own_header)
    return PageResult::kNoPage;  // a page, perhaps, but not the one that the hints mean
  return read_page_size(table, obj, page) ? PageResult::kPage : PageResult::kNoPage;
}

// False when an object cannot be read at all: the hints are then not to be trusted.
bool read_page_sizes(CPDFXRefTable& table, PDF_PAGE_SET& set) {
  for (std::int32_t i = 0; i < set.count; ++i) {
    PDF_PAGE_ITEM& page = set.pages[i];
    const PDF_XREF* entry = table.entry(page.obj);
    const PageResult result = entry != nullptr ? read_page(table, entry->offset, page) : PageResult::kNoPage;
    if (result == PageResult::kUnreadable)
      return false;
    if (result == PageResult::kPage)
      continue;
    page.width = page.height = 0;
    // Reading may have grown the table, so the entry is looked up anew.
    if (PDF_XREF* wrong = table.entry(page.obj))
      wrong->type = wrong->offset = 0;
  }
  return true;
}

}  // namespace

int CPDFXRefTable::read_linearized_hint(unsigned int offset, int /*length*/, PDF_PAGE_SET& set) {
  stream->SetPos(CQVStream::STR_SEEK_SET, offset);
  CPDFBufBase buf;
  buf.buf_init(stream);
  Freed<CPDFObj> obj;
  obj.read(&buf, nullptr);
  const CPDFStreamRec* rec = obj.as_stream();
  if (rec == nullptr) {
    QVFree(set.pages);
    set.pages = nullptr;
    set.count = 0;
    return 0;
  }
  std::unique_ptr<CPDFStream> decoder(make_stream(rec));
  if (decoder == nullptr)
    return 0;
  int size = 0;
  const HeapBlock<std::uint8_t> data(decoder->buffer_load(decoder->most_text(kMostHintBytes), size));
  decoder.reset();
  if (!data || size < 1 || set.count < 2 || set.pages == nullptr)
    return 1;
  BitReader bits(data.get(), static_cast<std::uint32_t>(size));
  const HintHeader header = read_header(bits);
  if (header.obj_bits > kMostObjBits || !read_object_numbers(*this, bits, header, set) ||
      !infer_offsets(*this, bits, header, set))
    return 0;
  if (!read_page_sizes(*this, set)) {
    XRefFree();
    return 0;
  }
  return 1;
}
