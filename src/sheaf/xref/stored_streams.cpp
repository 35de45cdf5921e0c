// The stored bytes of a document's streams: where the object layer's StoredBytes gets the values from
// that only the table knows.
#include "sheaf/base/scope_guard.h"
#include "sheaf/object/stored_bytes.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

bool CPDFXRefTable::find_stored(StoredBytes& found, const CPDFStreamRec& rec, CQVStream* source, NoLength none) {
  Freed<CPDFObj> stated;
  if (source == &temp_stream)
    stated.set_int(0);  // what is kept there knows its length; after it lie the bytes of other streams
  else if (rec.length == 0)
    stated = value(&rec.dict, CPDFDictionary::sm_tag_length);
  return found.find(rec, source, &stated, none);
}

unsigned char* CPDFXRefTable::load_raw_data(const CPDFStreamRec* rec, int& len) {
  len = 0;
  StoredBytes bytes;
  if (rec == nullptr || !find_stored(bytes, *rec, rec->source, NoLength::kEmpty) || bytes.size() < 1)
    return nullptr;
  if (needs_decrypting(*rec) ? !bytes.decrypt(*sec_hand, rec->ref) : !bytes.load())
    return nullptr;
  len = bytes.size();
  return bytes.release();
}
