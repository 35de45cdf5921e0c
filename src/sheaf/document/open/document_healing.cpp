// The ways that do without a file's cross-reference sections: the table's own rebuild, and the search
// for objects, object streams and the catalogue.
#include "sheaf/document/open/deep_recovery_internal.h"
#include "sheaf/document/open/document_opener_internal.h"
#include "sheaf/document/open/object_rescue_internal.h"
#include "sheaf/document/pages/page_list.h"

namespace sheaf {

// The table's rebuild, with objects that it does not see: those after one that has no end.
bool DocumentOpener::try_rebuild() {
  reset_table();
  if (table_.XRefCreate() == 0)
    return false;
  if (doc_.rescue_ != nullptr)
    doc_.rescue_->enter_all();
  table_.pending_count = 0;  // what is left in sections are objects in object streams
  table_.sections_lost = 1;
  const Attempt attempt = examine();
  return attempt.usable && (attempt.has_pages || doc_.waits_for_password());
}

bool DocumentOpener::try_deep_recovery() {
  DeepRecovery recovery(*this);
  recovery.run();
  if (doc_.waits_for_password())
    return true;
  Attempt attempt = examine();
  if (!attempt.has_pages && recovery.found_pages()) {
    recovery.make_page_tree();
    attempt = look_at_tree();
    add_repair("pages", 0, 0, "the page tree is lost; a new one lists the pages in the order of the file");
  }
  if (!attempt.usable)
    return false;
  doc_.pages_.ensure();  // the counts of the nodes are not trusted here
  add_repair("scan", 0, 0, "objects, object streams and the catalogue were found by scanning");
  return true;
}

// The table's rebuild knows nothing of object streams when a trailer is all it needs, and pages can
// lie in some of them. Where the tree counts more pages than it leads to, the deeper search is
// tried as well, and what comes to more pages is taken.
bool DocumentOpener::heal() {
  const ObjectScan* const found = scan();
  if (found != nullptr && found->has_object_streams() && try_deep_recovery())
    return finish(PDF_OPEN::kRecovered);
  const bool rebuilt = try_rebuild();
  if (rebuilt && (doc_.waits_for_password() || !doc_.pages_.misses_pages()))
    return finish(PDF_OPEN::kRebuilt);
  const int pages = doc_.pages_.listed();
  const std::size_t known = doc_.repairs_.size();
  if (try_deep_recovery()) {
    if (!rebuilt)
      return finish(PDF_OPEN::kRecovered);
    doc_.pages_.ensure();
    if (doc_.pages_.listed() > pages)
      return finish(PDF_OPEN::kRecovered);
  }
  while (doc_.repairs_.size() > known && rebuilt)
    doc_.repairs_.pop();
  return rebuilt && try_rebuild() && finish(PDF_OPEN::kRebuilt);
}

}  // namespace sheaf
