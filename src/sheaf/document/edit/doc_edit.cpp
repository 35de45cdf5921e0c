// Changing a document: opening for update, a new one, attachments.
#include <fcntl.h>
#include <unistd.h>

#include <new>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/stream_blocks.h"
#include "sheaf/base/stream_update.h"
#include "sheaf/base/temporary_file.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/names/name_tree.h"
#include "sheaf/neighbours/page/trailer_values.h"
#include "sheaf/object/array.h"

using namespace sheaf;

bool CPDFDoc::open_for_update(const char* path) {
  close();
  if (!file_.OpenForUpdate(path)) {
    status_ = PDF_OPEN::kNoFile;
    return false;
  }
  stream_ = &file_;
  return open_stream();
}

bool CPDFDoc::begin_update(const char* path) {
  if (stream_ != &blocks_)
    return stream_ != nullptr;
  if (!file_.OpenForUpdate(path) || !blocks_.reads_same_file(file_)) {
    file_.Close();
    return false;
  }
  // Records that were handed out go on reading through the old stream, which stays open.
  file_.base_offset = blocks_.base_offset;
  file_.has_unclosed_strings = blocks_.has_unclosed_strings;
  stream_ = table_.stream = &file_;
  return true;
}

bool CPDFDoc::create(CQVStream* stream) {
  close();
  stream_ = stream;
  reset_table();
  table_.write_failed = 0;
  const HeapWatch watch;
  table_.new_xref();
  status_ = watch.all_granted() ? PDF_OPEN::kClean : PDF_OPEN::kNoMemory;
  return watch.all_granted() && table_.write_failed == 0;
}

bool CPDFDoc::use_temp_file(const char* folder) {
  if (table_.temp_stream.file != nullptr)
    return true;  // there are records that lie in it
  std::FILE* const file = open_unnamed_file(folder);
  if (file == nullptr)
    return false;
  table_.temp_stream.file = file;
  return true;
}

bool CPDFDoc::attach(const char* path) {
  if (!give_trailer_values_numbers(table_))
    return false;
  const HeapWatch watch;
  PDF_String name{0, nullptr};
  const int spec = table_.new_file_spec(path, name);
  const ScopeGuard release_name([&name] { QVFree(name.data); });
  if (spec == 0 || name.data == nullptr)
    return false;
  Freed<CPDFObj> names;
  Freed<CPDFObj> tree;
  Freed<CPDFObj> catalog = table_.catalog();
  CPDFDictionary* const top = catalog.as_dict();
  if (top == nullptr)
    return false;
  const auto fetch = [this](CPDFObj& value, const CPDFObj* item) {
    table_.resolve(value, item);
    if (value.as_dict() == nullptr)
      value.take_dict(new (std::nothrow) CPDFDictionary);
    return ref_of(item);
  };
  const PDF_REF names_ref = fetch(names, top->get_item("Names"));
  const CPDFDictionary* const lists = names.as_dict();
  const PDF_REF tree_ref = fetch(tree, lists != nullptr ? lists->get_item("EmbeddedFiles") : nullptr);
  if (!watch.all_granted() || !name_tree_insert(table_, *tree.as_dict(), name, {spec, 0}))
    return false;
  // Each level goes back to where it was: its own object, or the level above.
  if (tree_ref.num != 0)
    return table_.store_object(tree_ref, tree);
  names.as_dict()->move_item("EmbeddedFiles", tree);
  if (names_ref.num != 0)
    return watch.all_granted() && table_.store_object(names_ref, names);
  top->move_item("Names", names);
  return watch.all_granted() && table_.store_object(table_.root.as_ref(), catalog);
}

long long CPDFDoc::file_size() const {
  if (file_.file != nullptr)
    return file_.length();
  return stream_ != nullptr ? stream_->GetLen() + stream_->base_offset : file_size_;
}
