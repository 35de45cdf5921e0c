// Changing a document: opening for update, a new one, attachments.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <new>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/names/name_tree.h"
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

namespace {

// A file without a name, readable by its owner only: what is to be encrypted waits in it in clear, and no end of the
// process leaves it behind. `name` is a pattern for file systems where a file must have a name at first.
int make_unnamed(const char* folder, char* name) {
#ifdef O_TMPFILE
  const int handle = open(folder, O_TMPFILE | O_EXCL | O_RDWR | O_CLOEXEC, 0600);
  if (handle >= 0)
    return handle;
#endif
  const int named = mkostemp(name, O_CLOEXEC);
  if (named >= 0)
    unlink(name);
  return named;
}

}  // namespace

bool CPDFDoc::use_temp_file(const char* folder) {
  if (table_.temp_stream.file != nullptr)
    return true;  // there are records that lie in it
  const char* const base = folder != nullptr ? folder : std::getenv("TMPDIR");
  const char* const where = base != nullptr && *base != 0 ? base : "/tmp";
  constexpr char kName[] = "/sheaf-XXXXXX";
  const std::size_t len = std::strlen(where);
  auto* path = static_cast<char*>(QVAlloc(len + sizeof(kName)));
  if (path == nullptr)
    return false;
  std::memcpy(path, where, len);
  std::memcpy(path + len, kName, sizeof(kName));
  const int handle = make_unnamed(where, path);
  QVFree(path);
  std::FILE* const file = handle >= 0 ? fdopen(handle, "w+b") : nullptr;
  if (file == nullptr) {
    if (handle >= 0)
      ::close(handle);
    return false;
  }
  table_.temp_stream.file = file;
  return true;
}

bool CPDFDoc::attach(const char* path) {
  if (table_.root.tag != kTagRef)
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
    return item != nullptr ? item->as_ref() : PDF_REF{0, 0};
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
    return table_.store_object(names_ref, names);
  top->move_item("Names", names);
  return table_.store_object(table_.root.as_ref(), catalog);
}

long long CPDFDoc::file_size() const {
  if (file_.file != nullptr)
    return file_.length();
  return stream_ != nullptr ? stream_->GetLen() + stream_->base_offset : file_size_;
}
