// The copy walk: a deep copy of an object graph inside its own document. Every indirect object that
// is reached gets a new number, and the references in the copy are rewritten. No key means anything
// here: what must not be followed is taken out by the caller first.
#include <algorithm>

#include "sheaf/base/scope_guard.h"
#include "sheaf/clone/copy_stack_internal.h"
#include "sheaf/clone/object_map_internal.h"
#include "sheaf/clone/stored_bytes_internal.h"

using namespace sheaf;

namespace {

// An object met again is copied from its first copy, so that a graph of doubled references doubles
// at every level. Sound annotations stay far below; a walk that passes these bounds copies no more.
// Streams that no save has put into the file yet are as much of the document as the file is.
constexpr std::uint64_t kCopiesPerEntry = 16;
constexpr std::uint64_t kLeastCopies = 65536;
constexpr std::uint64_t kBytesPerByte = 16;
constexpr std::uint64_t kLeastBytes = 16 << 20;

class CopyInside {
public:
  CopyInside(CPDFXRefTable& table, CPDFCloneMap& map) : table_(table), map_(map) {
    adopt_map(map, table);
    const long long file_size = table.stream != nullptr ? table.stream->GetLen() : 0;
    copies_left_ = table.xref_count * kCopiesPerEntry + kLeastCopies;
    bytes_left_ = static_cast<std::uint64_t>(std::max(file_size, 0LL)) * kBytesPerByte + kLeastBytes;
  }

  // A second reference to an object hands its first copy on as the source: the second copy is made
  // of the first, and all later references find the second.
  bool has_result(PDF_REF& source, bool from_item, PDF_REF& result) {
    std::uint32_t copy = 0;
    if (from_item && map_lookup(map_, source.num, copy))
      source = PDF_REF::at(copy);
    result = {0, 0};
    if (source.num == 0)
      return true;
    if (!map_lookup(map_, source.num, copy))
      return copies_left_ == 0;
    result = PDF_REF::at(copy);
    return true;
  }

  bool begin(const PDF_REF& source, CopiedObject& object) {
    --copies_left_;
    object.ref = {table_.alloc_obj_num(), 0};
    if (first_made_ == 0)
      first_made_ = object.ref.num;
    const std::uint32_t most = std::max(table_.max_obj_num(), table_.next_obj_num);
    if (source.index() > most || !map_record(map_, source.num, object.ref.index()))
      return false;
    table_.get_entity(object.obj, source);
    const CPDFStreamRec* rec = object.obj.as_stream();
    if (rec == nullptr)
      return true;
    if (!read_stored_bytes(table_, *rec, object.data, object.len))
      return false;
    const auto size = static_cast<std::uint64_t>(object.len);
    if (rec->source != table_.stream && source.num < first_made_)
      bytes_left_ += size * kBytesPerByte;
    bytes_left_ -= std::min(size, bytes_left_);
    return bytes_left_ != 0;
  }

  void finish(CopiedObject& object) {
    if (CPDFStreamRec* rec = object.obj.as_stream()) {
      // "Length" stays as the walk left it; a save prints the true count. Of no bytes, which a record
      // cannot count, it must not promise any: encrypted, they had some.
      if (object.len == 0)
        rec->dict.set_item_int(CPDFDictionary::sm_tag_length, 0);
      rec->source = table_.set_mem_stream(object.ref, object.data, object.len);
      rec->offset = 0;
      rec->length = object.len;
      rec->ref = object.ref;
      rec->decoded_hint = 0;
      rec->plain = 1;
      object.data = nullptr;
    }
    table_.store_object(object.ref, object.obj);
  }

  std::int32_t first_item(const CPDFArray&) const { return 0; }
  bool fails_on_null_reference() const { return true; }

private:
  CPDFXRefTable& table_;
  CPDFCloneMap& map_;
  std::uint64_t copies_left_ = 0;
  std::uint64_t bytes_left_ = 0;
  std::int32_t first_made_ = 0;  // the number of the first copy
};

}  // namespace

PDF_REF CPDFXRefTable::clone_obj(CPDFCloneMap& map, const PDF_REF& ref) {
  CopyInside copy(*this, map);
  return CopyStack<CopyInside>(copy).copy_ref(ref);
}

int CPDFXRefTable::clone_array(CPDFCloneMap& map, CPDFArray* arr) {
  CopyInside copy(*this, map);
  return CopyStack<CopyInside>(copy).copy_container(arr, nullptr);
}

int CPDFXRefTable::clone_dict(CPDFCloneMap& map, CPDFDictionary* dict) {
  CopyInside copy(*this, map);
  return CopyStack<CopyInside>(copy).copy_container(nullptr, dict);
}

int CPDFXRefTable::clone_annot(const PDF_REF& ref) {
  if (ref.num == 0)
    return 0;
  Freed<CPDFObj> obj = object(ref);
  if (obj.as_dict() == nullptr)
    return 0;
  // The copy belongs to no page until the caller gives it one.
  obj.as_dict()->set_item("P", nullptr);
  const PDF_REF copy{alloc_obj_num(), 0};
  CPDFCloneMap map;
  if (!open_map(map, *this))
    return 0;
  const ScopeGuard release_map([&map] { QVFree(map.entries); });
  // A reference back to the annotation is taken for one to the unfinished copy, and so ends on a
  // null object of its own.
  if (!map_record(map, ref.num, copy.index()) || clone_dict(map, obj.as_dict()) == 0)
    return 0;
  store_object(copy, obj);
  return copy.num;
}
