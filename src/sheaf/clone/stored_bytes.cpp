#include "sheaf/clone/stored_bytes_internal.h"

#include <algorithm>
#include <cstring>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/object/sec_hand.h"

namespace sheaf {

namespace {

constexpr int kManyBytes = 64 * 1024;  // for fewer, the length of the file is not asked for

// `len` bytes from the present position, with a NUL behind them; a length that the file does not
// have is cut to what there is.
unsigned char* read_counted(CQVStream& file, std::uint32_t offset, int& len) {
  len = std::max(len, 0);
  if (len > kManyBytes)
    len = static_cast<int>(std::min<long long>(len, std::max(file.GetLen() - static_cast<long long>(offset), 0LL)));
  auto* block = static_cast<unsigned char*>(QVAlloc(static_cast<std::size_t>(len) + 1));
  if (block == nullptr)
    return nullptr;
  file.SetPos(CQVStream::STR_SEEK_SET, offset);
  const auto wanted = static_cast<unsigned>(len);
  const unsigned got = std::min(file.Read(block, wanted), wanted);
  std::memset(block + got, 0, wanted - got + 1);
  return block;
}

// Bytes whose count the record does not tell. No block and true: there are none.
bool read_uncounted(CPDFXRefTable& table, const CPDFStreamRec& rec, EmptyLength empty, unsigned char*& data, int& len) {
  const Freed<CPDFObj> stated = table.value(&rec.dict, CPDFDictionary::sm_tag_length);
  if (stated.tag == kTagInt) {
    len = stated.as_int();
    if (len < 1 && empty == EmptyLength::kNone) {
      len = 0;
      return true;
    }
    data = read_counted(*table.stream, rec.offset, len);
  } else {
    table.stream->SetPos(CQVStream::STR_SEEK_SET, rec.offset);
    data = reinterpret_cast<unsigned char*>(CPDFXRefTable::read_stream_raw_data(table.stream, len));
  }
  return data != nullptr;
}

}  // namespace

bool read_stored_bytes(CPDFXRefTable& table, const CPDFStreamRec& rec, EmptyLength empty, unsigned char*& data,
                       int& len) {
  data = nullptr;
  len = rec.length;
  if (table.stream == nullptr || len < 0)
    return false;
  if (len != 0)
    data = read_counted(*table.stream, rec.offset, len);
  else if (!read_uncounted(table, rec, empty, data, len))
    return false;
  if (data == nullptr)
    return len == 0 && rec.length == 0;
  if (rec.plain != 0 || table.sec_filter[0] == 0 || table.sec_hand == nullptr)
    return true;
  const HeapBlock<unsigned char> stored(data);
  const int size = table.sec_hand->get_dec_size(len);
  data = size >= 0 ? static_cast<unsigned char*>(QVAlloc(static_cast<std::size_t>(size) + 1)) : nullptr;
  if (data == nullptr)
    return false;
  int plain_len = 0;
  table.sec_hand->decrypt_data(rec.ref.num, rec.ref.gen, stored.get(), len, data, &plain_len);
  len = std::clamp(plain_len, 0, size);
  return true;
}

}  // namespace sheaf
