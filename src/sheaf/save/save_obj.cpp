// Moves one object of a document to an output stream. Stream bodies are never decoded and never
// compressed anew: their raw bytes pass through, and all that can happen to them is that the
// encryption of the source is taken off and that of the target put on.
#include <cstring>

#include "sheaf/base/heap.h"
#include "sheaf/base/number_text.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/object/parse_buf.h"
#include "sheaf/object/sec_hand.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

std::uint32_t offset_from(const CQVStream* out, int base) {
  return static_cast<std::uint32_t>(out->GetPos()) - static_cast<std::uint32_t>(base);
}

// The length that the dictionary states as an integer, directly or by reference. A real does not
// count, and neither does a negative number: 0 means that the end has to be searched for.
std::int32_t stated_length(CPDFXRefTable& table, const CPDFStreamRec& rec) {
  const std::int32_t length = table.value(&rec.dict, CPDFDictionary::sm_tag_length).as_int();
  return length > 0 ? length : 0;
}

// The bytes of a stream whose length nobody states, found by searching for its end; null when
// there is nothing.
unsigned char* searched_body(CQVStream* stream, std::uint32_t offset, int& len) {
  stream->SetPos(CQVStream::STR_SEEK_SET, offset);
  return reinterpret_cast<unsigned char*>(CPDFXRefTable::read_stream_raw_data(stream, len));
}

// `len` bytes from `offset` with a NUL behind them; what the source lacks of them is left out.
unsigned char* known_body(CQVStream* stream, std::uint32_t offset, int& len) {
  const long long available = stream->GetLen() - offset;
  if (available < len)
    len = available > 0 ? static_cast<int>(available) : 0;
  auto* block = static_cast<unsigned char*>(QVAlloc(static_cast<std::size_t>(len) + 1));
  if (block == nullptr)
    return nullptr;
  stream->SetPos(CQVStream::STR_SEEK_SET, offset);
  len = static_cast<int>(stream->Read(block, static_cast<unsigned>(len)));
  block[len] = 0;
  return block;
}

// Prints a stream object whose body is in a block of memory.
void write_with_body(CPDFObj& obj, CQVStream* out, PDF_ENC_PARA& para, unsigned char* body, int len) {
  CQVStreamMemFix view;
  view.Open(body, len);
  CPDFStreamRec* rec = obj.as_stream();
  rec->offset = 0;
  rec->length = len > 0 ? len : 0;
  rec->source = &view;
  rec->decoded_hint = 0;
  rec->plain = 1;
  obj.write(out, &para);
  rec->source = nullptr;
}

// The decrypted form of `raw`, which is released; null when there is no memory.
unsigned char* decrypted(CPDFSecHand& hand, const PDF_REF& ref, unsigned char* raw, int& len) {
  HeapBlock<unsigned char> held(raw);
  const int size = hand.get_dec_size(len);
  if (size < 0)
    return nullptr;
  auto* plain = static_cast<unsigned char*>(QVAlloc(static_cast<std::size_t>(size) + 1));
  if (plain == nullptr)
    return nullptr;
  int plain_len = 0;
  hand.decrypt_data(ref.num, ref.gen, raw, len, plain, &plain_len);
  len = plain_len;
  return plain;
}

}  // namespace

void CPDFXRefTable::save_obj(CPDFObj& obj, CQVStream* out, int base, int num, PDF_XREF* item, CPDFEncrypt* enc) {
  if (!item->is_changed())
    return;
  *item = PDF_XREF::in_file(offset_from(out, base), item->gen);
  PDF_ENC_PARA para{num, item->gen, 1, enc};
  obj.write(out, &para);
}

void CPDFXRefTable::save_obj(CQVStream* out, int base, int num, PDF_XREF* item, CPDFEncrypt* enc) {
  const bool encrypted = sec_filter[0] != 0 && sec_hand != nullptr;
  if (!encrypted && !item->is_known())
    return;
  stream->SetPos(CQVStream::STR_SEEK_SET, item->offset);
  CPDFBufBase buf;
  buf.buf_init(stream);
  // If another object is there, this one is lost: better nothing than what happens to be there.
  if (ansi_to_i32(buf.buf_data) != num)
    return;
  // The encrypted branch needs the generation for the key, so -1 becomes 0 ahead of reading; so does
  // what a garbled line gave, since no header can bear it.
  if (item->gen < 0)
    item->gen = 0;
  PDF_DEC_PARA dec{{num, item->gen}, sec_hand};
  Freed<CPDFObj> obj;
  obj.read(&buf, encrypted ? &dec : nullptr);
  if (obj.tag == kTagInt && obj.as_int() == num && header_number_at(*stream, item->offset) != num)
    return;  // a number that begins no header was all there is
  item->offset = offset_from(out, base);
  PDF_ENC_PARA para{num, item->gen, 1, enc};
  CPDFStreamRec* rec = obj.as_stream();
  if (rec != nullptr)
    heal_length(*rec, num);
  if (rec == nullptr || (!encrypted && rec->length != 0)) {
    obj.write(out, &para);
    return;
  }
  int len = rec->length != 0 ? rec->length : stated_length(*this, *rec);
  const bool needs_decrypting = encrypted && rec->plain == 0;
  if (len != 0 && !needs_decrypting) {
    rec->length = len;  // passes through block by block, straight from the file
    rec->plain = 1;
    obj.write(out, &para);
    return;
  }
  unsigned char* body = len != 0 ? known_body(stream, rec->offset, len) : searched_body(stream, rec->offset, len);
  if (body != nullptr && needs_decrypting && len > 0)
    body = decrypted(*sec_hand, rec->ref, body, len);
  HeapBlock<unsigned char> held(body);
  if (!held)
    return;
  write_with_body(obj, out, para, body, len);
}
