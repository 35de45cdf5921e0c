// The one-shot deflate of the library, and plain streams made with it or without.
#include <zlib.h>

#include "sheaf/base/heap.h"
#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr int kWindowBits = 14;
constexpr int kMemLevel = 8;

// deflateBound knows nothing of the sync flush: its empty stored block, the bits before that,
// the final block and the NUL after the data.
constexpr uLong kFlushSpare = 32;

}  // namespace

unsigned char* CPDFXRefTable::compress_data(const void* data, int len, int& out_len) {
  out_len = 0;
  z_stream deflater{};
  if (len < 0 || (data == nullptr && len > 0) ||
      deflateInit2(&deflater, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kWindowBits, kMemLevel, Z_DEFAULT_STRATEGY) != Z_OK)
    return nullptr;
  const ScopeGuard end([&deflater] { deflateEnd(&deflater); });
  const uLong room = deflateBound(&deflater, static_cast<uLong>(len)) + kFlushSpare;
  HeapBlock<unsigned char> out(room <= INT32_MAX ? static_cast<unsigned char*>(QVAlloc(room)) : nullptr);
  if (!out)
    return nullptr;
  deflater.next_in = static_cast<Bytef*>(const_cast<void*>(data));
  deflater.avail_in = static_cast<uInt>(len);
  deflater.next_out = out.get();
  deflater.avail_out = static_cast<uInt>(room);
  // Two calls, so that the data end in a sync flush: the bytes of a stream stay the same as ever.
  deflate(&deflater, Z_SYNC_FLUSH);
  deflate(&deflater, Z_FINISH);
  out[deflater.total_out] = 0;
  out_len = static_cast<int>(deflater.total_out);
  auto* shrunk = static_cast<unsigned char*>(QVRealloc(out.get(), deflater.total_out + 1));
  unsigned char* const kept = out.release();
  return shrunk != nullptr ? shrunk : kept;
}

PDF_REF CPDFXRefTable::adv_new_stream_flate(unsigned char* data, int len) {
  const HeapWatch watch;
  int size = 0;
  unsigned char* const compressed = compress_data(data, len, size);
  if (compressed == nullptr)
    return {0, 0};
  const PDF_REF ref{alloc_obj_num(), 0};
  CPDFStreamRec rec;
  write_stream_autofree(ref, &rec, compressed, static_cast<unsigned>(size));
  rec.dict.set_item_name(CPDFDictionary::sm_tag_filter, CPDFDictionary::sm_tag_fdec);
  rec.dict.set_item_int(CPDFDictionary::sm_tag_length, size);
  store_stream(ref, rec);
  return watch.all_granted() ? ref : PDF_REF{0, 0};
}

PDF_REF CPDFXRefTable::adv_new_stream_raw(unsigned char* data, int len) {
  if (data == nullptr || len < 0)
    len = 0;
  const HeapWatch watch;
  const PDF_REF ref{alloc_obj_num(), 0};
  CPDFStreamRec rec;
  write_stream(ref, &rec, data, static_cast<unsigned>(len));
  rec.dict.set_item_int(CPDFDictionary::sm_tag_length, len);
  store_stream(ref, rec);
  return watch.all_granted() ? ref : PDF_REF{0, 0};
}
