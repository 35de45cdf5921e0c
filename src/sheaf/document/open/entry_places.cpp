// Tests of entries against the bytes of the file that they point to.
#include "sheaf/document/open/entry_places_internal.h"

#include <algorithm>

#include "sheaf/base/chars.h"
#include "sheaf/base/number_text.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/object/parse_buf.h"

using namespace sheaf;

namespace {

// Whether the entry leads into the middle of its own object's number. What is read there is another
// object's header, and the search for the right one would begin after it.
bool leads_into_its_number(const CPDFXRefTable& table, std::uint32_t num) {
  constexpr std::uint32_t kMostDigits = 10;
  const std::uint32_t offset = table.xref_items[num].offset;
  const std::uint32_t before = std::min(offset, kMostDigits);
  char text[kMostDigits + 2]{};
  table.stream->SetPos(CQVStream::STR_SEEK_SET, offset - before);
  if (table.stream->Read(text, before + 1) != before + 1 || !is_digit(text[before]))
    return false;
  std::uint32_t start = before;
  while (start != 0 && is_digit(text[start - 1]))
    --start;
  table.stream->SetPos(CQVStream::STR_SEEK_SET, offset - before + start);
  table.stream->Read(text, kMostDigits + 1);
  return start != before && ansi_to_i32(text) == object_num(num);
}

}  // namespace

namespace sheaf {

bool header_stands_at(const CPDFXRefTable& table, const PDF_REF& ref) {
  const auto num = ref.index();
  if (ref.num <= 0 || num >= table.xref_count)
    return true;
  const PDF_XREF& entry = table.xref_items[num];
  if (entry.is_found())
    return table.xref_kinds == 1;  // corrected on the way: by the strict search or by the plain one
  if (!entry.is_listed())
    return true;
  return header_number_at(*table.stream, entry.offset) == ref.num;
}

bool entries_mislead(const CPDFXRefTable& table) {
  constexpr std::uint32_t kSample = 16;
  std::uint32_t looked_at = 0;
  std::uint32_t wrong = 0;
  const std::uint32_t step = std::max(table.xref_count / kSample, 1u);
  for (std::uint32_t num = 1; num < table.xref_count; num += step) {
    const PDF_XREF& entry = table.xref_items[num];
    if (entry.type != PDF_XREF::kInFile)
      continue;
    char text[12]{};
    table.stream->SetPos(CQVStream::STR_SEEK_SET, entry.offset);
    table.stream->Read(text, sizeof(text) - 1);
    ++looked_at;
    if (!is_digit(text[0]) || ansi_to_i32(text) == object_num(num))
      continue;
    ++wrong;
    if (leads_into_its_number(table, num))
      return true;
  }
  return 2 * wrong > looked_at;
}

}  // namespace sheaf

PDF_REF CPDFDoc::reference_to(std::int32_t num) {
  const auto index = object_index(num);
  return {num, num > 0 && table_.know_entry(index) ? std::max(table_.known_generation(index), 0) : 0};
}

bool CPDFDoc::can_reach(std::int32_t num) {
  const auto index = object_index(num);
  if (num < 1 || !table_.know_entry(index))
    return true;
  if (!table_.xref_items[index].is_compressed()) {
    Freed<CPDFObj> obj;
    table_.get_stored(obj, reference_to(num));
    if (!obj.is_null())
      return true;
  }
  const PDF_XREF entry = table_.xref_items[index];
  if (entry.is_listed() || entry.is_found())
    return header_number_at(*stream_, entry.offset) == num;
  if (!entry.is_compressed())
    return true;
  const std::uint32_t container = entry.offset;
  const PDF_OBJSTM* const objstm =
      table_.know_entry(container) ? table_.objstm_outline(table_.xref_items[container].offset, object_num(container))
                                   : nullptr;
  return objstm != nullptr && objstm->decodes() && entry.gen >= 0 && entry.gen < objstm->count;
}
