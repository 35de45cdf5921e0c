// Numbers and offsets alternate before the objects.
#include "map/packed_members.h"

#include <algorithm>
#include <memory>

#include "sheaf/base/chars.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/object/parse_buf.h"

namespace sheaf::tool {

namespace {

constexpr std::int32_t kMostMembers = 1 << 20;

}  // namespace

void read_object_at(CPDFXRefTable& table, std::uint32_t start, std::int32_t num, CPDFObj& out) {
  CPDFBufBase buf;
  table.stream->SetPos(CQVStream::STR_SEEK_SET, start);
  buf.buf_init(table.stream);
  PDF_DEC_PARA para{};
  out.read(&buf, table.decode_para(para, {num, 0}));
  if (CPDFStreamRec* const rec = out.as_stream())
    table.heal_length(*rec, num);
}

bool visit_members(CPDFXRefTable& table, std::uint32_t start, std::int32_t num,
                   const std::function<bool(std::int32_t, std::int32_t)>& visit) {
  Freed<CPDFObj> obj;
  read_object_at(table, start, num, obj);
  const CPDFStreamRec* const rec = obj.as_stream();
  const CPDFObj* const type = rec != nullptr ? rec->dict.get_item(CPDFDictionary::sm_tag_type) : nullptr;
  if (type == nullptr || !type->is_name("ObjStm"))
    return false;
  const std::int32_t count = std::min(table.value(&rec->dict, "N").to_int(), kMostMembers);
  const std::unique_ptr<CPDFStream> decoder(table.make_stream(rec));
  std::int32_t value = -1;
  std::int32_t member = -1;
  std::int32_t values = 0;
  char c = 0;
  while (decoder != nullptr && values < 2 * count && decoder->read_block(&c, 1) == 1) {
    if (is_digit(c)) {
      value = value < INT32_MAX / 16 ? std::max(value, 0) * 10 + (c - '0') : value;
    } else if (value >= 0) {
      if (values++ % 2 == 0)
        member = value;
      else if (!visit(member, value))
        return true;
      value = -1;
    }
  }
  return true;
}

}  // namespace sheaf::tool
