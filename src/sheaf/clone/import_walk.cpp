// The import walk: object graphs from another document. The context's map makes all that is brought
// over in one import share its objects, and closes cycles on the object itself.
#include <new>

#include "sheaf/clone/copy_stack_internal.h"
#include "sheaf/clone/import_context.h"
#include "sheaf/clone/stored_bytes_internal.h"
#include "sheaf/object/destination.h"

using namespace sheaf;

namespace {

class CopyAcross {
public:
  CopyAcross(CPDFXRefTable& table, CPDFXRefTable* source, CPDFMergeContext* context)
      : table_(table), source_(source), context_(static_cast<ImportContext*>(context)) {}

  // Null references, and numbers that the source's table did not have, have no copy.
  bool has_result(const PDF_REF& source, bool, PDF_REF& result) const {
    result = {0, 0};
    if (source_ == nullptr || source.num == 0 || !is_mapped(source.num))
      return true;
    result.num = object_num(context_->map[source.num]);
    return result.num != 0;
  }

  bool begin(const PDF_REF& source, CopiedObject& object) {
    object.ref = {reserve(source.num), 0};
    source_->get_entity(object.obj, source);
    const CPDFStreamRec* rec = object.obj.as_stream();
    const bool good = rec == nullptr || read_stored_bytes(*source_, *rec, object.data, object.len);
    context_->lost += good ? 0 : 1;
    return good;
  }

  void finish(CopiedObject& object) {
    if (CPDFStreamRec* rec = object.obj.as_stream()) {
      table_.write_stream_autofree(object.ref, rec, object.data, static_cast<unsigned>(object.len));
      object.data = nullptr;
    }
    table_.store_object(object.ref, object.obj);
  }

  // A destination brings no page along: the page gets its number, in case that it comes later, and
  // the element keeps the source's reference.
  std::int32_t first_item(const CPDFArray& array) {
    if (!is_destination(array))
      return 0;
    const std::int32_t num = array.items[0].as_ref().num;
    if (source_ != nullptr && is_mapped(num) && num != 0 && context_->map[num] == 0)
      reserve(num);
    return 1;
  }

  bool fails_on_null_reference() const { return context_ == nullptr || !context_->keeps_null_references; }

private:
  bool is_mapped(std::int32_t num) const { return context_ != nullptr && object_index(num) < context_->map_size; }
  std::int32_t reserve(std::int32_t num) {
    const std::int32_t made = table_.alloc_obj_num();
    context_->map[num] = object_index(made);
    return made;
  }

  CPDFXRefTable& table_;
  CPDFXRefTable* source_;
  ImportContext* context_;
};

}  // namespace

CPDFMergeContext* CPDFXRefTable::import_start(CPDFDoc* doc, CPDFXRefTable* src) {
  if (doc == nullptr || src == nullptr)
    return nullptr;
  auto* context = new (std::nothrow) ImportContext{{doc, nullptr, 0}, {}};
  if (context == nullptr)
    return nullptr;
  // The map never grows, so the source's sections are all read before it is made.
  src->drain_pending();
  context->map = static_cast<std::uint32_t*>(QVCalloc(src->xref_count, sizeof(std::uint32_t)));
  context->map_size = context->map != nullptr ? src->xref_count : 0;
  return context;
}

void CPDFXRefTable::import_end(CPDFMergeContext* ctx) {
  if (ctx == nullptr)
    return;
  QVFree(ctx->map);
  delete static_cast<ImportContext*>(ctx);
}

PDF_REF CPDFXRefTable::clone_obj(CPDFXRefTable* src, CPDFMergeContext* ctx, const PDF_REF& ref) {
  CopyAcross copy(*this, src, ctx);
  return CopyStack<CopyAcross>(copy).copy_ref(ref);
}

int CPDFXRefTable::clone_array(CPDFXRefTable* src, CPDFMergeContext* ctx, CPDFArray* arr) {
  CopyAcross copy(*this, src, ctx);
  return CopyStack<CopyAcross>(copy).copy_container(arr, nullptr);
}

int CPDFXRefTable::clone_dict(CPDFXRefTable* src, CPDFMergeContext* ctx, CPDFDictionary* dict) {
  CopyAcross copy(*this, src, ctx);
  return CopyStack<CopyAcross>(copy).copy_container(nullptr, dict);
}
