// Appending one source: pages get their numbers first, then are copied, then all that belongs to the
// document as a whole is merged. What fails is taken back.
#include "sheaf/document/merge/doc_merge.h"

#include <algorithm>
#include <new>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/work_watch.h"
#include "sheaf/document/merge/merge_form.h"
#include "sheaf/document/merge/merge_labels.h"
#include "sheaf/document/merge/merge_layers.h"
#include "sheaf/document/merge/merge_names.h"
#include "sheaf/document/merge/merge_outline.h"
#include "sheaf/document/merge/merge_settings.h"
#include "sheaf/document/merge/merge_structure.h"
#include "sheaf/document/merge/merge_tidy.h"
#include "sheaf/document/merge/page_import.h"
#include "sheaf/document/merge/shared_streams.h"
#include "sheaf/neighbours/page/trailer_values.h"

using namespace sheaf;

namespace {

// A source is read in the order of its file for the most part, so that few of its object streams need
// to be held; what is taken is held itself.
constexpr std::int64_t kSourceBudget = 1 << 20;

}  // namespace

class sheaf::MergeParts : public QVHeapObject<MergeParts> {
public:
  explicit MergeParts(CPDFDoc& into) : target(into) {}

  const HeapWatch watch;
  MergeTarget target;
  MergeForm form{target};
  MergeNames names{target};
  MergeSettings settings{target};
  MergeLayers layers{target};
  MergeLabels labels{target};
  MergeOutline outline{target};
  MergeStructure structure{target};
  SharedStreams streams{target};
};

CPDFMergeIndex::CPDFMergeIndex()
    : parts_(new (std::nothrow) StructureIndex), destinations_(new (std::nothrow) DestinationIndex) {}

CPDFMergeIndex::~CPDFMergeIndex() {
  delete parts_;
  delete destinations_;
}

CPDFDocMerge::CPDFDocMerge(CPDFDoc& into) : parts_(new (std::nothrow) MergeParts(into)) {}

CPDFDocMerge::~CPDFDocMerge() {
  delete parts_;
}

void CPDFDocMerge::set_options(const PDF_MERGE_OPTIONS& options) {
  if (parts_ != nullptr)
    parts_->target.options = options;
}

const GrowArray<PDF_MERGE_RECORD>& CPDFDocMerge::records() const {
  static const GrowArray<PDF_MERGE_RECORD> none;
  return parts_ != nullptr ? parts_->target.records : none;
}

std::int32_t CPDFDocMerge::append(CPDFDoc& source, const std::int32_t* pages, std::int32_t count, const char* title) {
  if (parts_ == nullptr)
    return 0;
  MergeTarget& target = parts_->target;
  auto* const context = static_cast<ImportContext*>(target.table.import_start(&target.doc, &source.table()));
  if (context == nullptr)
    return 0;
  context->keeps_null_references = true;
  const std::int64_t budget = source.table().objstm_budget.limit;
  source.table().objstm_budget.limit = std::min(budget, kSourceBudget);
  const ScopeGuard end([&] {
    source.table().objstm_budget.limit = budget;
    target.table.import_end(context);
  });
  if (target.left_out_num == 0) {
    target.left_out_num = target.table.alloc_obj_num();
    target.was_empty = target.doc.page_count() == 0;
    parts_->form.load();
    parts_->names.load();
    parts_->structure.load();
  }
  ++target.source;
  std::int32_t done = 0;
  {
    MergeSource src(source, context, target);
    if (!MergeForm::is_in(src))
      source.list_pages_by_count();
    if (append_source(src, pages, count, title, done))
      return done;
  }
  // The objects stay, but nothing leads to them any more, so that no save takes them.
  for (; done > 0; --done)
    target.doc.remove_page(target.doc.page_count() - 1);
  std::fill_n(context->map, context->map_size, 0u);
  MergeSource src(source, context, target);
  append_source(src, pages, count, title, done);
  return done;
}

// False when the page list proves wrong on the way: an object that is not known for a page was copied as
// something else. `done` pages were then appended.
bool CPDFDocMerge::append_source(MergeSource& source, const std::int32_t* pages, std::int32_t count, const char* title,
                                 std::int32_t& done) {
  MergeParts& parts = *parts_;
  CPDFDoc& into = parts.target.doc;
  const bool believed = source.doc.has_pages_by_count();
  SourceDestinations destinations(source, parts.names.destinations());
  PageImport import(source);
  GrowArray<std::int32_t> appended;
  source.reserve_pages(pages, count);
  destinations.list();
  parts.form.take(source);
  for (std::int32_t i = 0; i < count; ++i) {
    bool repeated = false;
    WorkWatch::at(i, count);
    const PDF_REF page = import.append(pages[i], repeated);
    if (believed && !source.doc.has_pages_by_count())
      return false;
    destinations.read_of_page(pages[i]);
    if (page.num == 0 || !appended.push(pages[i]) || !into.insert_page(into.page_count(), page))
      continue;
    ++done;
    if (repeated)
      parts.form.add_repeated(page);
    source.first_page = source.first_page.num == 0 ? page : source.first_page;
  }
  parts.target.note(PDF_MERGE_FATE::kJoined, "pages", done);
  parts.target.note(PDF_MERGE_FATE::kDropped, "unreadable pages", count - done);
  parts.target.note(PDF_MERGE_FATE::kDropped, "unreadable objects", source.context->lost);
  destinations.take();
  parts.names.take(source);
  parts.settings.take(source, destinations);
  parts.layers.take(source);
  parts.labels.take(source, appended.begin(), done);
  parts.outline.take(source, destinations, title);
  parts.structure.take(source);
  MergeTidy(source, destinations, parts.structure).run();
  parts.streams.take(source);
  return true;
}

bool CPDFDocMerge::finish() {
  if (parts_ == nullptr)
    return false;
  CPDFXRefTable& table = parts_->target.table;
  if (!give_trailer_values_numbers(table))
    return false;
  Freed<CPDFObj> catalog = table.catalog();
  CPDFDictionary* const dict = catalog.as_dict();
  if (dict == nullptr)
    return false;
  parts_->names.put(*dict);
  parts_->settings.put(*dict);
  parts_->layers.put(*dict);
  parts_->labels.put(*dict);
  parts_->outline.put(*dict);
  parts_->structure.put(*dict);
  return table.store_object(table.root.as_ref(), catalog) && parts_->settings.drop_broken_claims() &&
         parts_->watch.all_granted();
}
