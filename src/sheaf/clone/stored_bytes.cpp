// Takes a stream's bytes by the length in its record, by "Length", or up to endstream, and decrypts them.
#include "sheaf/clone/stored_bytes_internal.h"

#include "sheaf/object/stored_bytes.h"

namespace sheaf {

bool read_stored_bytes(CPDFXRefTable& table, const CPDFStreamRec& rec, unsigned char*& data, int& len) {
  CQVStream* const source = table.copies_own_source != 0 ? rec.source : table.stream;
  StoredBytes bytes;
  data = nullptr;
  len = 0;
  if (!table.find_stored(bytes, rec, source, NoLength::kEmpty))
    return false;
  bytes.cut_to_source();
  if (table.needs_decrypting(rec) ? !bytes.decrypt(*table.sec_hand, rec.ref) : !bytes.load())
    return false;
  len = bytes.size();
  data = bytes.release();
  return true;
}

}  // namespace sheaf
