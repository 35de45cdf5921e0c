// The update section that ends in a cross-reference stream (ISO 32000-1, 7.5.6, 7.5.8).
//
//   append_offset   "\n"
//                   objects with a slot in memory, ascending
//   startxref ----> the cross-reference stream, a fresh object and the last of the last run
//                   zeros, only over what was longer before
//                   "\nstartxref\n" position "\n%%EOF\n"
//
// A plain save changes nothing in the table, so that the next one overwrites the same section; a
// save with PDF_SIGN_DATA seals it.

#include "sheaf/base/scope_guard.h"
#include "sheaf/save/entry_deflater_internal.h"
#include "sheaf/save/update_internal.h"
#include "sheaf/save/xref_stream_internal.h"

using namespace sheaf;

namespace {

constexpr unsigned kFixedFields = 1 + 4;  // type, position; the generation follows
constexpr std::size_t kSpareOutput = 256;

// Takes the number of the cross-reference stream; its slot stays empty, so that the next plain
// save prints the former number as a null object.
std::int32_t reserve_xref_number(CPDFXRefTable& table) {
  const auto num = object_num(table.next_obj_num++);
  if (PDF_NEWOBJ* slot = table.get_xref2(num, 0)) {
    slot->obj.free();
    slot->num = num;
    slot->gen = 0;
  }
  return num;
}

void put_entries(UpdateSection& section, EntryDeflater& deflater, std::int32_t xnum, unsigned gen_width) {
  for (const PDF_RUN& run : section.runs) {
    for (std::int32_t num = run.first; num < run.first + run.count; ++num) {
      deflater.begin_entry();
      deflater.field(1, 1);
      deflater.field(section.put_object(num, num == xnum), 4);
      deflater.field(static_cast<std::uint32_t>(section.generation(num)), gen_width);
    }
  }
}

}  // namespace

int CPDFXRefTable::save(CPDFEncrypt* enc, PDF_SIGN_DATA* sign) {
  if (new_obj_count == 0)
    return 1;
  UpdateSection section(*this, enc, sign);
  section.prepare();
  drain_pending();
  const std::int32_t xnum = reserve_xref_number(*this);
  section.confirm_positions();
  if (!section.scan())
    return 0;
  section.begin();
  const unsigned gen_width = section.has_high_generations() ? 2 : 1;
  const unsigned entry_size = kFixedFields + gen_width;
  EntryDeflater deflater(EntryDeflater::kStaging - entry_size);
  if (!deflater.open(std::size_t{xref_count} * entry_size + kSpareOutput))
    return 0;
  put_entries(section, deflater, xnum, gen_width);
  std::uint32_t len = 0;
  std::uint8_t* data = deflater.finish(len);
  if (data == nullptr)
    return 0;

  Cleared<CPDFDictionary> dict;
  Cleared<CPDFArray> index;
  section.runs.fill_index(index);
  fill_xref_stream_dict(dict, section.runs.size_value(), index, 4, static_cast<int>(gen_width));
  section.set_trailer_values(dict);
  const auto start = static_cast<std::uint32_t>(section.out().GetPos());
  write_xref_stream(section.out(), xnum, dict, data, len);
  section.finish(start);
  return 1;
}
