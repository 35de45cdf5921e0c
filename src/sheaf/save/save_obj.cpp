// Moves one object of a document to an output stream. Stream bodies are never decoded and never
// compressed anew: their raw bytes pass through, and all that can happen to them is that the
// encryption of the source is taken off and that of the target put on.
#include "sheaf/base/number_text.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/object/parse_buf.h"
#include "sheaf/object/plain_object.h"
#include "sheaf/save/stored_print.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

std::uint32_t offset_from(const CQVStream* out, int base) {
  return static_cast<std::uint32_t>(out->GetPos()) - static_cast<std::uint32_t>(base);
}

// An object that needs no values to be printed. False when it does; nothing was printed then.
bool print_plain(CPDFBuf& buf, CQVStream* out, int base, int num, PDF_XREF& item) {
  PlainObject object;
  if (!object.read(buf))
    return false;
  item.offset = offset_from(out, base);
  object.print(out, num, item.gen);
  return true;
}

}  // namespace

void CPDFXRefTable::save_obj(CPDFObj& obj, CQVStream* out, int base, int num, PDF_XREF* item, CPDFEncrypt* enc) {
  if (!item->is_changed())
    return;
  *item = PDF_XREF::in_file(offset_from(out, base), item->gen);
  PDF_ENC_PARA para{num, item->gen, 1, enc};
  print_stored(*this, obj, out, para);
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
  if (!encrypted && enc == nullptr && print_plain(buf, out, base, num, *item))
    return;
  PDF_DEC_PARA dec{{num, item->gen}, sec_hand};
  Freed<CPDFObj> obj;
  obj.read(&buf, encrypted ? &dec : nullptr);
  if (obj.tag == kTagInt && obj.as_int() == num && header_number_at(*stream, item->offset) != num)
    return;  // a number that begins no header was all there is
  item->offset = offset_from(out, base);
  PDF_ENC_PARA para{num, item->gen, 1, enc};
  print_stored(*this, obj, out, para);
}
