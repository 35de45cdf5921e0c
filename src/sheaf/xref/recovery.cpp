// Rebuilding the table by reading the file from its first byte to its last. The last header of a
// number wins, so that an incremental update wins over what it replaces without any look at the
// chain of sections.
#include <cstring>

#include "sheaf/base/number_text.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/work_watch.h"
#include "sheaf/object/parse_buf.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr long long kMostBytes = 314572800;   // 300 MiB
constexpr long long kMostBytes13 = 31457280;  // 30 MiB

void take_header(CPDFXRefTable& table, std::uint32_t num, std::uint32_t pos) {
  if (num < table.max_obj_num())  // a lone header must not make the table take gigabytes
    table.note_found(num, pos);
}

void scan_objects(CPDFXRefTable& table) {
  table.stream->SetPos(CQVStream::STR_SEEK_SET, 0);
  CPDFBufBase buf;
  buf.buf_init(table.stream);
  const auto length = static_cast<double>(table.stream->GetLen());
  while (const char* header = buf.buf_skip_to_obj()) {
    WorkWatch::at(buf.position(), length);
    take_header(table, static_cast<std::uint32_t>(ansi_to_i32(header)), buf.position());
    if (!skip_to_word(buf, "endobj", 6))
      return;
  }
}

// The position of the last trailer dictionary, or 0. All of them are pushed: a
// section before one may list objects that the scan cannot see.
std::uint32_t scan_trailers(CPDFXRefTable& table) {
  constexpr unsigned kTrailerLen = 7;
  std::uint32_t last = 0;
  table.stream->SetPos(CQVStream::STR_SEEK_SET, 0);
  CPDFBufBase buf;
  buf.buf_init(table.stream);
  while (skip_to_word(buf, "trailer", kTrailerLen)) {
    buf.buf_skip(kTrailerLen);
    buf.buf_skip_ws(true);
    buf.buf_need(2);
    if (std::strncmp(buf.buf_data + buf.buf_pos, "<<", 2) != 0)
      continue;
    last = buf.position();
    if (static_cast<std::int32_t>(last) >= 0)
      table.push_pending(last);
  }
  return last;
}

std::int32_t integer_or_minus_one(const CPDFDictionary& dict, const char* key) {
  const CPDFObj* item = dict.get_item(key);
  return item != nullptr && item->tag == kTagInt ? item->as_int() : -1;
}

}  // namespace

int CPDFXRefTable::XRefCreate() {
  if (stream == nullptr || stream->GetLen() > kMostBytes)
    return 0;
  pending_count = 0;
  repaired_count = 0;
  scan_objects(*this);
  const std::uint32_t trailer_pos = scan_trailers(*this);
  if (trailer_pos == 0)
    return 0;
  next_obj_num = xref_count;
  stream->SetPos(CQVStream::STR_SEEK_SET, trailer_pos);
  CPDFBufBase buf;
  buf.buf_init(stream);
  Freed<CPDFObj> trailer;
  trailer.read(&buf, nullptr);
  const CPDFDictionary* dict = trailer.as_dict();
  if (dict == nullptr)
    return 0;
  XRefLoadObjs(dict);
  // Object streams hide their objects from the scan; the sections that the trailer names list
  // them, and fill only what the scan has left open.
  const std::int32_t xrefstm = integer_or_minus_one(*dict, "XRefStm");
  if (xrefstm >= 0)
    push_pending(xrefstm);
  const std::int32_t prev = integer_or_minus_one(*dict, CPDFDictionary::sm_tag_prev);
  if (prev >= 0)
    push_pending(prev);
  repairs.note(PDF_REPAIR::kTableRebuilt, 0, trailer_pos);
  return xref_count != 0 && !root.is_null() ? 1 : 0;
}

int CPDFXRefTable::XRefCreate13() {
  if (stream == nullptr || stream->GetLen() > kMostBytes13)
    return 0;
  return XRefCreate();
}
