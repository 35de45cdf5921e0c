// Members of object streams whose stream does not come into a new file.
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/save/new_file_internal.h"
#include "sheaf/document/save/section_writer_internal.h"

namespace sheaf {
namespace {

// Whether the length, "N" or "First" of an object stream had to be set right: copied as it is, it would hide its
// members from other readers.
bool has_false_numbers(CPDFXRefTable& table, std::uint32_t num) {
  const PDF_OBJSTM* const objstm = table.objstm_outline(table.xref_items[num].offset, object_num(num));
  return objstm != nullptr && objstm->corrected != 0;
}

// Whether the object stream will be in a new file.
bool will_be_written(CPDFXRefTable& table, std::uint32_t num) {
  if (num >= table.xref_count)
    return false;
  const PDF_XREF& entry = table.xref_items[num];
  if (const PDF_NEWOBJ* const slot = table.slot_of(num))
    return slot->obj.as_stream() != nullptr;
  return entry.is_in_file() && begins_at_its_place(table, num) && !has_false_numbers(table, num);
}

}  // namespace

// Reading an object stream needs no header and no entry of the right type, so members can be known although a new file
// cannot have their stream. They then become objects.
void free_members_of_lost_streams(CPDFXRefTable& table) {
  table.drain_pending();
  Freed<CPDFObj> obj;
  std::uint32_t container = 0;
  bool has_stream = true;
  for (std::uint32_t num = table.next_entry(1); num < table.xref_count; num = table.next_entry(num + 1)) {
    const PDF_XREF entry = table.xref_items[num];
    if (!entry.is_compressed())
      continue;
    if (entry.offset != container) {
      container = entry.offset;
      has_stream = will_be_written(table, container);
    }
    if (has_stream)
      continue;
    const PDF_REF ref = PDF_REF::at(num);
    table.get_stored(obj, ref);
    if (!obj.is_null())
      table.store_object(ref, obj);
  }
}

}  // namespace sheaf
