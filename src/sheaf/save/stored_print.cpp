// The body is taken through the one reader of stored bytes, and printed with the count that it has.
#include "sheaf/save/stored_print.h"

#include "sheaf/object/stored_bytes.h"

namespace sheaf {

bool print_stored(CPDFXRefTable& table, CPDFObj& obj, CQVStream* out, PDF_ENC_PARA& para) {
  CPDFStreamRec* const rec = obj.as_stream();
  if (rec != nullptr)
    table.heal_length(*rec, para.obj_num);
  const bool is_found = rec == nullptr || rec->source == nullptr || rec->length != 0;
  const bool decrypts = rec != nullptr && rec->source != nullptr && table.needs_decrypting(*rec);
  if (is_found && !decrypts) {
    obj.write(out, &para);
    return true;
  }
  // Only in a file with its keywords can a search end where the stream does.
  const NoLength none = rec->source == table.stream ? NoLength::kSearched : NoLength::kEmpty;
  StoredBytes bytes;
  if (!table.find_stored(bytes, *rec, rec->source, none))
    return false;
  bytes.cut_to_source();
  if (decrypts && !bytes.decrypt(*table.sec_hand, rec->ref))
    return false;
  CPDFStreamRec place;
  place.copy_location(*rec);
  CQVStreamMemFix view;
  rec->length = bytes.size();
  if (bytes.data() != nullptr) {
    view.Open(bytes.data(), bytes.size());
    rec->offset = 0;
    rec->source = &view;
  }
  if (bytes.size() == 0)
    rec->source = nullptr;  // a length of 0 would be taken for one that is not known
  obj.write(out, &para);
  rec->copy_location(place);
  return true;
}

}  // namespace sheaf
