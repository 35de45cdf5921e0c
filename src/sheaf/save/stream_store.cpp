// Where the bytes of new and replaced streams wait until the next save: at the end of the
// temporary file when the caller has set one up, in the table's list of memory streams if not.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr std::int32_t kMemStreamStep = 8;

CPDFStreamRec& fill_record(CPDFStreamRec& rec, const PDF_REF& ref, CQVStream* source, std::uint32_t offset,
                           unsigned len) {
  rec.offset = offset;
  rec.length = static_cast<std::int32_t>(len);
  rec.ref = ref;
  rec.decoded_hint = 0;
  rec.plain = 1;  // held bytes are never encrypted; that happens when the object is printed
  rec.source = source;
  rec.dict.set_item_int(CPDFDictionary::sm_tag_length, static_cast<int>(len));
  return rec;
}

// Writes all of it at `end` of the file, past the C library's buffer, which holds nothing but what was read: a seek
// to the end would make it read the last block of the file again, for each stream.
bool put_at_end(std::FILE* file, const void* data, unsigned len, long long end) {
  const auto* at = static_cast<const unsigned char*>(data);
  while (len > 0) {
    const ssize_t put = pwrite(fileno(file), at, len, end);
    if (put < 0 && errno == EINTR)
      continue;
    if (put <= 0)
      return false;
    at += put;
    len -= static_cast<unsigned>(put);
    end += put;
  }
  return true;
}

// Appends to the temporary file; false without such a file, or when its end lies beyond 32 bits.
bool append_to_temp(CQVStreamFile& temp, const void* data, unsigned len, std::uint32_t& offset) {
  struct stat info = {};
  if (temp.file == nullptr || std::fflush(temp.file) != 0 || fstat(fileno(temp.file), &info) != 0)
    return false;
  const long long end = info.st_size - temp.base_offset;
  if (end < 0 || end > static_cast<long long>(UINT32_MAX) - len)
    return false;
  offset = static_cast<std::uint32_t>(end);
  // A disk that is full shows up here at the latest; the bytes then stay in memory.
  return put_at_end(temp.file, data, len, info.st_size);
}

CQVStreamMemFix* new_view(unsigned char* data, int len) {
  auto* view = new (std::nothrow) CQVStreamMemFix;
  if (view != nullptr)
    view->Open(data, len);
  return view;
}

// A caller without a temporary file may make a hundred thousand streams, so that entries are found
// through an index. Only numbers beyond its reach are searched for one by one.
PDF_MEMSTREAM* find_mem_stream(const CPDFXRefTable& table, std::int32_t num) {
  const auto index = object_index(num);
  if (table.mem_stream_index.reaches(index)) {
    const std::int32_t entry = table.mem_stream_index.get(index);
    return entry > 0 ? table.mem_streams + entry - 1 : nullptr;
  }
  for (std::int32_t i = 0; i < table.mem_stream_count; ++i) {
    if (table.mem_streams[i].ref.num == num)
      return table.mem_streams + i;
  }
  return nullptr;
}

PDF_MEMSTREAM* append_mem_stream(CPDFXRefTable& table) {
  if (table.mem_stream_count >= table.mem_stream_capacity) {
    const std::int32_t capacity = table.mem_stream_capacity + kMemStreamStep;
    if (!table.mem_stream_room.reach(table.mem_streams, static_cast<std::uint32_t>(capacity)))
      return nullptr;
    table.mem_stream_capacity = capacity;
  }
  return table.mem_streams + table.mem_stream_count++;
}

// The object that was stored with the block before must not be left with a stream that is gone, should
// the new one never be stored.
void point_record_at(CPDFXRefTable& table, std::int32_t num, const CQVStream* old, CQVStream* fresh) {
  PDF_NEWOBJ* const slot = table.entry(num) != nullptr ? table.slot_of(object_index(num)) : nullptr;
  CPDFStreamRec* const rec = slot != nullptr ? slot->obj.as_stream() : nullptr;
  if (rec != nullptr && rec->source == old)
    rec->source = fresh;
}

}  // namespace

CQVStream* CPDFXRefTable::set_mem_stream(const PDF_REF& ref, unsigned char* data, int len) {
  CQVStreamMemFix* view = new_view(data, len);
  if (view == nullptr) {
    QVFree(data);
    return nullptr;
  }
  if (PDF_MEMSTREAM* entry = find_mem_stream(*this, ref.num)) {
    point_record_at(*this, ref.num, entry->stream, view);
    QVFree(entry->data);
    delete entry->stream;
    entry->data = data;
    entry->stream = view;
    return view;
  }
  const auto num = ref.index();
  const bool indexed = mem_stream_index.extend_to(num);
  PDF_MEMSTREAM* entry = append_mem_stream(*this);
  if (entry == nullptr) {
    delete view;
    QVFree(data);
    return nullptr;
  }
  *entry = {ref, view, data};
  if (indexed)
    mem_stream_index.set(num, mem_stream_count);
  return view;
}

void CPDFXRefTable::write_stream(const PDF_REF& ref, CPDFStreamRec* rec, const void* data, unsigned int len) {
  if (len > INT32_MAX)
    return;
  std::uint32_t offset = 0;
  if (append_to_temp(temp_stream, data, len, offset)) {
    fill_record(*rec, ref, &temp_stream, offset, len);
    return;
  }
  auto* block = static_cast<unsigned char*>(QVAlloc(len));
  if (block == nullptr)
    return;
  if (len > 0)
    std::memcpy(block, data, len);
  CQVStream* source = set_mem_stream(ref, block, static_cast<int>(len));
  fill_record(*rec, ref, source, 0, len);
}

void CPDFXRefTable::write_stream_autofree(const PDF_REF& ref, CPDFStreamRec* rec, void* data, unsigned int len) {
  if (len > INT32_MAX) {
    QVFree(data);
    return;
  }
  std::uint32_t offset = 0;
  if (append_to_temp(temp_stream, data, len, offset)) {
    fill_record(*rec, ref, &temp_stream, offset, len);
    QVFree(data);
    return;
  }
  CQVStream* source = set_mem_stream(ref, static_cast<unsigned char*>(data), static_cast<int>(len));
  fill_record(*rec, ref, source, 0, len);
}

void CPDFXRefTable::write_stream(const PDF_REF& ref, CPDFStreamRec* rec, CQVStream* src) {
  if (src->GetLen() < 0 || src->GetLen() > INT32_MAX)
    return;
  const auto len = static_cast<std::uint32_t>(src->GetLen());
  HeapBlock<unsigned char> block(static_cast<unsigned char*>(QVAlloc(len)));
  if (!block)
    return;
  // The stream is read from its position on; what it cannot deliver of its length is zeros.
  const unsigned got = src->Read(block.get(), len);
  if (got < len)
    std::memset(block.get() + got, 0, len - got);
  write_stream_autofree(ref, rec, block.release(), len);
}
