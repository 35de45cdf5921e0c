// The count comes from the record, from "Length", or from a search for endstream.
#include "sheaf/object/stored_bytes.h"

#include <algorithm>
#include <cstring>

#include "sheaf/base/heap.h"
#include "sheaf/base/stream.h"
#include "sheaf/object/parse_buf.h"
#include "sheaf/object/security.h"

namespace sheaf {

namespace {

// The length of a file costs two seeks, which short streams are spared; and a length of gigabytes in
// a small file is cut.
constexpr std::int32_t kMostMissing = 64 * 1024;

unsigned char* block_of(std::int32_t size) {
  return static_cast<unsigned char*>(QVAlloc(static_cast<std::size_t>(size) + 1));
}

}  // namespace

bool StoredBytes::find(const CPDFStreamRec& rec, CQVStream* source, const CPDFObj* stated, NoLength none) {
  source_ = source;
  offset_ = rec.offset;
  size_ = rec.length;
  block_.reset();
  if (source == nullptr || rec.length < 0)
    return false;
  if (size_ == 0) {
    const bool is_stated = stated != nullptr && stated->tag == kTagInt;
    if (is_stated)
      size_ = std::max(stated->as_int(), 0);
    if (!is_stated || (size_ == 0 && none == NoLength::kSearched))
      return search();
  }
  if (size_ > kMostMissing) {
    const long long available = std::max(source->GetLen() - static_cast<long long>(offset_), 0LL);
    size_ = static_cast<std::int32_t>(std::min<long long>(size_, available + kMostMissing));
  }
  return true;
}

bool StoredBytes::search() {
  source_->SetPos(CQVStream::STR_SEEK_SET, offset_);
  CPDFBufBase buf;
  buf.buf_init(source_);
  block_.reset(reinterpret_cast<unsigned char*>(buf.buf_read_stream_raw_data(size_)));
  size_ = std::max(size_, 0);
  return bool{block_};
}

void StoredBytes::cut_to_source() {
  if (block_)
    return;
  const long long available = std::max(source_->GetLen() - static_cast<long long>(offset_), 0LL);
  size_ = static_cast<std::int32_t>(std::min<long long>(size_, available));
}

void StoredBytes::clear() {
  size_ = 0;
  block_.reset();
}

bool StoredBytes::load() {
  if (block_)
    return true;
  unsigned char* const block = block_of(size_);
  if (block == nullptr)
    return false;
  read(0, block, static_cast<unsigned>(size_));
  block[size_] = 0;
  block_.reset(block);
  return true;
}

void StoredBytes::copy(std::int32_t at, unsigned char* dst, unsigned count) const {
  if (block_)
    std::memcpy(dst, block_.get() + at, count);
  else
    read(at, dst, count);
}

void StoredBytes::read(std::int32_t at, unsigned char* dst, unsigned count) const {
  source_->SetPos(CQVStream::STR_SEEK_SET, static_cast<long long>(offset_) + at);
  const unsigned got = std::min(source_->Read(dst, count), count);
  std::memset(dst + got, 0, count - got);
}

bool StoredBytes::decrypt(CPDFSecHand& hand, const PDF_REF& ref) {
  const int most = hand.get_dec_size(size_);
  if (most < 0 || !load())
    return false;
  HeapBlock<unsigned char> plain(block_of(most));
  if (!plain)
    return false;
  int len = 0;
  hand.decrypt_data(ref.num, ref.gen, block_.get(), size_, plain.get(), &len);
  size_ = std::clamp(len, 0, most);
  plain.get()[size_] = 0;
  block_.reset(plain.release());
  return true;
}

}  // namespace sheaf
