// The page's own streams go between q and Q, so that what is drawn around them begins as the page did.
#include "sheaf/document/pages/page_content.h"

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/content/content_writer.h"
#include "sheaf/document/forms/flatten/content_balance_internal.h"
#include "sheaf/object/array.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

namespace {

// The streams that a page's content consists of.
void list_contents(CPDFXRefTable& table, const CPDFDictionary& page, CPDFArray& streams) {
  const CPDFObj* const item = page.get_item("Contents");
  const Freed<CPDFObj> value = table.value(item);
  if (value.as_array() != nullptr)
    streams.copy_from(value.as_array());
  else if (value.as_stream() != nullptr && item->as_ref().num != 0)
    streams.append_ref(item->as_ref());
}

PDF_REF store(CPDFXRefTable& table, const ContentWriter& content) {
  Cleared<CPDFDictionary> none;
  return content.store(table, none);
}

}  // namespace

bool PageContent::put_in_front(CPDFDictionary& page, const ContentWriter& content) {
  const HeapWatch watch;
  Cleared<CPDFArray> old;
  Cleared<CPDFArray> contents;
  list_contents(table_, page, old);
  contents.append_ref(store(table_, content));
  for (std::int32_t i = 0; i < old.count; ++i)
    contents.append(old.get(i));
  page.set_item_arr("Contents", &contents);
  return watch.all_granted();
}

bool PageContent::put_behind(CPDFDictionary& page, const ContentWriter& content) {
  Cleared<CPDFArray> old;
  Cleared<CPDFArray> contents;
  ContentWriter behind;
  list_contents(table_, page, old);
  if (old.count != 0) {
    const ContentBalance balance = balance_of(table_, page.get_item("Contents"));
    const int opened = 1 - balance.lowest;
    contents.append_ref(opening_stream(opened));
    for (std::int32_t i = 0; i < old.count; ++i)
      contents.append(old.get(i));
    for (int i = opened + balance.depth; i > 0; --i)
      behind.op("Q");
  }
  behind.text({content.data(), static_cast<std::size_t>(content.size())});
  const PDF_REF drawn = store(table_, behind);
  contents.append_ref(drawn);
  page.set_item_arr("Contents", &contents);
  return drawn.num != 0;
}

PDF_REF PageContent::opening_stream(int count) {
  if (count == 1 && opening_.num != 0)
    return opening_;
  ContentWriter out;
  for (int i = 0; i < count; ++i)
    out.op("q");
  const PDF_REF ref = store(table_, out);
  if (count == 1)
    opening_ = ref;
  return ref;
}

}  // namespace sheaf
