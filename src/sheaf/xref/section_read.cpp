// Reading one cross-reference section: which kind it is, and what its trailer adds to the table.
#include <cstring>
#include <memory>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/object/parse_buf.h"
#include "sheaf/xref/section_internal.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

// Reads the cross-reference stream at the position of `buf`.
bool read_stream_section(CPDFXRefTable& table, CPDFBufBase& buf, long long& prev) {
  if (table.first_xref_kind == 0)
    table.first_xref_kind = 2;
  const std::uint32_t pos = buf.position();
  Freed<CPDFObj> obj;
  obj.read(&buf, nullptr);
  const CPDFStreamRec* rec = obj.as_stream();
  if (rec == nullptr)
    return false;
  table.xref_kinds |= 2;
  const std::int32_t num = rec->ref.num;
  if (num >= 0 && object_index(num) < table.max_obj_num())
    table.grow_xref_items(object_index(num) + 1, true);
  const std::unique_ptr<CPDFStream> decoder(table.make_stream(rec));
  if (decoder == nullptr)
    return false;
  return table.XRefRead(obj, pos, decoder.get(), prev) != 0;
}

}  // namespace

namespace sheaf {

long long trailer_offset(const CPDFDictionary& trailer, const char* key) {
  const CPDFObj* item = trailer.get_item(key);
  if (item == nullptr)
    return -1;
  if (item->tag == kTagInt)
    return item->as_int();
  // Offsets beyond 2 GiB do not fit an integer and are read as reals.
  return item->tag == kTagReal ? fix_exact(item->as_real()) : -1;
}

}  // namespace sheaf

int CPDFXRefTable::XRefRead(unsigned int offset) {
  if (offset == 0 || stream == nullptr) {
    sections_lost = 1;
    return 0;
  }
  if (last_xref_offset == 0)
    last_xref_offset = offset;
  // Nothing in a section is encrypted. Where the section cannot be read the handler stays off:
  // what a document with a broken chain decrypts to cannot be trusted.
  CPDFSecHand* const handler = sec_hand;
  sec_hand = nullptr;
  stream->SetPos(CQVStream::STR_SEEK_SET, offset);
  CPDFBufBase buf;
  buf.buf_init(stream);
  if (buf.buf_len == 0 || !buf.buf_skip_ws(true))
    return lose_section(offset);
  long long prev = -1;
  long long xrefstm = -1;
  buf.buf_need(4);
  if (std::strncmp(buf.buf_data + buf.buf_pos, "xref", 4) == 0) {
    if (first_xref_kind == 0)
      first_xref_kind = 1;
    if (XRefRead(&buf, prev, xrefstm) == 0)
      return lose_section(offset);
    xref_kinds |= 1;
  } else if (!read_stream_section(*this, buf, prev)) {
    return lose_section(offset);
  }
  sections_read.add(offset);
  // "XRefStm" goes first, so that the stack gives "Prev" back ahead of it, unless the order of
  // ISO 32000-1, 7.5.8.4 is asked for: what the stream lists is newer than what "Prev" leads to. The
  // entries of the first section win in any case.
  const long long below = reads_hybrid_first != 0 ? prev : xrefstm;
  const long long above = reads_hybrid_first != 0 ? xrefstm : prev;
  for (const long long section : {below, above}) {
    if (section > 0 && !sections_read.has(static_cast<std::uint32_t>(section)))
      push_pending(section);
  }
  if (prev >= offset && sections_read.has(static_cast<std::uint32_t>(prev)))
    sections_lost = 1;  // the way to older sections is a loop
  sec_hand = handler;
  return 1;
}

int CPDFXRefTable::lose_section(std::uint32_t offset) {
  sections_lost = 1;
  repairs.note(PDF_REPAIR::kSectionUnreadable, 0, offset);
  return 0;
}

void CPDFXRefTable::XRefLoadObjs(const CPDFDictionary* trailer) {
  const auto take = [trailer](const char* key, CPDFObj& field) {
    if (field.is_null())
      field.copy_from(trailer->get_item(key));
  };
  take("ID", id);
  take("Info", info);
  take("Root", root);
  take("Encrypt", encrypt);
}
