// Inflating by zlib, in pieces of the output buffer, or whole where a caller wants all of it and it is sound. Damaged
// data end where zlib gives up.
#include "sheaf/filters/flate.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "sheaf/base/heap.h"
#include "sheaf/filters/predictor.h"
#include "sheaf/filters/whole_inflate.h"

using namespace sheaf;

namespace {

bool has_false_sum(const z_stream& stream) {
  return stream.msg != nullptr && std::strcmp(stream.msg, "incorrect data check") == 0;
}

// Memory that zlib does not get is refused like all other.
int counted(int result) {
  if (result == Z_MEM_ERROR)
    note_heap_refusal();
  return result;
}

}  // namespace

CPDFStreamFlate::CPDFStreamFlate(std::uint8_t* block, std::int32_t len) : CPDFStream2(block, len), zstream{} {
  filter_type = kFilterFlate;
  constexpr std::int32_t kExpansion = 4;
  size_hint = len > INT32_MAX / kExpansion ? INT32_MAX : len * kExpansion;
  counted(inflateInit(&zstream));
}

CPDFStreamFlate::~CPDFStreamFlate() {
  release();
}

void CPDFStreamFlate::release() {
  out_end = out_pos = 0;
  inflateEnd(&zstream);
  zstream = {};
  delete predictor;
  predictor = nullptr;
  QVFree(whole_);
  whole_ = nullptr;
  whole_size_ = whole_pos_ = 0;
}

void CPDFStreamFlate::close() {
  release();
  CPDFStream::close();
}

int CPDFStreamFlate::open(unsigned int predictor_kind, unsigned int columns, unsigned int colors,
                          unsigned int bits_per_component) {
  delete predictor;
  predictor = nullptr;
  if (predictor_kind != 1)
    predictor = new (std::nothrow) CPDFPredictor(this, static_cast<int>(predictor_kind), static_cast<int>(columns),
                                                 static_cast<int>(colors), static_cast<int>(bits_per_component));
  QVFree(whole_);
  whole_ = nullptr;
  whole_size_ = whole_pos_ = 0;
  out_end = out_pos = 0;
  inflateEnd(&zstream);
  zstream = {};
  const int result = counted(inflateInit(&zstream));
  zstream.next_in = data;
  zstream.avail_in = static_cast<uInt>(std::max(left, 0));
  zstream.next_out = out_buf;
  zstream.avail_out = kOutSize;
  if (predictor_kind != 1 && predictor == nullptr)
    left = 0;  // rows with the predictor still on are no data
  return result;
}

// Decodes the next piece into `out_buf`. False at the end of the data, whatever its reason:
// damage, truncation and a proper end look the same to the caller.
bool CPDFStreamFlate::refill() {
  zstream.next_out = out_buf;
  zstream.avail_out = kOutSize;
  zstream.total_out = 0;
  counted(inflate(&zstream, Z_SYNC_FLUSH));
  out_pos = 0;
  out_end = static_cast<std::int32_t>(zstream.total_out);
  return out_end != 0;
}

// Inflates whole pieces straight to `dst` as long as more than `kKeptBack` bytes of input are left. A cut stream must
// end where it ends when it is read by refills, which stop between two pieces once zlib has taken all input: the last
// bytes are therefore not shown to zlib here.
int CPDFStreamFlate::inflate_pieces(std::uint8_t* dst, int size) {
  constexpr uInt kKeptBack = 256;
  const int wanted = size - size % kOutSize;
  if (wanted <= 0 || zstream.avail_in <= kKeptBack)
    return 0;
  zstream.next_out = dst;
  zstream.avail_out = static_cast<uInt>(wanted);
  zstream.avail_in -= kKeptBack;
  counted(inflate(&zstream, Z_SYNC_FLUSH));
  zstream.avail_in += kKeptBack;
  const int begun = (wanted - static_cast<int>(zstream.avail_out)) % kOutSize;
  if (begun != 0) {
    const auto rest = static_cast<uInt>(kOutSize - begun);
    const uInt behind = zstream.avail_out - rest;
    zstream.avail_out = rest;
    counted(inflate(&zstream, Z_SYNC_FLUSH));
    zstream.avail_out += behind;
  }
  return wanted - static_cast<int>(zstream.avail_out);
}

CPDFStreamFlaw CPDFStreamFlate::flaw_at_end() {
  if (whole_ != nullptr)
    return kFlawNone;
  std::uint8_t unused[16];
  zstream.next_out = unused;
  zstream.avail_out = sizeof(unused);
  if (inflate(&zstream, Z_SYNC_FLUSH) == Z_STREAM_END)
    return kFlawNone;
  if (has_false_sum(zstream))
    return kFlawChecksum;
  return ends_before(0) && ends_before(0xFF) ? kFlawNone : kFlawEarlyEnd;
}

// Whether further bytes of the value `next` are taken for a false checksum. Two values are enough to
// know: no code that ends a block begins with both.
bool CPDFStreamFlate::ends_before(std::uint8_t next) {
  z_stream copy = {};
  if (inflateCopy(&copy, &zstream) != Z_OK)
    return false;
  unsigned char more[8];
  std::memset(more, next, sizeof(more));
  std::uint8_t unused[16];
  copy.next_in = more;
  copy.avail_in = sizeof(more);
  copy.next_out = unused;
  copy.avail_out = sizeof(unused);
  const int result = inflate(&copy, Z_SYNC_FLUSH);
  const bool is_at_end = result == Z_STREAM_END || has_false_sum(copy);
  inflateEnd(&copy);
  return is_at_end;
}

bool CPDFStreamFlate::decode_whole(std::size_t most) {
  if (whole_ != nullptr || has_begun() || left < 1)
    return whole_ != nullptr;
  whole_ = inflate_whole(data, static_cast<std::size_t>(left), static_cast<std::size_t>(size_hint), most, whole_size_);
  return whole_ != nullptr;
}

int CPDFStreamFlate::get_char2() {
  if (whole_ != nullptr)
    return whole_pos_ < whole_size_ ? whole_[whole_pos_++] : -1;
  if (out_pos < out_end)
    return out_buf[out_pos++];
  if (zstream.avail_in == 0 || !refill())
    return -1;
  out_pos = 1;
  return out_buf[0];
}

int CPDFStreamFlate::read_block2(void* dst, int size) {
  auto* out = static_cast<std::uint8_t*>(dst);
  if (whole_ != nullptr) {
    const std::size_t count = std::min(whole_size_ - whole_pos_, static_cast<std::size_t>(std::max(size, 0)));
    std::memcpy(out, whole_ + whole_pos_, count);
    whole_pos_ += count;
    return static_cast<int>(count);
  }
  int total = 0;
  int available = out_end - out_pos;
  // An exact fit refills too, one step early.
  while (available <= size) {
    if (available > 0)
      std::memcpy(out, out_buf + out_pos, static_cast<std::size_t>(available));
    out_pos = out_end;
    const int direct = inflate_pieces(out + available, size - available);
    total += available + direct;
    if (zstream.avail_in == 0 || !refill())
      return total;
    size -= available + direct;
    out += available + direct;
    available = out_end;
  }
  if (size > 0)
    std::memcpy(out, out_buf + out_pos, static_cast<std::size_t>(size));
  out_pos += std::max(size, 0);
  return total + std::max(size, 0);
}

int CPDFStreamFlate::read_block(void* dst, int size) {
  if (out_pos >= out_end && left < 1)
    return 0;
  return predictor != nullptr ? predictor->read_block(dst, size) : read_block2(dst, size);
}
