// Numbers for the pages are reserved before anything is imported, so that links find them.
#include "sheaf/document/merge/merge_source.h"

#include <algorithm>

#include "sheaf/base/heap.h"
#include "sheaf/object/array.h"

namespace sheaf {

namespace {

constexpr int kFewPart = 4;

}  // namespace

MergeSource::MergeSource(CPDFDoc& source, ImportContext* import, MergeTarget& into)
    : doc(source), table(source.table()), context(import), target(into) {
  catalog = table.catalog();
  first_num = object_num(target.table.next_obj_num);
  first_slot = target.table.new_obj_count;
}

const CPDFObj* MergeSource::entry(const char* key) const {
  return catalog.item(key);
}

// Listing pages or elements may make objects of values that are in others; the map must know them.
bool MergeSource::widen_map() {
  const std::uint32_t size = table.next_obj_num;
  if (size <= context->map_size)
    return true;
  constexpr std::uint32_t kStep = 1024;
  auto* const map =
      static_cast<std::uint32_t*>(QVRealloc(context->map, (std::size_t{size} + kStep) * sizeof(*context->map)));
  if (map == nullptr)
    return false;
  std::fill(map + context->map_size, map + size + kStep, 0u);
  context->map = map;
  context->map_size = size + kStep;
  return true;
}

PDF_REF MergeSource::make_object(CPDFObj& value) {
  const PDF_REF made{table.alloc_obj_num(), 0};
  return table.store_object(made, value) && widen_map() ? made : PDF_REF{0, 0};
}

void MergeSource::reserve_pages(const std::int32_t* pages, std::int32_t count) {
  std::int32_t different = 0;
  doc.page_ref(0);
  widen_map();
  for (std::int32_t i = 0; i < count; ++i) {
    const PDF_REF ref = doc.page_ref(pages[i]);
    if (!is_mapped(ref.num) || !wanted.visit(ref.num))
      continue;
    context->map[ref.num] = object_index(target.table.alloc_obj_num());
    ++different;
  }
  const int page_count = doc.page_count();
  takes_few = count < page_count / kFewPart;
  takes_all = true;
  CPDFObj item{};
  for (int i = 0; i < page_count; ++i) {
    item.set_ref(doc.page_ref(i));
    takes_all = takes_all && wanted.has(item.as_ref().num);
    leave_out(&item);
  }
  leave_out(&table.root);
  for (const char* key : {"Pages", "StructTreeRoot", "Outlines", "Threads", "DPartRoot"})
    leave_out(entry(key));
}

void MergeSource::leave_out(const CPDFObj* item) {
  const std::int32_t num = ref_of(item).num;
  if (num > 0 && is_mapped(num) && context->map[num] == 0)
    context->map[num] = object_index(target.left_out_num);
}

PDF_REF MergeSource::copy_of(std::int32_t num) const {
  if (num < 1 || !is_mapped(num) || is_left_out(num))
    return {0, 0};
  return PDF_REF::at(context->map[num]);
}

bool MergeSource::import(CPDFObj& value) {
  if (value.tag == kTagRef) {
    const PDF_REF ref = target.table.clone_obj(&table, context, value.as_ref());
    value.set_ref(ref);
    return ref.num > 0 && ref.num != target.left_out_num;
  }
  if (value.as_array() != nullptr)
    return target.table.clone_array(&table, context, value.as_array()) != 0;
  if (value.as_dict() != nullptr)
    return target.table.clone_dict(&table, context, value.as_dict()) != 0;
  return !value.is_null();
}

PDF_REF MergeSource::import_object(CPDFObj& value) {
  if (!import(value)) {
    value.free();
    return {0, 0};
  }
  const PDF_REF present = value.as_ref();
  if (present.num != 0)
    return present;
  const PDF_REF ref{target.table.alloc_obj_num(), 0};
  return target.table.store_object(ref, value) ? ref : PDF_REF{0, 0};
}

}  // namespace sheaf
